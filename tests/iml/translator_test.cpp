#include <algorithm>
#include <cstring>
#include <map>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "iml/eventstr.h"
#include "iml/eventstr_helpers.h"

using namespace iml;

namespace {

TEST(TranslatorEntry, CutsOnceAtTheBuffersEndAndClearsTheRest) {
  EVT_LOG_ENTRY record = {};
  record.Hdr.wClass = 0x21;
  record.Hdr.wCode = 2;
  memcpy(&record.Data, "abc", 3);
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
  expect(TranslateEventLogClass, uint16_t{0x10}, szUnknown);  // the vocabulary has all names
  expect(TranslateEventLogClass, uint16_t{0x14}, "Unrecoverable System Error");
  expect(TranslateEventLogClass, uint16_t{0xFFFF}, szUnknown);
  std::map<int, std::string> names{
      {2, "Informational"}, {3, "Informational"}, {6, "Repaired"}, {9, "Caution"}, {15, "Critical"}};
  for (int severity = 0; severity < 256; ++severity) {
    const std::string &name = names.emplace(severity, szUnknown).first->second;
    expect(TranslateEventLogSeverity, static_cast<uint8_t>(severity), name);
  }
}

// One directive of each kind, with numbers at the bounds of two and of four digits.
TEST(EventText, FormatsAsPrintfDoes) {
  const std::string expected =
      "a|bc  |defgh|ij|l|-2147483648|-1|4294967295|0|b|1234ABCD|00|09|99|100|05|0f|00012345|12345|"
      "0000|9999|10000|-0001|-12345|-0000000000000007";
  for (uint32_t size = 1; size <= expected.size() + 1; ++size) {
    const std::unique_ptr<char[]> exact(new char[size]);
    EventText text(exact.get(), size);
    text.format("%s|%-4s|%-4s|%.2s|%.2s|", "a", "bc", "defgh", "ijk", "l");
    text.format("%d|%d|%u|%u|%x|%X|", -2147483647 - 1, -1, 4294967295U, uint8_t{0}, 0xBU, 0x1234ABCDU);
    text.format("%02u|%02u|%02u|%02u|%02X|%02x|%08X|%04X|", 0U, uint8_t{9}, uint8_t{99}, uint8_t{100}, 0x5U,
                0xFU, 0x12345U, 0x12345U);
    text.format("%.4d|%.4d|%.4d|%.4d|%.4d|%.16d", 0, 9999, 10000, -1, -12345, -7);
    EXPECT_EQ(text.view(), expected.substr(0, size - 1));
    EXPECT_STREQ(text.c_str(), expected.substr(0, size - 1).c_str());
  }
}

// Formats that do not compile.
template <class... Args>
constexpr bool fits(const char *format) {
  const ArgumentKind kinds[] = {kind_of<Args>()..., ArgumentKind::kOther};
  Piece pieces[sizeof...(Args) + 1];
  return parse_format(format, kinds, sizeof...(Args), sizeof...(Args), pieces);
}
static_assert(fits<const char *, uint8_t, uint16_t, int, unsigned>("%s%u%d%d%x"));
static_assert(!fits<uint8_t>("%s") && !fits<const char *>("%u") && !fits<char>("%u") && !fits<char>("%c"));
static_assert(!fits<unsigned>("%d") && !fits<int>("%u") && !fits<int>("%X"));
static_assert(!fits<size_t>("%u") && !fits<bool>("%d"));
static_assert(!fits<const char *>("%s%s") && !fits<int, int>("%d") && !fits<int>("%") && !fits<>("100%%"));
static_assert(!fits<int>("%ld") && !fits<int>("%+d") && !fits<int, int>("%*d") && !fits<int>("%4d"));
static_assert(!fits<const char *>("%04s") && !fits<const char *>("%4s") && !fits<int>("%04d"));
static_assert(!fits<unsigned>("%.4u") && !fits<unsigned>("%-4u") && !fits<int>("%.d") && !fits<int>("%.17d"));

}  // namespace
