// Owners of descriptors and of C memory, which they release at the end of their scope.
#pragma once

#include <cerrno>
#include <cstdlib>
#include <memory>
#include <unistd.h>

// A descriptor that is closed with `Close`; negative when opening failed. The destructor preserves errno, so
// that the reason of an earlier failure survives.
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

using Descriptor = OwnedDescriptor<::close>;  // from open(2), openat(2) and the like

struct FreeMemory {
  void operator()(void *memory) const {
    free(memory);
  }
};

// Memory from malloc(3) or calloc(3); null when the allocation failed.
template <class T>
using Allocated = std::unique_ptr<T, FreeMemory>;
