// Translates any record into a buffer of any size. The input is two bytes of buffer size, then a record,
// padded with zeros. The text must be terminated inside the buffer, and be the whole text cut to the buffer's
// size. A write past the buffer hits the allocator's red zone.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "iml/eventstr.h"

namespace {

constexpr uint32_t kLargestBuffer = 1024;

void require(bool condition) {
  if (!condition) {
    abort();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  if (size < 2) {
    return 0;
  }
  const uint32_t buffer_size = (data[0] + 256U * data[1]) % (kLargestBuffer + 1);
  EVT_LOG_ENTRY record = {};
  memcpy(&record, data + 2, size - 2 < sizeof(record) ? size - 2 : sizeof(record));

  char whole[4096];
  const int known = TranslateEventLogMessage(&record, whole, sizeof(whole));
  const size_t length = strlen(whole);
  require(length > 0 && length < sizeof(whole) - 1);
  require((known == 0) == (strncmp(whole, "Unknown Event (Class 0x", 23) == 0));

  const std::unique_ptr<char[]> exact(new char[buffer_size]);
  memset(exact.get(), '#', buffer_size);
  TranslateEventLogMessage(&record, exact.get(), buffer_size);
  if (buffer_size > 0) {
    const size_t kept = length < buffer_size - 1 ? length : buffer_size - 1;
    require(memcmp(exact.get(), whole, kept) == 0);
    for (size_t i = kept; i < buffer_size; ++i) {
      require(exact[i] == '\0');
    }
  }
  return 0;
}
