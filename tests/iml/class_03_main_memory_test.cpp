#include "tests/iml/event_case.h"

using namespace event_case;

namespace {

const std::string kCorrected = "Corrected Memory Error threshold exceeded (";
const std::string kUncorrectable = "Uncorrectable Memory Error (";
const std::string kSpare = "Online Spare Memory Copy Process Started for Faulty Module (";
const std::string kMirror = "Mirrored Memory Engaged for Faulty Module (";
const std::string kValidation = "Uncorrectable Memory Error detected by ROM-based memory validation (";
const std::string kNotIsolated = kValidation + "unable to isolate to single module) (";

// Four modules: a plain one, one outside boards, one unknown, one of which only the board is unknown.
const Raw kModules = {P(3, 1, 4, 0, 255, 255, 7, 255)};

TEST(MainMemory, PlacesOneModuleOrBank) {
  ExpectLines(0x03,
              {{0x01, P(254, 0, " S 1,"), kCorrected + "Board 254, Memory Module 0, Serial Number  S 1,)"},
               {0x01, P(255, 5, ""), kCorrected + "Board Unknown, Memory Module 5)"},
               {0x01, P(7, 255, ""), kCorrected + "Board 7, Memory Module Unknown)"},
               {0x01, P(0, 255, ""), kCorrected + "System Memory)"},
               {0x01, P(0, 254, ""), kCorrected + "System Memory, Memory Module 254)"},
               {0x01, P(255, 255, ""), kCorrected + "Memory Module Unknown)"},
               {0x02, P(255, 255, "%s"), kUncorrectable + "Module Unknown, Serial Number %s)"},
               {0x02, P(0, 0, "S"), kUncorrectable + "System Memory, Memory Module 0, Serial Number S)"},
               {0x0A, P(1, 0, "S"), kCorrected + "Board 1, Bank , Serial Number S)"},
               {0x0A, P(7, 255, ""), kCorrected + "Board 7, Bank Unknown)"},
               {0x0A, P(255, 255, "S"), kCorrected + "Bank Unknown, Serial Number S)"},
               {0x0A, P(0, 'B', ""), kCorrected + "System Memory, Bank B)"}});
}

TEST(MainMemory, OnlyBanksHaveAWordingForAnUnknownTakeOver) {
  ExpectLines(0x03, {{0x08, P(255, 255), kSpare + "Board Unknown, Memory Module Unknown)"},
                     {0x09, P(0, 3), kMirror + "System Memory, Memory Module 3)"},
                     {0x0B, P(255, 255), kSpare + "Module Unknown)"},
                     {0x0B, P(0, 'C'), kSpare + "System Memory, Bank C)"},
                     {0x0C, P(255, 'C'), kMirror + "Board Unknown, Bank C)"},
                     {0x15, P(0, 255, ""), kSpare + "Processor 0, Memory Module Unknown)"},
                     {0x16, P(255, 255, "S"),
                      kMirror + "Processor Unknown, Memory Module Unknown, Serial Number S)"}});
}

TEST(MainMemory, ListsCandidatesBehindTheFirst) {
  ExpectLines(
      0x03,
      {// Without a count the first module is shown, with its serial number.
       {0x13, P(0, kModules, "A,B"), kCorrected + "Board 1, Memory Module 3, Serial Number A)"},
       {0x03, P(5, kModules, " ,\tX  1\n,,Y,Z"),
        kUncorrectable + "Board 1, Memory Module 3) or (System Memory, Memory Module 4, Serial Number X 1) "
                         "or (Module Unknown) or (Board Unknown, Memory Module 7, Serial Number Y)"},
       {0x13, P(3, 255, 255, 255, 255, 255, 0, 0, 0, ",S"),
        kCorrected + "Memory Module Unknown) or (Module Unknown, Serial Number S) or (System Memory)"}});
}

TEST(MainMemory, ListsCandidatesAsEntries) {
  const std::string mirrored = "Mirrored Memory Engaged by Uncorrectable Memory Error (";
  ExpectLines(0x03,
              {{0x14, P(6, kModules, ", X  1 ,  ,Y,Z"),
                kCorrected + "(Processor 1, Memory Module 3), or (Processor 0, Memory Module 4, Serial "
                             "Number X 1), or (Processor Unknown, Memory Module Unknown), or (Processor "
                             "Unknown, Memory Module 7, Serial Number Y))"},
               {0x14, P(0, kModules, "A,B"), kCorrected + "(Processor 1, Memory Module 3))"},
               {0x17, P(1, kModules), kUncorrectable + "(Processor 1, Memory Module 3))"},
               {0x18, P(2, kModules, "A"),
                mirrored + "(Board 1, Memory Module 3, Serial Number A), or (Board 0, Memory Module 4))"},
               {0x19, P(1, kModules), mirrored + "(Processor 1, Memory Module 3))"}});
}

TEST(MainMemory, LongSerialNumbersAreNotCut) {
  const std::string longest(197, 'S');
  for (const int code : {0x03, 0x14}) {
    EXPECT_THAT(Line(Record(0x03, code, P(4, Fill(8, 255), Raw{"A,B,C," + longest}), 'S')),
                testing::HasSubstr("Serial Number " + longest + ")"));
  }
  ExpectLines(0x03,
              {{0x15, P(1, 2, Fill(210, 'S')),
                kSpare + "Processor 1, Memory Module 2, Serial Number " + std::string(210, 'S') + ")"}});
}

TEST(MainMemory, ValidationShowsSerialAndSpareNumber) {
  ExpectLines(0x03, {{0x12, P(0, 4, 1, 0, "", "X9"), kValidation + "Memory Module 4, Spare Number X9)"},
                     {0x12, P(255, 255, 1, 0xFE, "S", ""),
                      kValidation + "Board 255, Memory Module 255, Serial Number S)"},
                     {0x12, P(2, 0, 1, 1, "S", "X9"),
                      kNotIsolated + "Board 2, Memory Module 0, Serial Number S, Spare Number X9)"}});
}

TEST(MainMemory, StatesOfBoardsAndCartridges) {
  ExpectLines(0x03,
              {{0x04, P(1, 0, 1), "Memory Cartridge Removed (Slot 1)"},
               {0x04, P(1, 0, 0), "Memory Board Removed (Slot 1)"},
               {0x04, P(255, 1, 1), "Memory Cartridge Inserted (Slot Unknown)"},
               {0x04, P(1, 1, 0), "Memory Board Inserted (Slot 1)"},
               {0x04, P(1, 0, 2), Fallback(0x03, 0x04)},
               {0x04, P(1, 2, 9), "Memory Cartridge Unlocked (Slot 1)"},
               {0x04, P(1, 4, 0), Fallback(0x03, 0x04)},
               {0x05, P(255, 3), "Memory Cartridge Online (Slot Unknown)"},
               {0x05, P(1, 4), Fallback(0x03, 0x05)},
               {0x06, P(255, 2, 0), "Memory Board Configuration Error (Slot Unknown, Memory Module 2)"},
               {0x06, P(1, 255, 1), "Memory Cartridge Configuration Error (Slot 1, Memory Module Unknown)"},
               {0x06, P(1, 2, 2), Fallback(0x03, 0x06)},
               {0x07, P(9, 0, U32(0xFFFFFFFE)), "Memory Added (Size 4294967294 MB)"},
               {0x07, P(9, 0, U32(0xFFFFFFFF)), "Memory Added (Size Unknown MB)"},
               {0x07, P(9, 2, U32(1)), Fallback(0x03, 0x07)},
               {0x11, P(255), "Memory Board Failure (Board Unknown)"}});
}

TEST(MemoryConfiguration, ShowsPlainNumbers) {
  for (const int code : {0x21, 0x22, 0x23, 0x24, 0x25, 0x26, 0x27, 0x2A, 0x35}) {
    EXPECT_THAT(Line(0x03, code, P(255, 12)), testing::EndsWith(" (Board 255, Memory Module 12)"));
  }
  for (const auto &[flag, unit] : {std::pair{0, "Board"}, {1, "Processor"}, {2, "Board/CPU"}}) {
    EXPECT_THAT(Line(0x03, 0x41, P(flag, 0, 255)),
                testing::HasSubstr(std::string("degraded (") + unit + " 0, Memory Module 255). Action:"));
  }
}

}  // namespace
