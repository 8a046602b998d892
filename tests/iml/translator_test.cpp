#include <algorithm>

#include "iml/eventstr_helpers.h"
#include "tests/iml/event_case.h"

using namespace event_case;
using namespace iml;

namespace {

// The class before three digits of the code: gaps between and behind each class's codes, and codes that one
// byte would not tell from known ones.
constexpr int kEventsWithoutAText[] = {
    0x02000, 0x02013, 0x02101, 0x03000, 0x0301A, 0x0301F, 0x03042,  0x03101,   0x04002, 0x05007,
    0x05103, 0x06005, 0x07005, 0x08003, 0x09000, 0x0900A, 0x09101,  0x0A005,   0x0B000, 0x0B028,
    0x0B101, 0x0C001, 0x0D004, 0x0E007, 0x0F001, 0x10001, 0x11008,  0x12004,   0x13000, 0x13005,
    0x13006, 0x13012, 0x13101, 0x14008, 0x15001, 0x1F001, 0x20003,  0x21000,   0x21003, 0x22000,
    0x22016, 0x22017, 0x2201B, 0x22101, 0x23001, 0x24001, 0x26002,  0x27000,   0x27005, 0x28002,
    0x29002, 0x2A000, 0x2A008, 0x2A00E, 0x2A102, 0x2B001, 0x102001, 0xFFFFABC,
};

TEST(TranslatorEntry, EventsWithoutATextFallBack) {
  for (const int event : kEventsWithoutAText) {
    char text[64];
    const EVT_LOG_ENTRY record = Record(event >> 12, event & 0xFFF, P(Fill(212, 1)));
    EXPECT_EQ(TranslateEventLogMessage(&record, text, sizeof text), 0);
    EXPECT_EQ(text, Fallback(event >> 12, event & 0xFFF));
  }
}

TEST(TranslatorEntry, CutsOnceAtTheBuffersEndAndClearsTheRest) {
  const EVT_LOG_ENTRY record = Record(0x21, 2, P("abc"));
  for (std::uint32_t size = 0; size < 40; ++size) {
    std::string buffer(41, '#');
    const bool written = TranslateEventLogMessage(&record, buffer.data(), size) == 1;
    EXPECT_EQ(written, size > 1);
    std::string expected = std::string("Maintenance note: abc").substr(0, std::max(size, 1U) - 1);
    expected.resize(size, '\0');
    expected.resize(41, '#');
    EXPECT_EQ(buffer, expected);
  }
  EXPECT_EQ(TranslateEventLogMessage(&record, nullptr, 0), 0);
}

TEST(TranslatorEntry, TextsEndWithThePayload) {
  EXPECT_EQ(Line(0x21, 2, P(Fill(212, 'n'))), "Maintenance note: " + std::string(212, 'n'));
  // The text behind a chassis name is empty where the payload ends in or behind the name.
  const std::string fan = P(1, 0, 0, 1, 0);
  ExpectLines(0x02, {{0x08, fan + P(Fill(207, 'n')), "Fan Failure (Fan 1, Location System)"},
                     {0x08, fan + P(Fill(206, 'n'), 0), "Fan Failure (Fan 1, Location System)"},
                     {0x08, fan + P(Fill(205, 'n'), 0, 'S'), "Fan Failure (Fan 1, Location System), S"}});
}

TEST(TranslatorEntry, NamesClassesAndSeverities) {
  const auto expect = [](auto entry, auto code, const std::string &name) {
    std::string text(30, '#');
    EXPECT_EQ(entry(code, text.data(), 30), name == szUnknown ? 0 : 1) << code;
    EXPECT_EQ(text, name + std::string(30 - name.size(), '\0')) << code;
  };
  const std::pair<std::uint16_t, const char *> classes[] = {
      {0x00, "Empty"},   {0x10, "Unknown"},   {0x14, "Unrecoverable System Error"},
      {0x15, "Unknown"}, {0x1F, "Unknown"},   {0x20, "System Revision"},
      {0x24, "Unknown"}, {0x25, "KRX"},       {0x2A, "Non-Volatile Memory"},
      {0x2B, "Unknown"}, {0xFFFF, "Unknown"},
  };
  for (const auto &[wClass, name] : classes) {
    expect(TranslateEventLogClass, wClass, name);
  }
  for (int severity = 0; severity < 256; ++severity) {
    expect(TranslateEventLogSeverity, static_cast<std::uint8_t>(severity),
           severity == 2 || severity == 3 ? "Informational"
           : severity == 6                ? "Repaired"
           : severity == 9                ? "Caution"
           : severity == 15               ? "Critical"
                                          : "Unknown");
  }
}

TEST(TranslatorHelpers, ChassisWithoutAName) {
  EXPECT_STREQ(GetSysChassis(254, nullptr), "254");
  const EVT_CHASSIS chassis = {4, 0x12, 0x34};
  for (const char *const nameless : {static_cast<const char *>(nullptr), " 5CZ", "\xC0x"}) {
    EXPECT_STREQ(GetChassisEx(nameless, chassis), "Enclosure Address 1234");
  }
}

TEST(EventText, FormatsAsPrintfDoes) {
  char text[256];
  EventText sink(text, sizeof text);
  sink.format("%s|%.2s|%c%c|%d|%d|%u|%x|%02X|%08X|%04X|100%%|", "a", "bcd", 'e', '\0', -2147483647 - 1, -1,
              4294967295U, 0xABU, 0x5U, 0x1234ABCDU, 0x12345U);
  sink.format("%5d|%-5d|%05d|%-05d|%.4d|%6.4d|%06.4d|", -12, -12, -12, -12, -1, -1, -1);
  sink.format("%-4s|%4s|%4.1s|%2s|%32s|%.32u", "ab", "ab", "ab", "abc", "x", 7U);
  EXPECT_EQ(text,
            "a|bc|e|-2147483648|-1|4294967295|ab|05|1234ABCD|12345|100%|"
            "  -12|-12  |-0012|-12  |-0001| -0001| -0001|"
            "ab  |  ab|   a|abc|" +
                std::string(31, ' ') + "x|" + std::string(31, '0') + "7");
  EXPECT_EQ(sink.view(), text);
}

// Formats that do not compile.
static_assert(format_fits<const char *, uint8_t, uint16_t, int, char>("%s%u%d%d%c"));
static_assert(!format_fits<uint8_t>("%s") && !format_fits<const char *>("%u") && !format_fits<char>("%u"));
static_assert(!format_fits<unsigned>("%d") && !format_fits<int>("%u") && !format_fits<int>("%X"));
static_assert(!format_fits<size_t>("%u") && !format_fits<bool>("%d") && !format_fits<uint8_t>("%c"));
static_assert(!format_fits<const char *>("%s%s") && !format_fits<int, int>("%d") && !format_fits<int>("%"));
static_assert(!format_fits<int>("%ld") && !format_fits<int>("%+d") && !format_fits<int, int>("%*d"));
static_assert(!format_fits<char>("%2c") && !format_fits<const char *>("%02s") && !format_fits<int>("%.d"));
static_assert(!format_fits<int>("%33d") && !format_fits<int>("%.33d") && !format_fits<const char *>("%33s"));

}  // namespace
