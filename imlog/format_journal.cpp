// The journal of this machine, in its native protocol.
#include <cerrno>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>

#include "imlog/format.h"
#include "imlog/journal_fields.h"
#include "imlog/text.h"
#include "imlog/time_text.h"
#include "util/ownership.h"

namespace {

constexpr char kSocketPath[] = "/run/systemd/journal/socket";

// The journal's socket, which takes an entry per datagram.
class JournalOutput : public Output {
 public:
  JournalOutput() : Output(true, true), socket_(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {}

  Problem open() override {
    const timeval limit = {10, 0};
    const int size = 8 << 20;  // room for entries that the journal has not read; the kernel allows less
    if (socket_.is_open() && setsockopt(socket_.fd(), SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof(limit)) == 0 &&
        setsockopt(socket_.fd(), SOL_SOCKET, SO_SNDBUF, &size, sizeof(size)) == 0 && connect()) {
      return {};
    }
    return Problem("cannot reach the journal: %s", strerror(errno))
        .advise("check 'systemctl status systemd-journald.socket'");
  }

  [[nodiscard]] Problem problem() const override {
    return Problem("cannot send to the journal: %s",
                   error() == EAGAIN ? "nothing was taken for 10 seconds" : strerror(error()))
        .advise("check 'systemctl status systemd-journald'");
  }

 private:
  // Waits while the journal's queue is full; after ten seconds the result is EAGAIN.
  int write(std::string_view entry) override {
    if (send(entry)) {
      return 0;
    }
    const bool is_gone = errno == ECONNREFUSED || errno == ENOTCONN;  // it was closed, and may be open again
    return is_gone && connect() && send(entry) ? 0 : errno;
  }

  [[nodiscard]] bool connect() const {
    sockaddr_un address = {AF_UNIX, {}};
    static_assert(sizeof(kSocketPath) <= sizeof(address.sun_path));
    memcpy(address.sun_path, kSocketPath, sizeof(kSocketPath));
    return ::connect(socket_.fd(), reinterpret_cast<const sockaddr *>(&address), sizeof(address)) == 0;
  }

  [[nodiscard]] bool send(std::string_view entry) const {
    ssize_t count = 0;
    do {
      count = ::send(socket_.fd(), entry.data(), entry.size(), MSG_NOSIGNAL);
    } while (count < 0 && errno == EINTR);
    return count >= 0;
  }

  Descriptor socket_;
};

class JournalFormat : public Format {
 public:
  using Format::Format;

  // The journal drops fields whose names begin with an underscore, and its time is that of sending. So the
  // message has the time, and the host of a FILE has a field of its own.
  void print_entry(const Entry &entry, Output &output) override {
    const EVT_HEADER &header = entry.record.Hdr;
    const std::string_view text = cleaner_.clean(entry.message);
    std::optional<std::string_view> host;
    if (entry.log.path && entry.log.host) {
      host = host_cleaner_.clean(*entry.log.host);
    }
    output.print("MESSAGE=%s ", MinuteText(entry.last, context_.in_utc).c_str());
    if (host) {
      output.put(*host);
      output.put(' ');
    }
    output.print("%u x%u ", header.dwEvtNumber, header.dwCount);
    output.put(text);
    output.put('\n');
    put_field("IML_MESSAGE=", text, output);
    put_entry_fields(entry, context_.in_utc, "IML_HOST=", host, output);
  }

 private:
  TextCleaner cleaner_{Controls::kBlank, kReplacementCharacter};
  TextCleaner host_cleaner_ = cleaner_;
};

}  // namespace

const FormatRow kJournalFormat = {
    .name = "journal",
    .make = make_format<JournalFormat>,
    .traits = kFollows | kRemembers | kMerges | kHasTimes,
    .make_output = []() -> std::unique_ptr<Output> { return std::make_unique<JournalOutput>(); },
};
