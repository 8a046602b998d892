#include "simulator/event_log.h"

#include <cerrno>
#include <cstring>
#include <ctime>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/time_stamp.h"
#include "simulator/server_directory.h"
#include "util/file.h"

namespace simulator {
namespace {

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

}  // namespace

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

int add_entry(int log, const _ioctlEntry *request) {
  const size_t length = request->Evt.Hdr.wEvtLength;
  if (length < sizeof(EVT_HEADER) || length > sizeof(EVT_LOG_ENTRY) ||
      request->info.length != length + sizeof(LOG_INFO)) {
    return fail(EINVAL);
  }
  struct stat status;
  if (lock(log) < 0 || fstat(log, &status) < 0) {
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

}  // namespace simulator
