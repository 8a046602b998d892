// A library to preload, which is also a request library. Its fsync(2) fails on request, a day passes between
// two calls of its time(2), and its health driver refuses an entry, serves a file, or has a log without end.
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "tests/fake_driver.h"

#pragma GCC visibility push(default)
extern "C" {

// $FSYNC is "CALL ERRNO": this call fails so, or with 0 kills the process.
int fsync(int fd) {
  static int calls = 0;
  char *error = nullptr;
  const char *const plan = getenv("FSYNC");
  if (plan == nullptr || ++calls != strtol(plan, &error, 10)) {
    return static_cast<int>(syscall(SYS_fsync, fd));
  }
  errno = static_cast<int>(strtol(error, nullptr, 10));
  if (errno == 0) {
    raise(SIGKILL);
  }
  return -1;
}

time_t time(time_t *) {
  static int days = 0;
  timespec now = {};
  clock_gettime(CLOCK_REALTIME, &now);
  return now.tv_sec + time_t{86'400} * days++;
}

}  // extern "C"
#pragma GCC visibility pop

// $REFUSE is "ENTRY ERRNO": this entry is refused so. $LOG is a raw log. Otherwise there is an entry for each
// number.
static int answer(_ioctlEntry &request) {
  static const char *const plan = getenv("REFUSE");
  char *error = nullptr;
  if (plan != nullptr && request.info.EvtNumber == strtol(plan, &error, 10)) {
    errno = static_cast<int>(strtol(error, nullptr, 10));
    return -1;
  }
  if (const char *const log = getenv("LOG"); log != nullptr) {
    const int fd = open(log, O_RDONLY);
    const off_t place = request.info.EvtNumber * static_cast<off_t>(sizeof(request.Evt));
    const bool is_there =
        pread(fd, &request.Evt, sizeof(request.Evt), place) == static_cast<ssize_t>(sizeof(request.Evt));
    close(fd);
    errno = EPERM;
    return is_there ? 0 : -1;
  }
  request.Evt.Hdr.dwEvtNumber = static_cast<uint32_t>(request.info.EvtNumber);
  request.Evt.Hdr.bSeverity = 2;
  return 0;
}

[[gnu::constructor]] static void script() {
  fake_driver() = {.event = answer, .traces_events = false};
}
