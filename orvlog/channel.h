// The channel to the health driver.
#pragma once

#include <cstdlib>

#include "orvlog/orvlog.h"

/// A driver node: opened on construction, closed at the end of its scope.
class Channel {
 public:
  Channel(const char *path, int mode) : fd_(orvOpenRequest(path, mode)) {}
  ~Channel() {
    close();
  }

  Channel(const Channel &) = delete;
  Channel &operator=(const Channel &) = delete;

  [[nodiscard]] bool is_open() const {
    return fd_ >= 0;
  }
  [[nodiscard]] int fd() const {
    return fd_;
  }

  /// Issues one request. Returns 0, a driver status above 0, or -1 with the reason in errno.
  int request(unsigned int code, void *buffer, unsigned int length) const {
    return orvIoctlRequest(fd_, code, buffer, length);
  }

  /// Closes the node before the end of the scope.
  void close() {
    if (is_open()) {
      orvCloseRequest(fd_);
      fd_ = -1;
    }
  }

 private:
  int fd_;
};

/// Releases what calloc has handed out.
struct FreeMemory {
  void operator()(void *memory) const {
    free(memory);
  }
};
