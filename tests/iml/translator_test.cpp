#include <memory>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "iml/eventstr_helpers.h"
#include "tests/iml/event_record.h"

using namespace iml;

namespace {

// Every class and code over any payload: one line that fits, and the same line cut where the buffer ends.
TEST(TranslatorEntry, HostileRecordsGiveOneLineThatFits) {
  std::vector<std::string> payloads;
  for (const char filler : {'\x00', '\x01', '\x02', '\x04', '5', ',', '\x7F', '\x80', '\xFF'}) {
    payloads.emplace_back(sizeof(EVT_FREE_FORM), filler);
  }
  std::minstd_rand random;
  for (int i = 0; i < 9; ++i) {
    std::string &payload = payloads.emplace_back(sizeof(EVT_FREE_FORM), '\0');
    std::generate(payload.begin(), payload.end(), [&] { return static_cast<char>(random() >> 8); });
  }
  for (unsigned event_class = 0; event_class < 0x30; ++event_class) {
    for (unsigned code = 0; code < 0x110; ++code) {
      for (const std::string &payload : payloads) {
        EVT_LOG_ENTRY record = record_of(event_class, code, payload);
        record.Hdr.wEvtLength = static_cast<uint16_t>(code * 7 + event_class);
        const std::string whole = line_of(record);
        ASSERT_FALSE(whole.empty());
        ASSERT_LT(whole.size(), kLineSize - 1);
        const uint32_t size = code % 64 + 1;
        const std::unique_ptr<char[]> exact(new char[size]);
        TranslateEventLogMessage(&record, exact.get(), size);
        ASSERT_EQ(exact.get(), whole.substr(0, size - 1));
      }
    }
  }
}

TEST(TranslatorEntry, CutsOnceAtTheBuffersEndAndClearsTheRest) {
  const EVT_LOG_ENTRY record = record_of(0x21, 2, "abc");
  for (uint32_t size = 0; size < 40; ++size) {
    std::string buffer(41, '#');
    EXPECT_EQ(TranslateEventLogMessage(&record, buffer.data(), size), size > 1 ? 1 : 0);
    std::string expected = std::string("Maintenance note: abc").substr(0, std::max(size, 1U) - 1);
    expected.resize(size, '\0');
    expected.resize(41, '#');
    EXPECT_EQ(buffer, expected);
  }
  EXPECT_EQ(TranslateEventLogMessage(&record, nullptr, 0), 0);
}

TEST(TranslatorEntry, NamesClassesAndSeverities) {
  const auto expect = [](auto entry, auto code, const std::string &name) {
    std::string text(30, '#');
    EXPECT_EQ(entry(code, text.data(), 30), name == szUnknown ? 0 : 1) << code;
    EXPECT_EQ(text, name + std::string(30 - name.size(), '\0')) << code;
  };
  for (const unsigned nameless : {0x10U, 0x15U, 0x1FU, 0x24U, 0x2BU, 0xFFFFU}) {
    expect(TranslateEventLogClass, static_cast<uint16_t>(nameless), szUnknown);
  }
  expect(TranslateEventLogClass, uint16_t{0x00}, "Empty");
  expect(TranslateEventLogClass, uint16_t{0x14}, "Unrecoverable System Error");
  expect(TranslateEventLogClass, uint16_t{0x20}, "System Revision");
  expect(TranslateEventLogClass, uint16_t{0x25}, "KRX");
  expect(TranslateEventLogClass, uint16_t{0x2A}, "Non-Volatile Memory");
  std::vector<std::string> severities(256, szUnknown);
  severities[2] = severities[3] = "Informational";
  severities[6] = "Repaired";
  severities[9] = "Caution";
  severities[15] = "Critical";
  for (size_t severity = 0; severity < severities.size(); ++severity) {
    expect(TranslateEventLogSeverity, static_cast<uint8_t>(severity), severities[severity]);
  }
}

TEST(EventText, FormatsAsPrintfDoes) {
  OwnText<256> text;
  text.format("%s|%.2s|%c%c|%d|%d|%u|%x|%02X|%08X|%04X|100%%|", "a", "bcd", 'e', '\0', -2147483647 - 1, -1,
              4294967295U, 0xBU, 0x5U, 0x1234ABCDU, 0x12345U);
  text.format("%5d|%-5d|%05d|%-05d|%.4d|%6.4d|%06.4d|", -12, -12, -12, -12, -1, -1, -1);
  text.format("%-4s|%4s|%4.1s|%2s|%32s|%.32u", "ab", "ab", "ab", "abc", "x", 7U);
  EXPECT_EQ(text.view(),
            "a|bc|e|-2147483648|-1|4294967295|b|05|1234ABCD|12345|100%|  -12|-12  |-0012|-12  |"
            "-0001| -0001| -0001|ab  |  ab|   a|abc|" +
                std::string(31, ' ') + "x|" + std::string(31, '0') + "7");
}

// What does not compile.
static_assert(format_fits<const char *, uint8_t, uint16_t, int, char>("%s%u%d%d%c"));
static_assert(!format_fits<uint8_t>("%s") && !format_fits<const char *>("%u") && !format_fits<char>("%u"));
static_assert(!format_fits<unsigned>("%d") && !format_fits<int>("%u") && !format_fits<int>("%X"));
static_assert(!format_fits<size_t>("%u") && !format_fits<bool>("%d") && !format_fits<uint8_t>("%c"));
static_assert(!format_fits<const char *>("%s%s") && !format_fits<int, int>("%d") && !format_fits<int>("%"));
static_assert(!format_fits<int>("%ld") && !format_fits<int>("%+d") && !format_fits<int, int>("%*d"));
static_assert(!format_fits<char>("%2c") && !format_fits<const char *>("%02s") && !format_fits<int>("%.d"));
static_assert(!format_fits<int>("%33d") && !format_fits<int>("%.33d") && !format_fits<const char *>("%33s"));

}  // namespace
