// The translator allocates nothing, whatever it decodes: every way to the heap is counted.
#include <algorithm>
#include <cstdlib>
#include <memory>
#include <new>
#include <random>
#include <vector>

#include "tests/iml/event_case.h"

namespace {

int allocations = 0;

}  // namespace

extern "C" {

void *__real_malloc(std::size_t size);
void *__real_calloc(std::size_t count, std::size_t size);
void *__real_realloc(void *memory, std::size_t size);

void *__wrap_malloc(std::size_t size) {
  ++allocations;
  return __real_malloc(size);
}
void *__wrap_calloc(std::size_t count, std::size_t size) {
  ++allocations;
  return __real_calloc(count, size);
}
void *__wrap_realloc(void *memory, std::size_t size) {
  ++allocations;
  return __real_realloc(memory, size);
}

}  // extern "C"

void *operator new(std::size_t size) {
  void *const memory = malloc(size);
  if (memory == nullptr) {
    abort();
  }
  return memory;
}
void operator delete(void *memory) noexcept {
  free(memory);
}
void operator delete(void *memory, std::size_t /*size*/) noexcept {
  free(memory);
}

namespace {

TEST(Allocation, IsCounted) {
  allocations = 0;
  std::string *volatile text = new std::string(100, 'x');  // volatile: not to be optimised away
  delete text;
  EXPECT_EQ(allocations, 2);
}

// Every class and code over any payload: one terminated line that fits, whatever the buffer's size.
TEST(HostileRecords, GiveOneLineWithoutAllocation) {
  std::vector<std::string> payloads(18, std::string(212, '\0'));
  std::minstd_rand random;
  for (std::size_t i = 0; i < payloads.size(); ++i) {
    constexpr unsigned char kFillers[] = {0x00, 0x01, 0x02, 0x04, '5', ',', 0x7F, 0x80, 0xFF};
    std::generate(payloads[i].begin(), payloads[i].end(),
                  [&] { return static_cast<char>(i < std::size(kFillers) ? kFillers[i] : random() >> 8); });
  }
  for (int c = 0; c < 0x30; ++c) {
    for (int code = 0; code < 0x110; ++code) {
      for (const std::string &payload : payloads) {
        EVT_LOG_ENTRY record = event_case::Record(c, code, payload);
        record.Hdr.wEvtLength = static_cast<std::uint16_t>(code * 7 + c);
        const std::string whole = event_case::Line(record);
        ASSERT_FALSE(whole.empty());
        ASSERT_LT(whole.size(), event_case::kLineSize - 1);
        const auto size = static_cast<std::uint32_t>(code % 64 + 1);
        const std::unique_ptr<char[]> exact(new char[size]);
        allocations = 0;
        TranslateEventLogMessage(&record, exact.get(), size);
        ASSERT_EQ(allocations, 0) << "class " << c << " code " << code;
        ASSERT_EQ(std::string(exact.get()), whole.substr(0, size - 1));
      }
    }
  }
}

}  // namespace
