// The translator allocates nothing, whatever it decodes: every way to the heap is counted.
#include <cstdlib>
#include <new>

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

TEST(Allocation, NeverHappensInTheTranslator) {
  const std::string payloads[] = {std::string(212, '\x01'), std::string(212, '5'), std::string(100, ','), ""};
  char text[256];
  for (const std::string &payload : payloads) {
    for (std::uint16_t c = 0; c < 0x30; ++c) {
      for (std::uint16_t code = 0; code < 0x110; ++code) {
        const EVT_LOG_ENTRY record = event_case::Record(c, code, payload);
        allocations = 0;
        TranslateEventLogMessage(&record, text, sizeof text);
        ASSERT_EQ(allocations, 0) << "class " << c << " code " << code;
      }
    }
  }
}

}  // namespace
