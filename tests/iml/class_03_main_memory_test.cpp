#include "tests/iml/event_case.h"

using namespace event_case;

namespace {

constexpr char kCorrected[] = "Corrected Memory Error threshold exceeded (";
constexpr char kUncorrectable[] = "Uncorrectable Memory Error (";
constexpr char kSpare[] = "Online Spare Memory Copy Process Started for Faulty Module (";
constexpr char kMirror[] = "Mirrored Memory Engaged for Faulty Module (";
constexpr char kValidation[] = "Uncorrectable Memory Error detected by ROM-based memory validation (";
constexpr char kNotIsolated[] =
    "Uncorrectable Memory Error detected by ROM-based memory validation (unable to isolate to single "
    "module) (";

/// The line that begins with `front` and closes with `rest`.
std::string L(const char *front, const std::string &rest) {
  return front + rest;
}

// Four modules: a plain one, one outside boards, one unknown, one of which only the board is unknown.
const std::string kModules = P(3, 1, 4, 0, 255, 255, 7, 255);

TEST(MainMemory, PlacesOneModule) {
  ExpectLines(0x03,
              {{0x01, P(2, 5, ""), L(kCorrected, "Board 2, Memory Module 5)")},
               {0x01, P(254, 0, " S 1,"), L(kCorrected, "Board 254, Memory Module 0, Serial Number  S 1,)")},
               {0x01, P(255, 5, ""), L(kCorrected, "Board Unknown, Memory Module 5)")},
               {0x01, P(7, 255, "S"), L(kCorrected, "Board 7, Memory Module Unknown, Serial Number S)")},
               {0x01, P(0, 255, ""), L(kCorrected, "System Memory)")},
               {0x01, P(0, 254, ""), L(kCorrected, "System Memory, Memory Module 254)")},
               {0x01, P(255, 255, ""), L(kCorrected, "Memory Module Unknown)")},
               {0x02, P(0, 255, "%s"), L(kUncorrectable, "System Memory, Serial Number %s)")},
               {0x02, P(0, 0, "S"), L(kUncorrectable, "System Memory, Memory Module 0, Serial Number S)")},
               {0x02, P(255, 255, ""), L(kUncorrectable, "Module Unknown)")},
               {0x02, P(1, 2, "S"), L(kUncorrectable, "Board 1, Memory Module 2, Serial Number S)")}});
}

TEST(MainMemory, PlacesOneBankByItsLetter) {
  ExpectLines(0x03, {{0x0A, P(1, 'A', ""), L(kCorrected, "Board 1, Bank A)")},
                     {0x0A, P(1, 0, "S"), L(kCorrected, "Board 1, Bank , Serial Number S)")},
                     {0x0A, P(0, 255, ""), L(kCorrected, "System Memory)")},
                     {0x0A, P(0, 'B', "S"), L(kCorrected, "System Memory, Bank B, Serial Number S)")},
                     {0x0A, P(255, 255, "S"), L(kCorrected, "Bank Unknown, Serial Number S)")},
                     {0x0A, P(255, 'B', ""), L(kCorrected, "Board Unknown, Bank B)")}});
}

TEST(MainMemory, OnlyBanksHaveAWordingForAnUnknownTakeOver) {
  ExpectLines(0x03, {{0x08, P(255, 255), L(kSpare, "Board Unknown, Memory Module Unknown)")},
                     {0x08, P(0, 255), L(kSpare, "System Memory, Memory Module Unknown)")},
                     {0x09, P(255, 255), L(kMirror, "Board Unknown, Memory Module Unknown)")},
                     {0x09, P(0, 3), L(kMirror, "System Memory, Memory Module 3)")},
                     {0x0B, P(255, 255), L(kSpare, "Module Unknown)")},
                     {0x0B, P(0, 'C'), L(kSpare, "System Memory, Bank C)")},
                     {0x0C, P(255, 255), L(kMirror, "Module Unknown)")},
                     {0x0C, P(255, 'C'), L(kMirror, "Board Unknown, Bank C)")},
                     {0x15, P(0, 255, ""), L(kSpare, "Processor 0, Memory Module Unknown)")},
                     {0x16, P(255, 255, "S"),
                      L(kMirror, "Processor Unknown, Memory Module Unknown, Serial Number S)")}});
}

TEST(MainMemory, ListsCandidatesBehindTheFirst) {
  ExpectLines(
      0x03,
      {// Without a count the first module is shown, with its serial number.
       {0x13, P(0, Raw{kModules}, "A,B"), L(kCorrected, "Board 1, Memory Module 3, Serial Number A)")},
       {0x03, P(5, Raw{kModules}, " ,\tX  1\n,,Y,Z"),
        L(kUncorrectable,
          "Board 1, Memory Module 3) or (System Memory, Memory Module 4, Serial Number X 1) or "
          "(Module Unknown) or (Board Unknown, Memory Module 7, Serial Number Y)")},
       {0x13, P(3, 255, 255, 255, 255, 255, 0, 0, 0, ",S"),
        L(kCorrected, "Memory Module Unknown) or (Module Unknown, Serial Number S) or (System Memory)")},
       {0x03, P(2, 255, 255, 255, 0, 9, 0, 0, 0, "A,B"),
        L(kUncorrectable, "Module Unknown, Serial Number A) or (System Memory, Serial Number B)")}});
}

TEST(MainMemory, ListsCandidatesAsEntries) {
  const std::string list = P(6, Raw{kModules}, ", X  1 ,  ,Y,Z");
  const auto all = [](const std::string &unit) {
    return "(" + unit + " 1, Memory Module 3), or (" + unit +
           " 0, Memory Module 4, Serial Number X 1), or (" + unit + " Unknown, Memory Module Unknown), or (" +
           unit + " Unknown, Memory Module 7, Serial Number Y))";
  };
  constexpr char kMirrored[] = "Mirrored Memory Engaged by Uncorrectable Memory Error (";
  ExpectLines(
      0x03, {{0x14, list, L(kCorrected, all("Processor"))},
             {0x17, list, L(kUncorrectable, all("Processor"))},
             {0x18, list, L(kMirrored, all("Board"))},
             {0x19, list, L(kMirrored, all("Processor"))},
             {0x14, P(0, Raw{kModules}, "A,B"), L(kCorrected, "(Processor 1, Memory Module 3))")},
             {0x18, P(2, Raw{kModules}, "A"),
              L(kMirrored, "(Board 1, Memory Module 3, Serial Number A), or (Board 0, Memory Module 4))")}});
}

TEST(MainMemory, LongSerialNumbersAreNotCut) {
  const std::string longest(197, 'S');
  for (const int code : {0x03, 0x14}) {
    const std::string line = Line(
        Record(0x03, static_cast<std::uint16_t>(code), P(4, Fill(8, 255), Raw{"A,B,C," + longest}), 'S'));
    EXPECT_NE(line.find("Serial Number " + longest + ")"), std::string::npos) << line;
  }
  const auto unterminated = [](std::uint16_t code) { return Line(Record(0x03, code, P(1), 'S')); };
  EXPECT_EQ(unterminated(0x15),
            L(kSpare, "Processor 1, Memory Module 83, Serial Number ") + std::string(210, 'S') + ")");
  EXPECT_EQ(unterminated(0x12),
            L(kNotIsolated, "Board 1, Memory Module 83, Serial Number ") + std::string(208, 'S') + ")");
}

TEST(MainMemory, ValidationShowsSerialAndSpareNumber) {
  ExpectLines(0x03, {{0x12, P(0, 4, 1, 0, "", "X9"), L(kValidation, "Memory Module 4, Spare Number X9)")},
                     {0x12, P(255, 255, 1, 0xFE, "S", ""),
                      L(kValidation, "Board 255, Memory Module 255, Serial Number S)")},
                     {0x12, P(2, 0, 1, 1, "S", "X9"),
                      L(kNotIsolated, "Board 2, Memory Module 0, Serial Number S, Spare Number X9)")}});
}

TEST(MainMemory, StatesOfBoardsAndCartridges) {
  ExpectLines(
      0x03, {{0x04, P(1, 0, 1), "Memory Cartridge Removed (Slot 1)"},
             {0x04, P(1, 0, 0), "Memory Board Removed (Slot 1)"},
             {0x04, P(255, 1, 1), "Memory Cartridge Inserted (Slot Unknown)"},
             {0x04, P(1, 1, 0), "Memory Board Inserted (Slot 1)"},
             {0x04, P(1, 0, 2), Fallback(0x03, 0x04)},
             {0x04, P(1, 2, 9), "Memory Cartridge Unlocked (Slot 1)"},
             {0x04, P(2, 3, 0), "Memory Cartridge Locked (Slot 2)"},
             {0x04, P(1, 4, 0), Fallback(0x03, 0x04)},
             {0x05, P(255, 3), "Memory Cartridge Online (Slot Unknown)"},
             {0x05, P(1, 4), Fallback(0x03, 0x05)},
             {0x06, P(255, 255, 0), "Memory Board Configuration Error (Slot Unknown, Memory Module Unknown)"},
             {0x06, P(1, 2, 1), "Memory Cartridge Configuration Error (Slot 1, Memory Module 2)"},
             {0x06, P(1, 2, 2), Fallback(0x03, 0x06)},
             {0x07, P(9, 0, U32(0xFFFFFFFE)), "Memory Added (Size 4294967294 MB)"},
             {0x07, P(9, 0, U32(0xFFFFFFFF)), "Memory Added (Size Unknown MB)"},
             {0x07, P(9, 1, U32(1)), "Memory Successfully Removed"},
             {0x07, P(9, 2, U32(1)), Fallback(0x03, 0x07)},
             {0x11, P(255), "Memory Board Failure (Board Unknown)"}});
}

TEST(MemoryConfiguration, ShowsPlainNumbers) {
  const std::string reseat =
      ", Memory Module 255). Action: Reseat the memory module. If the errors persist, contact Support.";
  constexpr char kRate[] = "High rate of corrected memory errors, performance may be degraded (";
  ExpectLines(0x03, {{0x21, P(1, 12), "Incompatible memory module (Board 1, Memory Module 12)"},
                     {0x35, P(0, 255), "Memory SPD CRC failure (Board 0, Memory Module 255)"},
                     {0x31, P(255, 3), "SMBus access fault (Board 255)"},
                     {0x2D, P(255, 3), "Unknown memory warning"},
                     {0x40, P(0), "DIMM clock ratio not found (Board 0)"},
                     {0x41, P(0, 255, 255), L(kRate, "Board 255" + reseat)},
                     {0x41, P(1, 2, 255), L(kRate, "Processor 2" + reseat)},
                     {0x41, P(2, 0, 255), L(kRate, "Board/CPU 0" + reseat)}});
}

TEST(MainMemory, CodesWithoutAnEvent) {
  for (const int code : {0x00, 0x1A, 0x1F, 0x42, 0xFF, 0x101}) {
    ExpectLines(0x03, {{code, P(1, 1, 1), Fallback(0x03, code)}});
  }
}

}  // namespace
