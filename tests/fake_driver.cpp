#include "tests/fake_driver.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include "platform/kelmintrfc64.h"
#include "platform/orvev64.h"

FakeDriver &fake_driver() {
  static FakeDriver driver;
  return driver;
}

const int trace_fd = memfd_create("trace", MFD_CLOEXEC);

std::string take(int fd) {
  std::string text(static_cast<size_t>(lseek(fd, 0, SEEK_END)), '\0');
  text.resize(static_cast<size_t>(pread(fd, text.data(), text.size(), 0)));
  lseek(fd, 0, SEEK_SET);
  if (ftruncate(fd, 0) != 0) {
    abort();
  }
  return text;
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

constexpr char kNodes[] = "/dev/zythealth/";

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

int event(unsigned int code, unsigned int length, _ioctlEntry &request) {
  _ioctlEntry read = {{512, 2, 0, request.info.EvtNumber}, {}};
  read.Evt.Hdr.wEvtLength = 284;
  const bool is_read = code == 81 && length == 256 && memcmp(&read, &request, sizeof(read)) == 0;
  if (fake_driver().traces_events || !is_read) {
    const std::string text =
        is_read ? "read " + std::to_string(request.info.EvtNumber) : to_hex(&request, sizeof(request));
    dprintf(trace_fd, "ioctl cevt %u %u %s\n", code, length, text.c_str());
  }
  return fake_driver().event(request);
}

}  // namespace

extern "C" {

int orvOpenRequest(const char *path, int mode) {
  if (strncmp(path, kNodes, strlen(kNodes)) != 0) {
    return open(path, mode);
  }
  const std::string node = path + strlen(kNodes);
  dprintf(trace_fd, "open %s %d\n", node.c_str(), mode);
  auto &opens = fake_driver().opens;
  if (opens.count(node) != 0 && --opens[node] < 0) {
    errno = ENOENT;
    return -1;
  }
  const int fd = open("/dev/null", mode);
  if (fd <= STDERR_FILENO) {
    dprintf(trace_fd, "opened as %d\n", fd);
  }
  open_nodes[fd] = node;
  return fd;
}

int orvIoctlRequest(int fd, unsigned int code, void *buffer, unsigned int length) {
  const FakeDriver &driver = fake_driver();
  const std::string &node = open_nodes[fd];  // empty when it is not open
  if (node == "cevt") {
    return event(code, length, *static_cast<_ioctlEntry *>(buffer));
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

// Fails, so that whoever lets it hide the reason of an earlier failure is noticed.
int orvCloseRequest(int fd) {
  close(fd);
  if (open_nodes.count(fd) != 0) {
    dprintf(trace_fd, "close %s\n", open_nodes[fd].c_str());
    open_nodes.erase(fd);
  }
  errno = EBADF;
  return -1;
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
