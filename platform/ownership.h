// Owners of what the C library and the request library hand out: released at the end of the owner's scope.
#pragma once

#include <cerrno>
#include <cstdlib>
#include <memory>
#include <unistd.h>

#include "platform/kelmintrfc64.h"

// A descriptor that is closed with `Close`; negative when opening failed. Its end leaves errno alone, so that
// the reason of an earlier failure survives.
template <int (*Close)(int)>
class OwnedDescriptor {
 public:
  explicit OwnedDescriptor(int fd) : fd_(fd) {}
  OwnedDescriptor(OwnedDescriptor &&other) noexcept : fd_(other.release()) {}
  OwnedDescriptor &operator=(OwnedDescriptor &&) = delete;
  ~OwnedDescriptor() {
    const int error = errno;
    close();
    errno = error;
  }

  [[nodiscard]] bool is_open() const {
    return fd_ >= 0;
  }
  [[nodiscard]] int fd() const {
    return fd_;
  }

  // Closes before the end of the scope. Returns what `Close` returned, or 0 when nothing was open.
  int close() {
    return is_open() ? Close(release()) : 0;
  }

  // Leaves the descriptor to the caller.
  int release() {
    const int fd = fd_;
    fd_ = -1;
    return fd;
  }

 private:
  int fd_;
};

using Descriptor = OwnedDescriptor<::close>;                 // of open(2) and its like
using RequestDescriptor = OwnedDescriptor<orvCloseRequest>;  // of orvOpenRequest

struct FreeMemory {
  void operator()(void *memory) const {
    free(memory);
  }
};

// Memory of malloc(3) and its like; null when there was none.
template <class T>
using Allocated = std::unique_ptr<T, FreeMemory>;
