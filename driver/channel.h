// Nodes and files opened through the request library.
#pragma once

#include "platform/kelmintrfc64.h"
#include "util/ownership.h"

// A driver node, or an ordinary file: closed at the end of its scope.
class Channel : public OwnedDescriptor<orvCloseRequest> {
 public:
  // Takes over a descriptor of orvOpenRequest.
  using OwnedDescriptor::OwnedDescriptor;

  // `mode` is kOpenRead or kOpenReadWrite. When opening fails, its reason is in errno.
  Channel(const char *path, int mode) : OwnedDescriptor(orvOpenRequest(path, mode)) {}

  // Issues one request. Returns 0, a driver status, or -1 with the reason in errno.
  int request(unsigned int code, void *buffer, unsigned int length) const {
    return orvIoctlRequest(fd(), code, buffer, length);
  }
};
