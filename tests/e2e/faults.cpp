// A library to preload, which is also a request library. Its fsync(2) fails on request; its health driver
// refuses an entry, or has a log without end.
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "platform/health_driver.h"
#include "platform/kelmintrfc64.h"

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

int orvOpenRequest(const char * /*path*/, int /*mode*/) {
  return open("/dev/null", O_RDONLY | O_CLOEXEC);
}

int orvCloseRequest(int fd) {
  return close(fd);
}

// $REFUSE is "ENTRY ERRNO": this entry is refused so. By default there is an entry for each number.
int orvIoctlRequest(int /*fd*/, unsigned int /*code*/, void *buffer, unsigned int /*length*/) {
  auto *const request = static_cast<_ioctlEntry *>(buffer);
  static const char *const plan = getenv("REFUSE");
  char *error = nullptr;
  if (plan != nullptr && request->info.EvtNumber == strtol(plan, &error, 10)) {
    errno = static_cast<int>(strtol(error, nullptr, 10));
    return -1;
  }
  request->Evt.Hdr.dwEvtNumber = static_cast<uint32_t>(request->info.EvtNumber);
  request->Evt.Hdr.bSeverity = 2;
  return 0;
}

}  // extern "C"
