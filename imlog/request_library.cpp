#include "imlog/request_library.h"

#include <dlfcn.h>

#include "platform/kelmintrfc64.h"

namespace {

constexpr char kLibrary[] = "libkelmintrfc64.so.3";

decltype(&orvOpenRequest) open_request = nullptr;
decltype(&orvIoctlRequest) ioctl_request = nullptr;
decltype(&orvCloseRequest) close_request = nullptr;

template <class Function>
bool find(void *library, const char *name, Function &function) {
  function = reinterpret_cast<Function>(dlsym(library, name));
  return function != nullptr;
}

}  // namespace

Problem load_request_library() {
  void *const library = dlopen(kLibrary, RTLD_NOW);
  if (library == nullptr || !find(library, "orvOpenRequest", open_request) ||
      !find(library, "orvIoctlRequest", ioctl_request) || !find(library, "orvCloseRequest", close_request)) {
    return Problem("cannot load the request library: %s", dlerror())
        .advise("install the library of the server's health driver and run ldconfig, or name a FILE to read");
  }
  return {};
}

// driver/ calls these functions. They forward to the library.

int orvOpenRequest(const char *path, int mode) {
  return open_request(path, mode);
}

int orvIoctlRequest(int fd, unsigned int code, void *buffer, unsigned int length) {
  return ioctl_request(fd, code, buffer, length);
}

int orvCloseRequest(int fd) {
  return close_request(fd);
}
