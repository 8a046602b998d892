// A library to preload, which is also a request library. Its fsync(2) fails on request; its health driver
// refuses an entry, or has a log without end.
#include <cerrno>
#include <csignal>
#include <cstdlib>
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

}  // extern "C"
#pragma GCC visibility pop

// $REFUSE is "ENTRY ERRNO": this entry is refused so. By default there is an entry for each number.
static int answer(_ioctlEntry &request) {
  static const char *const plan = getenv("REFUSE");
  char *error = nullptr;
  if (plan != nullptr && request.info.EvtNumber == strtol(plan, &error, 10)) {
    errno = static_cast<int>(strtol(error, nullptr, 10));
    return -1;
  }
  request.Evt.Hdr.dwEvtNumber = static_cast<uint32_t>(request.info.EvtNumber);
  request.Evt.Hdr.bSeverity = 2;
  return 0;
}

[[gnu::constructor]] static void script() {
  fake_driver() = {.event = answer, .traces_events = false};
}
