#include "tests/orvlog/fake_driver.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

#include "platform/kelmintrfc64.h"
#include "platform/orvev64.h"

bool fail_calloc = false;
bool fail_fclose = false;
int trace_fd = -1;

FakeDriver &fake_driver() {
  static FakeDriver driver;
  return driver;
}

std::string to_hex(const void *bytes, size_t size) {
  std::string text;
  for (size_t i = 0; i < size; ++i) {
    char byte[3];
    snprintf(byte, sizeof(byte), "%02x", static_cast<const unsigned char *>(bytes)[i]);
    text += byte;
  }
  return text;
}

namespace {

std::map<int, std::string> open_nodes;

int data_table(const DT_IOCTL &request) {
  const FakeDriver &driver = fake_driver();
  DT_IOCTL plain = {{request.DtHdr.size, request.DtHdr.DT_Type, 0, 0, 0, 0}, request.pData, 0};
  const bool is_plain = memcmp(&plain, &request, sizeof(plain)) == 0;
  dprintf(trace_fd, " %u %u%s\n", plain.DtHdr.DT_Type, plain.DtHdr.size, is_plain ? "" : " malformed");
  const bool is_log = plain.DtHdr.DT_Type == 51;
  const size_t field =
      is_log ? offsetof(_EVENTLOGHEADER, ucDataAvailable) : offsetof(BMC_DEVICE_ID, ucDeviceID);
  static_cast<uint8_t *>(request.pData)[field] = is_log ? driver.has_log : driver.controller;
  return is_log ? driver.log_status : driver.controller_status;
}

std::string event_trace(const _ioctlEntry &request) {
  _ioctlEntry read = {{512, 2, 0, request.info.EvtNumber}, {}};
  read.Evt.Hdr.wEvtLength = 284;
  return memcmp(&read, &request, sizeof(read)) == 0 ? "read " + std::to_string(request.info.EvtNumber)
                                                    : to_hex(&request, sizeof(request));
}

}  // namespace

extern "C" {

void *__real_calloc(size_t count, size_t size);
void *__wrap_calloc(size_t count, size_t size) {
  return fail_calloc ? nullptr : __real_calloc(count, size);
}

int __real_fclose(FILE *file);
int __wrap_fclose(FILE *file) {
  const int result = __real_fclose(file);
  errno = fail_fclose ? ENOSPC : errno;
  return fail_fclose ? EOF : result;
}

int orvOpenRequest(const char *path, int mode) {
  static int next_descriptor = 1000;
  const std::string node = strrchr(path, '/') + 1;
  dprintf(trace_fd, "open %s %d\n", path == "/dev/zythealth/" + node ? node.c_str() : path, mode);
  for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd) {
    if (fcntl(fd, F_GETFD) == -1) {
      dprintf(trace_fd, "would be opened as %d\n", fd);
    }
  }
  auto &opens = fake_driver().opens;
  if (opens.count(node) != 0 && --opens[node] < 0) {
    errno = ENOENT;
    return -1;
  }
  open_nodes[next_descriptor] = node;
  return next_descriptor++;
}

int orvIoctlRequest(int fd, unsigned int code, void *buffer, unsigned int length) {
  FakeDriver &driver = fake_driver();
  const std::string node = open_nodes[fd];  // empty when it is not open
  if (node == "cevt") {
    auto &request = *static_cast<_ioctlEntry *>(buffer);
    if (driver.traces_events) {
      dprintf(trace_fd, "ioctl cevt %u %u %s\n", code, length, event_trace(request).c_str());
    }
    return driver.event(request);
  }
  dprintf(trace_fd, "ioctl %s %u %u", node.c_str(), code, length);
  if (node == "cdt") {
    return data_table(*static_cast<DT_IOCTL *>(buffer));
  }
  dprintf(trace_fd, "%s\n", buffer == nullptr ? " null" : "");
  if (node == "proc") {
    memcpy(buffer, driver.report.data(), std::min(driver.report.size() + 1, size_t{kReportSize}));
    return driver.report_status;
  }
  if (buffer != nullptr) {
    memcpy(buffer, &driver.asr_state, sizeof(driver.asr_state));
  }
  return driver.asr_status;
}

int orvCloseRequest(int fd) {
  dprintf(trace_fd, "close %s\n", open_nodes[fd].c_str());
  open_nodes.erase(fd);
  return 0;
}

int get_ev(const char *name, void *buffer, int *size) {
  dprintf(trace_fd, "get_ev %s %d\n", name, *size);
  const FakeDriver &driver = fake_driver();
  if (driver.get_status == 0) {
    memcpy(buffer, &driver.variable, sizeof(driver.variable));
  } else {
    *size = 0;
  }
  return driver.get_status;
}

int set_ev(const char *name, void *buffer, int *size) {
  dprintf(trace_fd, "set_ev %s %s\n", name, to_hex(buffer, static_cast<size_t>(*size)).c_str());
  return fake_driver().set_status;
}

}  // extern "C"
