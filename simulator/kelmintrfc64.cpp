// Stand-in for libkelmintrfc64.so.3: the health driver's four nodes, served from a directory.
#include "platform/kelmintrfc64.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <iterator>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/health_driver.h"
#include "platform/time_stamp.h"
#include "simulator/server_directory.h"
#include "util/file.h"
#include "util/ownership.h"

using simulator::fail;

namespace {

constexpr char kDriverDirectory[] = "/dev/zythealth/";

constexpr char kAsrStateFile[] = "state";
// By request code, from 1.
constexpr const char *kReportFiles[] = {"thermal", "fan", "power", "pci", "debug"};

// Argument checks common to all requests with a buffer, in this order: ENOTTY, EFAULT, EINVAL.
bool is_well_formed(bool is_known, const void *buffer, bool has_its_length) {
  if (is_known && buffer != nullptr && has_its_length) {
    return true;
  }
  errno = !is_known ? ENOTTY : buffer == nullptr ? EFAULT : EINVAL;
  return false;
}

int data_table_request(int fd, unsigned int code, void *buffer, unsigned int length) {
  DT_IOCTL request;
  if (!is_well_formed(code == kRequestDataTable, buffer, length == sizeof(request))) {
    return -1;
  }
  memcpy(&request, buffer, sizeof(request));
  if (request.pData == nullptr) {
    return fail(EFAULT);
  }
  char name[sizeof("65535")];
  static_cast<void>(snprintf(name, sizeof(name), "%u", static_cast<unsigned int>(request.DtHdr.DT_Type)));
  const Descriptor table(simulator::open_in_directory(fd, name));
  struct stat status;
  if (!table.is_open() || fstat(table.fd(), &status) < 0) {
    return -1;
  }
  if (request.DtHdr.Index != 0 || status.st_size != static_cast<off_t>(request.DtHdr.size)) {
    return fail(EINVAL);
  }
  const ssize_t got = read_at(table.fd(), request.pData, request.DtHdr.size, 0);
  if (got < 0) {
    return -1;
  }
  return got == status.st_size ? 0 : fail(EIO);
}

// The log is a file of 240-byte slots, one record each. README.md says how slots are numbered.
constexpr off_t kSlotSize = sizeof(EVT_LOG_ENTRY);

// A server may count its entries from 1: its dump has entry 1 in the first slot.
uint32_t first_number(int log) {
  EVT_HEADER first;
  const bool has_one = read_at(log, &first, sizeof(first), 0) == sizeof(first);
  return has_one && first.dwEvtNumber == 1 ? 1 : 0;
}

EVT_TIME_STAMP now() {
  const time_t seconds = time(nullptr);
  tm local = {};
  tzset();
  localtime_r(&seconds, &local);
  return to_stamp(local);
}

// Answers a read (kChoiceRead) of the open log. Returns an EventStatus, or -1 with errno.
int read_entry(int log, PEVT_IOCTL_ENTRY request) {
  if (request->info.length < sizeof(*request) || request->info.EvtNumber < 0) {
    return fail(EINVAL);
  }
  const off_t slot = static_cast<off_t>(request->info.EvtNumber) - first_number(log);
  if (slot < 0) {
    return kEventNoEntry;
  }
  static constexpr char kUnused[kSlotSize] = {};
  char record[kSlotSize];
  const ssize_t got = read_at(log, record, sizeof(record), slot * kSlotSize);
  if (got < 0) {
    return -1;
  }
  if (got < kSlotSize) {
    return kEventEndOfLog;
  }
  if (memcmp(record, kUnused, sizeof(record)) == 0) {
    return kEventNoEntry;
  }
  memcpy(&request->Evt, record, sizeof(record));
  return kEventRead;
}

// Carries out an add (kChoiceAdd). Returns 0 when the record is on the disk. Otherwise returns -1 with errno,
// and the log is unchanged. `log` is writable and opened for this call alone: the writers' lock belongs to
// the open file, which a forked process shares with its parent.
int add_entry(int log, const _ioctlEntry *request) {
  const size_t length = request->Evt.Hdr.wEvtLength;
  if (length < sizeof(EVT_HEADER) || length > sizeof(EVT_LOG_ENTRY) ||
      request->info.length != length + sizeof(LOG_INFO)) {
    return fail(EINVAL);
  }
  struct stat status;
  if (simulator::lock(log) < 0 || fstat(log, &status) < 0) {
    return -1;
  }
  // A partial slot at the end was left by a writer that was killed. It is overwritten.
  const off_t slot = status.st_size / kSlotSize;
  if (slot >= INT32_MAX) {
    return fail(ENOSPC);
  }
  EVT_LOG_ENTRY record = {};
  memcpy(&record, &request->Evt, length);
  record.Hdr.dwEvtNumber = static_cast<uint32_t>(slot) + first_number(log);
  record.Hdr.InitTime = now();
  record.Hdr.UpdateTime = record.Hdr.InitTime;
  record.Hdr.dwCount = 1;

  const ssize_t written = pwrite(log, &record, sizeof(record), slot * kSlotSize);
  if (written == kSlotSize && fsync(log) == 0) {
    return 0;
  }
  const int error = written < 0 || written == kSlotSize ? errno : ENOSPC;
  return ftruncate(log, slot * kSlotSize) == 0 ? fail(error) : -1;
}

int event_request(int fd, unsigned int code, void *buffer, unsigned int length) {
  auto *request = static_cast<PEVT_IOCTL_ENTRY>(buffer);
  if (!is_well_formed(code == kRequestEventEntry, buffer, length == sizeof(*request))) {
    return -1;
  }
  switch (request->info.choice) {
    case kChoiceRead: return read_entry(fd, request);
    case kChoiceAdd: {
      char path[64];
      snprintf(path, sizeof(path), "/proc/self/fd/%d", fd);
      const Descriptor log(open(path, O_RDWR | O_CLOEXEC));
      return log.is_open() ? add_entry(log.fd(), request) : -1;
    }
    default: return fail(EINVAL);
  }
}

int read_asr_state(int fd, void *buffer, unsigned int length) {
  if (!is_well_formed(true, buffer, length == sizeof(int32_t))) {
    return -1;
  }
  const Descriptor file(simulator::open_in_directory(fd, kAsrStateFile));
  char text[16] = {};
  const ssize_t got = file.is_open() ? read_at(file.fd(), text, sizeof(text), 0) : -1;
  if (got < 0) {
    return -1;
  }
  if (got == sizeof(text)) {
    return fail(EIO);
  }
  char *end;
  const long value = strtol(text, &end, 10);
  const int32_t state = static_cast<int32_t>(value);
  if (end == text || (*end != '\0' && strcmp(end, "\n") != 0) || state != value) {
    return fail(EIO);
  }
  memcpy(buffer, &state, sizeof(state));
  return 0;
}

int asr_request(int fd, unsigned int code, void *buffer, unsigned int length) {
  switch (code) {
    case kRequestAsrState: return read_asr_state(fd, buffer, length);
    case kRequestEnableAsr:
    case kRequestDisableAsr:
      if (buffer != nullptr || length != 0) {
        return fail(EINVAL);
      }
      return simulator::replace_file(fd, kAsrStateFile, code == kRequestEnableAsr ? "1\n" : "0\n", 2);
    default: return fail(ENOTTY);
  }
}

int report_request(int fd, unsigned int code, void *buffer, unsigned int length) {
  const bool is_report = code >= kReportThermal && code <= kReportDebug;
  if (!is_well_formed(is_report, buffer, length == kReportRequestLength)) {
    return -1;
  }
  const Descriptor report(simulator::open_in_directory(fd, kReportFiles[code - kReportThermal]));
  if (!report.is_open()) {
    return -1;
  }
  const ssize_t got = read_at(report.fd(), buffer, kReportSize, 0);
  if (got < 0) {
    return -1;
  }
  if (got < static_cast<ssize_t>(kReportSize)) {
    static_cast<char *>(buffer)[got] = '\0';
  }
  return 0;
}

// A node is a file or directory of the server's directory. As with the driver, the mode of opening does not
// limit the requests: a node opened for reading takes a note.
constexpr struct Node {
  const char *path;
  mode_t kind;
  int (*request)(int fd, unsigned int code, void *buffer, unsigned int length);
} kNodes[] = {
    {kNodeDataTables, S_IFDIR, data_table_request},
    {kNodeEvents, S_IFREG, event_request},
    {kNodeAsr, S_IFDIR, asr_request},
    {kNodeReports, S_IFDIR, report_request},
};

const Node *open_nodes[1024];  // by descriptor, the highest that a process usually has

bool is_in_table(int fd) {
  return fd >= 0 && static_cast<size_t>(fd) < std::size(open_nodes);
}

}  // namespace

extern "C" {

[[gnu::visibility("default")]] int orvOpenRequest(const char *path, int mode) {
  if (path == nullptr) {
    return fail(EFAULT);
  }
  if (strncmp(path, kDriverDirectory, strlen(kDriverDirectory)) != 0) {
    return open(path, mode & ~O_CREAT, 0);
  }
  for (const Node &node : kNodes) {
    if (strcmp(path, node.path) == 0) {
      const int fd = simulator::open_in_server(path + strlen(kDriverDirectory), node.kind);
      if (is_in_table(fd)) {
        open_nodes[fd] = &node;
      }
      return fd;
    }
  }
  return fail(ENOENT);
}

[[gnu::visibility("default")]] int orvIoctlRequest(int fd, unsigned int code, void *buffer,
                                                   unsigned int length) {
  const Node *const node = is_in_table(fd) ? open_nodes[fd] : nullptr;
  return node != nullptr ? node->request(fd, code, buffer, length) : fail(ENOTTY);
}

[[gnu::visibility("default")]] int orvCloseRequest(int fd) {
  if (is_in_table(fd)) {
    open_nodes[fd] = nullptr;
  }
  return close(fd);
}

}  // extern "C"
