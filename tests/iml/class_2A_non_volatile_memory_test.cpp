#include "tests/iml/event_case.h"

using namespace event_case;

namespace {

/// What stands in the parentheses of an event's line.
std::string Place(int code, const std::string &payload) {
  const std::string line = Line(Record(0x2A, static_cast<std::uint16_t>(code), payload));
  const std::size_t begin = line.find('(');
  return line.substr(begin, line.find(')') + 1 - begin);
}

TEST(NonVolatileMemory, AdvisesByCode) {
  ExpectLines(
      0x2A,
      {{3, P(1, 2, 5, "AB12CD34EF"),
        "NVDIMM Error - Memory Failure (Processor 2, Memory Module 5, Serial Number AB12CD34). "
        "Non-volatile memory device has failed and requires replacement. Action: Replace the NVDIMM."},
       {10, P(7, 255, 255, 255, "S"),
        "NVDIMM Error - Erase Retry Above Threshold (Board/CPU 255, Memory Module 255, Retry count 255, "
        "Serial Number S). A non-volatile memory erase retry has occurred. Non-volatile memory health "
        "is declining."}});
}

TEST(NonVolatileMemory, PlacesTheModule) {
  for (const int code : {1, 3, 4, 5, 6, 7, 9, 11, 12, 13}) {
    EXPECT_EQ(Place(code, P(2, 0, 255, 'S', "erial123")),
              "(Board/CPU 0, Memory Module 255, Serial Number Serial12)");
    EXPECT_EQ(Place(code, P(1, 0, 3, 0, "S")), "(Processor 0, Memory Module 3)");
  }
  for (const int code : {2, 10}) {
    EXPECT_EQ(Place(code, P(0, 0, 255, 'S', "erial123")),
              "(Board 0, Memory Module 255, Retry count 83, Serial Number erial123)");
    EXPECT_EQ(Place(code, P(0, 0, 0, 0, "")), "(Board 0, Memory Module 0, Retry count 0)");
  }
}

TEST(NonVolatileMemory, CodesWithoutAnEvent) {
  for (const int code : {0, 8, 14, 0x102}) {
    ExpectLines(0x2A, {{code, P(1, 1, 1, "S"), Fallback(0x2A, code)}});
  }
}

}  // namespace
