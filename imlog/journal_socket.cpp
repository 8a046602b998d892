#include "imlog/journal_socket.h"

#include <cerrno>
#include <cstring>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>

JournalSocket::JournalSocket() : socket_(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {}

Problem JournalSocket::open() {
  const timeval limit = {10, 0};
  const int size = 8 << 20;  // room for entries that the journal has not read; the kernel allows less
  if (socket_.is_open() && setsockopt(socket_.fd(), SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof(limit)) == 0 &&
      setsockopt(socket_.fd(), SOL_SOCKET, SO_SNDBUF, &size, sizeof(size)) == 0 && connect()) {
    return {};
  }
  return Problem("cannot reach the journal: %s", strerror(errno))
      .advise("check 'systemctl status systemd-journald.socket'");
}

int JournalSocket::write(std::string_view piece) {
  if (send(piece)) {
    return 0;
  }
  const bool is_gone = errno == ECONNREFUSED || errno == ENOTCONN;  // it was closed, and may be open again
  return is_gone && connect() && send(piece) ? 0 : errno;
}

Problem JournalSocket::problem(int error) const {
  return Problem("cannot send to the journal: %s",
                 error == EAGAIN ? "nothing was taken for 10 seconds" : strerror(error))
      .advise("check 'systemctl status systemd-journald'");
}

bool JournalSocket::connect() const {
  sockaddr_un address = {AF_UNIX, {}};
  static_assert(sizeof(kJournalSocketPath) <= sizeof(address.sun_path));
  memcpy(address.sun_path, kJournalSocketPath, sizeof(kJournalSocketPath));
  return ::connect(socket_.fd(), reinterpret_cast<const sockaddr *>(&address), sizeof(address)) == 0;
}

bool JournalSocket::send(std::string_view entry) const {
  ssize_t count = 0;
  do {
    count = ::send(socket_.fd(), entry.data(), entry.size(), MSG_NOSIGNAL);
  } while (count < 0 && errno == EINTR);
  return count >= 0;
}
