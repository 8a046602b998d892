// Another library of the driver's soname: a server that keeps no log, or, where the environment names a
// status, one that answers it to every read.
#include <cstdlib>

#include "platform/health_driver.h"
#include "platform/kelmintrfc64.h"

#pragma GCC visibility push(default)
int orvOpenRequest(const char * /*path*/, int /*mode*/) {
  return 100;
}
int orvIoctlRequest(int /*fd*/, unsigned int code, void * /*buffer*/, unsigned int /*length*/) {
  static const char *const status = getenv("OTHER_DRIVER_STATUS");
  return code != kRequestEventEntry ? 0 : status != nullptr ? atoi(status) : 1;
}
int orvCloseRequest(int /*fd*/) {
  return 0;
}
#pragma GCC visibility pop
