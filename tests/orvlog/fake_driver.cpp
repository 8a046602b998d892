#include "tests/orvlog/fake_driver.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "platform/kelmintrfc64.h"
#include "platform/orvev64.h"
#include "tests/support/capture.h"

bool fail_calloc = false;

FakeDriver &fake_driver() {
  static FakeDriver driver;
  return driver;
}

void trace_bytes(const char *name, const void *bytes, size_t size) {
  std::string line = name;
  for (size_t i = 0; i < size; ++i) {
    char byte[4];
    snprintf(byte, sizeof byte, " %02x", static_cast<const unsigned char *>(bytes)[i]);
    line += byte;
  }
  dprintf(trace_fd(), "%s\n", line.c_str());
}

namespace {

constexpr int kFirstDescriptor = 1000;
std::map<int, std::string> open_nodes;
int next_descriptor = kFirstDescriptor;

std::string node_of(int fd) {
  const auto node = open_nodes.find(fd);
  return node == open_nodes.end() ? "closed" : node->second;
}

}  // namespace

extern "C" {

void *__real_calloc(size_t count, size_t size);
void *__wrap_calloc(size_t count, size_t size) {
  return fail_calloc ? nullptr : __real_calloc(count, size);
}

int orvOpenRequest(const char *path, int mode) {
  const std::string node = strrchr(path, '/') + 1;
  dprintf(trace_fd(), "open %s %d\n", node.c_str(), mode);
  if (fake_driver().open_errors.count(node) != 0) {
    errno = fake_driver().open_errors[node];
    return -1;
  }
  if (std::string("/dev/zythealth/") + node != path) {
    dprintf(trace_fd(), "wrong path %s\n", path);
  }
  open_nodes[next_descriptor] = node;
  return next_descriptor++;
}

int orvIoctlRequest(int fd, unsigned int code, void *buffer, unsigned int length) {
  const std::string node = node_of(fd);
  FakeDriver &driver = fake_driver();
  if (driver.traces_requests) {
    dprintf(trace_fd(), "ioctl %s %u %u\n", node.c_str(), code, length);
  }
  if (node == "cdt") {
    DT_IOCTL request;
    memcpy(&request, buffer, sizeof request);
    if (request.DtHdr.Index != 0 || request.DtHdr.Index2 != 0 || request.DtHdr.CRUFunction != 0 ||
        request.DtHdr.CRUSubfunction != 0 || request.pad != 0) {
      dprintf(trace_fd(), "fields not zero\n");
    }
    return driver.data_table(request.DtHdr.DT_Type, request.pData, request.DtHdr.size);
  }
  if (node == "cevt") {
    return driver.event(*static_cast<_ioctlEntry *>(buffer));
  }
  if (node == "casr") {
    if (code == kRequestAsrState) {
      // A negative state is a request that fails after it has filled the buffer.
      const int state = driver.asr_state < 0 ? 1 : driver.asr_state;
      memcpy(buffer, &state, sizeof state);
      return driver.asr_state < 0 ? -1 : 0;
    } else if (buffer != nullptr) {
      dprintf(trace_fd(), "buffer not null\n");
    }
    return 0;
  }
  return driver.report(code, static_cast<char *>(buffer));
}

int orvCloseRequest(int fd) {
  dprintf(trace_fd(), "close %s\n", node_of(fd).c_str());
  open_nodes.erase(fd);
  return 0;
}

int get_ev(const char *name, void *buffer, int *size) {
  dprintf(trace_fd(), "get_ev %s %d\n", name, *size);
  return fake_driver().get_variable(*static_cast<ASREVSTRUCT *>(buffer), *size);
}

int set_ev(const char *name, void *buffer, int *size) {
  dprintf(trace_fd(), "set_ev %s %d\n", name, *size);
  trace_bytes("value", buffer, static_cast<size_t>(*size));
  return fake_driver().set_variable(*static_cast<ASREVSTRUCT *>(buffer), *size);
}

}  // extern "C"
