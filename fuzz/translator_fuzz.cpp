// Any record into any buffer: two bytes of buffer size, then a record, padded with zeros. The text is
// terminated inside the buffer, cut from the same whole text whatever the size, and the byte behind the
// buffer is the allocator's.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "iml/eventstr.h"

namespace {

constexpr std::uint32_t kLargestBuffer = 1024;

void Require(bool condition) {
  if (!condition) {
    abort();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  if (size < 2) {
    return 0;
  }
  const std::uint32_t ulSize = (data[0] + 256U * data[1]) % (kLargestBuffer + 1);
  EVT_LOG_ENTRY record = {};
  std::memcpy(&record, data + 2, size - 2 < sizeof record ? size - 2 : sizeof record);

  char whole[4096];
  const int known = TranslateEventLogMessage(&record, whole, sizeof whole);
  const std::size_t length = std::strlen(whole);
  Require(length > 0 && length < sizeof whole - 1);
  Require((known == 0) == (std::strncmp(whole, "Unknown Event (Class 0x", 23) == 0));

  const std::unique_ptr<char[]> exact(new char[ulSize]);
  std::memset(exact.get(), '#', ulSize);
  TranslateEventLogMessage(&record, exact.get(), ulSize);
  if (ulSize > 0) {
    const std::size_t kept = length < ulSize - 1 ? length : ulSize - 1;
    Require(std::memcmp(exact.get(), whole, kept) == 0);
    for (std::size_t i = kept; i < ulSize; ++i) {
      Require(exact[i] == '\0');
    }
  }
  return 0;
}
