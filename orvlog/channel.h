// The channel to the health driver, and the two questions that are asked of it before the real work.
#pragma once

#include <cstdint>

#include "orvlog/orvlog.h"

/// 1 when the management controller is of the IPMI kind. It only chooses words: ASR, or IPMI watchdog.
extern int non_Brix;

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

/// Asks which kind of management controller the server has and sets non_Brix. Ends the process with status 1
/// when the controller's node cannot be opened; a controller that does not answer counts as the other kind.
void Get_Qm_100_Series();

/// Asks whether the server keeps an IML and says so on standard error where it does not. Returns 0 when it
/// does not or its node cannot be opened, else 1, also when the driver could not answer.
std::uint16_t do_init();
