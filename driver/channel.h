// One open node of the health driver.
#pragma once

#include "platform/kelmintrfc64.h"
#include "util/ownership.h"

// A driver node: opened on construction, closed at the end of its scope.
class Channel {
 public:
  // `mode` is kOpenRead or kOpenReadWrite. When opening fails, its reason is in errno.
  Channel(const char *path, int mode) : node_(orvOpenRequest(path, mode)) {}

  [[nodiscard]] bool is_open() const {
    return node_.is_open();
  }
  [[nodiscard]] int fd() const {
    return node_.fd();
  }

  // Issues one request. Returns 0, a driver status, or -1 with the reason in errno.
  int request(unsigned int code, void *buffer, unsigned int length) const {
    return orvIoctlRequest(node_.fd(), code, buffer, length);
  }

  // Closes the node before the end of the scope.
  void close() {
    node_.close();
  }

 private:
  OwnedDescriptor<orvCloseRequest> node_;
};
