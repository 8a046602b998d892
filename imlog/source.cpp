#include "imlog/source.h"

#include <cerrno>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <poll.h>
#include <string>
#include <sys/stat.h>
#include <utility>

#include "imlog/output.h"
#include "platform/health_driver.h"

namespace {

constexpr uint64_t kMostRecords = 10'000'000;  // far more than any server has
constexpr size_t kRecordsAtOnce = 273;         // 64 KiB
constexpr uint16_t kLongestRecord = 512;       // by what a record says of itself: twice what any server has

bool is_empty(const EVT_LOG_ENTRY &record) {
  static constexpr char kEmpty[sizeof(record)] = {};
  return memcmp(reinterpret_cast<const char *>(&record), kEmpty, sizeof(record)) == 0;
}

// Opens `path`. A directory can be opened but not read, so it is refused here with errno EISDIR.
int open_log(const char *path) {
  if (strcmp(path, "-") == 0) {
    return fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  }
  const int fd = open(path, O_RDONLY | O_NOCTTY | O_CLOEXEC);
  struct stat status = {};
  if (fd >= 0 && fstat(fd, &status) == 0 && S_ISDIR(status.st_mode)) {
    close(fd);
    errno = EISDIR;
    return -1;
  }
  return fd;
}

bool is_output(int fd) {
  struct stat status = {};
  return fstat(fd, &status) == 0 && is_standard_output(status);
}

// The reason of a failed request; the library may leave errno 0.
const char *reason(int error) {
  return error != 0 ? strerror(error) : "the request library gave no reason";
}

// "3 days", in the largest unit of which there are two.
std::string text_of_span(int64_t seconds) {
  constexpr int64_t kHour = 3600;
  constexpr int64_t kDay = 24 * kHour;
  const auto [unit, name] = seconds >= 2 * kDay    ? std::pair(kDay, " days")
                            : seconds >= 2 * kHour ? std::pair(kHour, " hours")
                                                   : std::pair(int64_t{60}, " minutes");
  return std::to_string(seconds / unit) + name;
}

// read(2) that also waits on a non-blocking descriptor.
ssize_t read_some(int fd, void *buffer, size_t size) {
  for (;;) {
    const ssize_t count = read(fd, buffer, size);
    if (count >= 0 || (errno != EINTR && errno != EAGAIN)) {
      return count;
    }
    if (errno == EAGAIN) {
      pollfd input = {fd, POLLIN, 0};
      poll(&input, 1, -1);
    }
  }
}

}  // namespace

bool Source::count_record() {
  if (++count_ <= kMostRecords) {
    return true;
  }
  problem_ = Problem("the log has more than ten million records")
                 .advise("its driver or FILE has no end, or holds more than one log");
  return false;
}

FileSource::FileSource(const char *path, std::optional<int64_t> oldest) : path_(path), file_(open_log(path)) {
  if (!file_.is_open()) {
    problem_ = Problem("cannot open the log: %s", strerror(errno))
                   .advise("check that '%s' is a file with a raw log and that you may read it", path);
    return;
  }
  if (is_output(file_.fd())) {  // what is printed would be read again, and the log be spoilt
    problem_ = Problem("the log is also the output").advise("write to another file than '%s'", path);
    return;
  }
  struct stat status = {};
  if (oldest && fstat(file_.fd(), &status) == 0 && S_ISREG(status.st_mode) && status.st_mtime < *oldest) {
    problem_ =
        Problem("the log was last written %s ago", text_of_span(time(nullptr) - status.st_mtime).c_str())
            .advise("fetch it again, or give '%s' a larger --max-age", path);
    return;
  }
  records_.resize(kRecordsAtOnce);
}

const EVT_LOG_ENTRY *FileSource::next() {
  for (;;) {
    if (position_ == size_ / sizeof(EVT_LOG_ENTRY) && !fill()) {
      return nullptr;
    }
    const EVT_LOG_ENTRY &record = records_[position_++];
    if (!count_record()) {
      return nullptr;
    }
    if (!is_empty(record)) {
      return &record;
    }
  }
}

// Reads at least one whole record, and at the start of the file all that its check needs. Returns false at
// the end and after a failure.
bool FileSource::fill() {
  char *const bytes = reinterpret_cast<char *>(records_.data());
  const size_t used = position_ * sizeof(EVT_LOG_ENTRY);
  size_ -= used;
  position_ = 0;
  memmove(bytes, bytes + used, size_);  // a pipe may end a read within a record
  read_up_to(is_checked_ ? sizeof(EVT_LOG_ENTRY) : kRecordsAtOnce * sizeof(EVT_LOG_ENTRY));
  if (!is_checked_) {
    is_checked_ = true;
    if (!looks_like_a_log()) {
      problem_ = Problem("the file is not a raw log")
                     .advise("'imlog -o raw' writes one; give '%s' as it was written, not compressed", path_);
      return false;
    }
  }
  if (size_ >= sizeof(EVT_LOG_ENTRY)) {
    return true;
  }
  if (error_ != 0) {
    problem_ = Problem("cannot read the log to its end: %s", strerror(error_))
                   .advise("the part of '%s' before the error was printed", path_);
  } else if (size_ != 0) {
    problem_ = Problem("the log ends within a record, after %zu of its 240 bytes", size_)
                   .advise("check whether '%s' is a raw log and was copied completely", path_);
  }
  return false;
}

// Reads until there are `wanted` bytes, or the file ends or fails.
void FileSource::read_up_to(size_t wanted) {
  char *const bytes = reinterpret_cast<char *>(records_.data());
  while (size_ < wanted && !is_at_end_) {
    const ssize_t count =
        read_some(file_.fd(), bytes + size_, records_.size() * sizeof(EVT_LOG_ENTRY) - size_);
    if (count > 0) {
      size_ += static_cast<size_t>(count);
    } else {
      is_at_end_ = true;
      error_ = count < 0 ? errno : 0;
    }
  }
}

// Any bytes can be read as records. But every server states 240 as the length of a record, and text,
// compressed data and JSON nearly always give a far larger one.
bool FileSource::looks_like_a_log() const {
  size_t records = 0;
  size_t too_long = 0;
  for (size_t i = 0; i < size_ / sizeof(EVT_LOG_ENTRY); ++i) {
    records += is_empty(records_[i]) ? 0U : 1U;
    too_long += records_[i].Hdr.wEvtLength > kLongestRecord ? 1U : 0U;
  }
  return 2 * too_long <= records;
}

LiveSource::LiveSource() : reader_(0) {
  switch (reader_.opening()) {
    case EventReader::Opening::kReady: break;
    case EventReader::Opening::kCannotOpen:
      problem_ =
          Problem("cannot open the log: %s", reason(reader_.error()))
              .advise("run as root with the health driver started (%s), or name a FILE to read", kNodeEvents);
      break;
    case EventReader::Opening::kNoMemory:
      problem_ = Problem("cannot open the log: %s", strerror(ENOMEM)).advise("free some memory");
      break;
  }
}

const EVT_LOG_ENTRY *LiveSource::next() {
  switch (reader_.next()) {
    case EventReader::Answer::kEntry: return count_record() ? &reader_.record() : nullptr;
    case EventReader::Answer::kEndOfLog:
      if (reader_.number() != 0 || reader_.status() != -1) {
        break;
      }
      // EPERM has the number of the end of the log. For the first entry it is a driver that refuses.
      [[fallthrough]];
    case EventReader::Answer::kInvalidCode:
      problem_ = Problem("cannot read the log to its end: entry %u: status %d, %s", reader_.number(),
                         reader_.status(), reason(reader_.error()))
                     .advise("the health driver may have stopped; start it again");
      break;
    case EventReader::Answer::kDoesNotAdvance:
      problem_ =
          Problem("cannot read the log to its end: it does not advance past entry %u", reader_.number())
              .advise("the health driver answers with entries out of order; report it to its maker");
      break;
  }
  return nullptr;
}
