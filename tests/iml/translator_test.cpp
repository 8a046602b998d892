#include <algorithm>
#include <memory>
#include <vector>

#include "iml/eventstr_helpers.h"
#include "tests/iml/event_case.h"

using namespace event_case;
using namespace iml;

namespace {

TEST(TranslatorEntry, ClassesWithoutTextFallBack) {
  std::vector<int> classes = {0x0C, 0x0F, 0x10, 0x23, 0x24, 0x2B, 0xFF, 0x102, 0xFFFF};
  for (int c = 0x15; c <= 0x1F; ++c) {
    classes.push_back(c);
  }
  for (const int c : classes) {
    char text[64];
    const EVT_LOG_ENTRY record = Record(static_cast<std::uint16_t>(c), 0xABC, P(1, "x"));
    EXPECT_EQ(TranslateEventLogMessage(&record, text, sizeof text), 0);
    EXPECT_EQ(text, Fallback(c, 0xABC));
  }
}

TEST(TranslatorEntry, EmptyAndReservedAreKnown) {
  char text[16];
  const EVT_LOG_ENTRY empty = Record(0x00, 7, "");
  EXPECT_EQ(TranslateEventLogMessage(&empty, text, sizeof text), 1);
  EXPECT_STREQ(text, "Empty");
  const EVT_LOG_ENTRY test = Record(0x01, 0xFFFF, "");
  EXPECT_EQ(TranslateEventLogMessage(&test, text, sizeof text), 1);
  EXPECT_STREQ(text, "Reserved");
}

TEST(TranslatorEntry, CutsOnceAtTheBuffersEndAndClearsTheRest) {
  const EVT_LOG_ENTRY record = Record(0x21, 2, P("abc"));  // "Maintenance note: abc"
  const std::string whole = "Maintenance note: abc";
  for (std::uint32_t size = 0; size < 40; ++size) {
    std::vector<char> buffer(41, '#');
    TranslateEventLogMessage(&record, buffer.data(), size);
    if (size > 0) {
      EXPECT_EQ(std::string(buffer.data()), whole.substr(0, size - 1));
      EXPECT_TRUE(
          std::all_of(buffer.begin() + static_cast<int>(std::min<std::size_t>(whole.size(), size - 1)),
                      buffer.begin() + size, [](char c) { return c == '\0'; }));
    }
    EXPECT_TRUE(std::all_of(buffer.begin() + size, buffer.end(), [](char c) { return c == '#'; })) << size;
  }
  EXPECT_EQ(TranslateEventLogMessage(&record, nullptr, 0), 0);
}

TEST(TranslatorEntry, TextsEndWithThePayload) {
  // A text without a terminator runs to the payload's last byte; the text behind it is empty.
  EXPECT_EQ(Line(Record(0x21, 2, std::string(212, 'n'))), "Maintenance note: " + std::string(212, 'n'));
  EXPECT_EQ(Line(Record(0x02, 0x08, P(1, 0, 0, 1, 0) + std::string(207, 'n'))),
            "Fan Failure (Fan 1, Location System)");
  EXPECT_EQ(Line(Record(0x02, 0x08, P(1, 0, 0, 1, 0) + std::string(206, 'n') + '\0')),
            "Fan Failure (Fan 1, Location System)");
  EXPECT_EQ(Line(Record(0x02, 0x08, P(1, 0, 0, 1, 0) + std::string(205, 'n') + '\0' + 'S')),
            "Fan Failure (Fan 1, Location System), S");
}

TEST(TranslatorEntry, NamesClassesAndSeverities) {
  const auto name = [](auto entry, auto code, int result) {
    char text[40];
    EXPECT_EQ(entry(code, text, sizeof text), result) << code;
    return std::string(text);
  };
  for (const int c : {0x10, 0x15, 0x1F, 0x23, 0x24, 0x2B, 0xFFFF}) {
    EXPECT_EQ(name(TranslateEventLogClass, static_cast<std::uint16_t>(c), 0), "Unknown");
  }
  EXPECT_EQ(name(TranslateEventLogClass, std::uint16_t{0x00}, 1), "Empty");
  EXPECT_EQ(name(TranslateEventLogClass, std::uint16_t{0x14}, 1), "Unrecoverable System Error");
  EXPECT_EQ(name(TranslateEventLogClass, std::uint16_t{0x20}, 1), "System Revision");
  EXPECT_EQ(name(TranslateEventLogClass, std::uint16_t{0x25}, 1), "KRX");
  EXPECT_EQ(name(TranslateEventLogClass, std::uint16_t{0x2A}, 1), "Non-Volatile Memory");
  for (int severity = 0; severity < 256; ++severity) {
    const std::string expected = severity == 2 || severity == 3 ? "Informational"
                                 : severity == 6                ? "Repaired"
                                 : severity == 9                ? "Caution"
                                 : severity == 15               ? "Critical"
                                                                : "Unknown";
    EXPECT_EQ(
        name(TranslateEventLogSeverity, static_cast<std::uint8_t>(severity), expected == "Unknown" ? 0 : 1),
        expected);
  }
}

// Every class and code over hostile payloads: one terminated line that fits, whatever the buffer's size.
TEST(TranslatorEntry, AnyRecordGivesOneLine) {
  std::vector<std::string> payloads;
  for (const int filler : {0x00, 0x01, 0x02, 0x04, 0x35, 0x7F, 0x80, 0xFF}) {
    payloads.push_back(std::string(212, static_cast<char>(filler)));
  }
  unsigned state = 1;
  for (int i = 0; i < 8; ++i) {
    std::string random;
    while (random.size() < 212) {
      state = state * 1103515245 + 12345;
      random += static_cast<char>(state >> 16);
    }
    payloads.push_back(random);
  }
  for (int c = 0; c < 0x30; ++c) {
    for (int code = 0; code < 0x110; ++code) {
      for (const std::string &payload : payloads) {
        EVT_LOG_ENTRY record =
            Record(static_cast<std::uint16_t>(c), static_cast<std::uint16_t>(code), payload);
        record.Hdr.wEvtLength = static_cast<std::uint16_t>(code * 7 + c);
        const std::string whole = Line(record);
        ASSERT_FALSE(whole.empty());
        ASSERT_LT(whole.size(), kLineSize - 1);
        const auto size = static_cast<std::size_t>(code) % 64 + 1;
        const std::unique_ptr<char[]> exact(new char[size]);
        TranslateEventLogMessage(&record, exact.get(), static_cast<std::uint32_t>(size));
        ASSERT_EQ(std::string(exact.get()), whole.substr(0, size - 1));
      }
    }
  }
}

TEST(TranslatorHelpers, NumbersAndUnknownValues) {
  EXPECT_STREQ(Byte2Str(0, Scratch()), "0");
  EXPECT_EQ(std::string(Byte2Str(254, Scratch())), "254");
  EXPECT_STREQ(Byte2Str(255, Scratch()), "Unknown");
  EXPECT_EQ(std::string(Char2Str('A', Scratch())), "A");
  EXPECT_EQ(std::string(Char2Str('\0', Scratch())), "");
  EXPECT_EQ(std::string(Char2Str('\xFF', Scratch())), "Unknown");
  EXPECT_EQ(std::string(Dword2Str(0xFFFFFFFE, Scratch())), "4294967294");
  EXPECT_EQ(std::string(Dword2Str(0xFFFFFFFF, Scratch())), "Unknown");
  EXPECT_EQ(std::string(Dword2HexStr(0xFFFFFFFF, Scratch())), "0xFFFFFFFF");
  EXPECT_EQ(std::string(Dword2HexStr(0x1aB, Scratch())), "0x000001AB");
  EXPECT_EQ(std::string(GetTemp(254, Scratch())), "254C");
  EXPECT_STREQ(GetTemp(255, Scratch()), "Unknown");
  EXPECT_EQ(std::string(GetBCDString(0x0A, Scratch())), "0a");
  EXPECT_STREQ(GetLocation(15), "Virtual");
  EXPECT_STREQ(GetLocation(16), "Unknown");
  EXPECT_STREQ(GetTrayType(0), "Unknown");
  EXPECT_STREQ(GetTrayType(2), "Lower");
  EXPECT_STREQ(GetTrayType(3), "Unknown");
  const std::uint8_t bytes[] = {0x12, 0x34, 0x56, 0x78, 0x9A};
  EXPECT_EQ(GetBigEndianValue(bytes, 0), 0U);
  EXPECT_EQ(GetBigEndianValue(bytes, 2), 0x1234U);
  EXPECT_EQ(GetBigEndianValue(bytes, 5), 0x3456789AU);
}

TEST(TranslatorHelpers, ChassisTexts) {
  EXPECT_EQ(std::string(GetSysChassis(3, nullptr, Scratch())), "3");
  EXPECT_EQ(std::string(GetSysChassis(255, "", Scratch())), "Unknown");
  EXPECT_EQ(std::string(GetSysChassis(255, "Rack", Scratch())), "Rack");
  const EVT_CHASSIS chassis = {4, 0x12, 0x34};
  EXPECT_EQ(std::string(GetChassisEx(nullptr, chassis, Scratch())), "Enclosure Address 1234");
  EXPECT_EQ(std::string(GetChassisEx(" 5CZ", chassis, Scratch())), "Enclosure Address 1234");
  EXPECT_EQ(std::string(GetChassisEx("\xC0x", chassis, Scratch())), "Enclosure Address 1234");
  EXPECT_EQ(std::string(GetChassisEx("z", chassis, Scratch())), "Enclosure Serial Number z");
  const char both[] = "Box1\0Bay 3";
  EXPECT_EQ(std::string(GetSlotChassisSun(Scratch(), both, 4)), "Chassis Box1, Bay 3");
  EXPECT_EQ(std::string(GetSlotChassisSun(Scratch(), "Box1\0", 4)), "Chassis Box1, Slot 4");
  EXPECT_EQ(std::string(GetSlotChassisSun(Scratch(), "\0", 255)), "Slot Unknown");
}

TEST(TranslatorHelpers, WhiteSpaceIsFolded) {
  const std::pair<const char *, const char *> cases[] = {
      {"", ""},       {" \t\n\v\f\r", ""},  {"a", "a"}, {"  Port  1I \t Box 2  ", "Port 1I Box 2"},
      {"a\r\n", "a"}, {"\xA0 b", "\xA0 b"},
  };
  for (const auto &[source, copy] : cases) {
    EXPECT_EQ(std::string(CopyAndReformat(Scratch(), source)), copy);
  }
}

TEST(EventText, FormatsAsPrintfDoes) {
  char text[128];
  EventText sink(text, sizeof text);
  sink.Format("%s|%.2s|%c%c|%d|%u|%x|%02X|%08X|%04X|100%%", "a", "bcd", 'e', '\0', -2147483647 - 1,
              4294967295U, 0xABU, 0x5U, 0x1234ABCDU, 0x12345U);
  EXPECT_STREQ(text, "a|bc|e|-2147483648|4294967295|ab|05|1234ABCD|12345|100%");
}

}  // namespace
