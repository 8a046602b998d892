#include "imlog/sink.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <poll.h>
#include <unistd.h>

int Sink::wait(int milliseconds) {
  poll(nullptr, 0, milliseconds);
  return 0;
}

bool is_standard_output(const struct stat &file) {
  struct stat output = {};
  return S_ISREG(file.st_mode) && fstat(STDOUT_FILENO, &output) == 0 && file.st_dev == output.st_dev &&
         file.st_ino == output.st_ino;
}

int DescriptorSink::write(std::string_view piece) {
  while (!piece.empty()) {
    const ssize_t count = ::write(fd_, piece.data(), piece.size());
    if (count >= 0) {
      piece.remove_prefix(static_cast<size_t>(count));
      is_synced_ = false;
    } else if (errno == EAGAIN) {  // the descriptor is non-blocking: wait until it takes more
      pollfd output = {fd_, POLLOUT, 0};
      poll(&output, 1, -1);
    } else if (errno != EINTR) {
      return errno;
    }
  }
  return 0;
}

int DescriptorSink::sync() {
  while (!is_synced_) {
    is_synced_ = fsync(fd_) == 0 || errno == EINVAL || errno == EROFS || errno == ENOTSUP;
    if (!is_synced_ && errno != EINTR) {
      return errno;
    }
  }
  return 0;
}

int DescriptorSink::wait(int milliseconds) {
  pollfd output = {fd_, 0, 0};
  if (poll(&output, 1, milliseconds) <= 0) {
    return 0;
  }
  if ((output.revents & POLLNVAL) != 0) {
    return EBADF;
  }
  raise(SIGPIPE);
  return EPIPE;
}

int DescriptorSink::close() {
  return ::close(fd_) == 0 || errno == EINTR ? 0 : errno;
}

Problem DescriptorSink::problem(int error) const {
  return Problem("cannot write the output: %s", strerror(error))
      .advise("check the device or program that standard output leads to");
}
