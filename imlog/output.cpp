#include "imlog/output.h"

#include <cerrno>
#include <charconv>
#include <csignal>
#include <poll.h>
#include <unistd.h>

Output::Output(int fd, bool each_entry) : fd_(fd), each_entry_(each_entry), text_(new char[kPiece]) {}

void Output::put_large(std::string_view text) {
  while (!text.empty()) {
    if (size_ == kPiece) {
      flush();
    }
    const std::string_view piece = text.substr(0, kPiece - size_);
    put(piece);
    text.remove_prefix(piece.size());
  }
}

void Output::put_padded(std::string_view text, size_t width) {
  put(text);
  for (size_t length = text.size(); length < width; ++length) {
    put(' ');
  }
}

void Output::put_number(uint64_t number, size_t width) {
  char digits[20];
  const char *const end = std::to_chars(digits, digits + sizeof(digits), number).ptr;
  put_padded({digits, static_cast<size_t>(end - digits)}, width);
}

bool Output::flush() {
  std::string_view rest(text_.get(), size_);
  while (error_ == 0 && !rest.empty()) {
    const ssize_t count = write(fd_, rest.data(), rest.size());
    if (count >= 0) {
      rest.remove_prefix(static_cast<size_t>(count));
      is_synced_ = false;
    } else if (errno == EAGAIN) {  // the descriptor is non-blocking: wait until it takes more
      pollfd output = {fd_, POLLOUT, 0};
      poll(&output, 1, -1);
    } else if (errno != EINTR) {
      error_ = errno;
    }
  }
  size_ = 0;
  return error_ == 0;
}

bool Output::sync() {
  flush();
  while (error_ == 0 && !is_synced_) {
    is_synced_ = fsync(fd_) == 0 || errno == EINVAL || errno == EROFS || errno == ENOTSUP;
    if (!is_synced_ && errno != EINTR) {
      error_ = errno;
    }
  }
  return error_ == 0;
}

bool Output::wait(int milliseconds) {
  pollfd output = {fd_, 0, 0};
  if (error_ == 0 && poll(&output, 1, milliseconds) > 0) {
    error_ = (output.revents & POLLNVAL) != 0 ? EBADF : EPIPE;
    if (error_ == EPIPE) {
      raise(SIGPIPE);
    }
  }
  return error_ == 0;
}

bool Output::close() {
  flush();
  if (::close(fd_) != 0 && error_ == 0 && errno != EINTR) {
    error_ = errno;
  }
  return error_ == 0;
}
