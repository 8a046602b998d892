// Another library of the driver's soname: a server that keeps no log.
#include "platform/kelmintrfc64.h"

#pragma GCC visibility push(default)
int orvOpenRequest(const char * /*path*/, int /*mode*/) {
  return 100;
}
int orvIoctlRequest(int /*fd*/, unsigned int code, void * /*buffer*/, unsigned int /*length*/) {
  return code == 81 ? 1 : 0;
}
int orvCloseRequest(int /*fd*/) {
  return 0;
}
#pragma GCC visibility pop
