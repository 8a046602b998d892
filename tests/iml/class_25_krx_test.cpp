#include <algorithm>

#include "tests/iml/event_case.h"

using namespace event_case;

namespace {

constexpr int kKrx = 0x25;
constexpr int kUpper = 0x8A;
constexpr int kLower = 0x8C;
constexpr int kNoBoard = 0x8B;

/// Rows whose lines need only begin as given.
void ExpectFronts(std::initializer_list<EventCase> cases) {
  for (const EventCase &c : cases) {
    EXPECT_THAT(Line(kKrx, c.code, c.payload), testing::StartsWith(c.line)) << "code " << c.code;
  }
}

TEST(Krx, NamesTheBoardThatReports) {
  ExpectFronts(
      {{9, P(kUpper), "KRX Cube Assembly failure.  Lower KRX board service processor response"},
       {10, P(kLower), "KRX Cube Assembly failure.  Upper KRX board not detected by lower KRX board"},
       {10, P(0), "KRX Cube Assembly failure.  Unknown KRX board not detected by unknown KRX board"},
       {128, P(kLower, 0xAB), "Power fault occurred on lower KRX board. Details: 0xAB"}});
  ExpectLines(kKrx, {{0, P(kUpper), "Unknown KRX event occurred, Code 0x00"},
                     {256 + 52, P(kUpper), "Unknown KRX event occurred, Code 0x134"}});
}

TEST(Krx, AccessFailuresNameTheirSource) {
  const Raw low = {"\x01\x23\x45\x67"};
  const Raw high = {"\x89\xAB\xCD\xEF"};
  const Raw zeros = Fill(8, 0);
  ExpectFronts({{1, P(kUpper, 0, 0), "Proc 2 (Upper Tray, Processor 2) side-band"},
                {1, P(kUpper, 255, '1'), "Proc 4 (Upper Tray, Processor 4) side-band"},
                {1, P(kLower, 0, '1'), "Proc 8 (Lower Tray, Processor 1) side-band"},
                {1, P(kNoBoard, 1, 1), "Proc 5 (Unknown Tray, Processor 4) side-band"},
                {2, P(kUpper, 0x12, 0, zeros, 0, 0), "Upper KRX Board, KRX 2 access"},
                {2, P(kNoBoard, 0x0F, 0, zeros, 0, 0), "Lower KRX Board, KRX 1 access"},
                {2, P(kLower, 0, 0, zeros, 5, 1), "Proc 6 (Lower Tray, Processor 3) access"},
                {2, P(kLower, 0, 0, zeros, 7, 1), "Proc 8 (Lower Tray, Processor 1) access"},
                {2, P(kUpper, 0, 0, zeros, 0, 1), "Unknown access"}});
  ExpectLines(kKrx, {{1, P(kUpper, 0, '0', 0xE1, 0xE2, low, high),
                      "Proc 1 (Upper Tray, Processor 1) side-band access failure reported by upper KRX board "
                      "service processor.  Details: 0xE2 0x01234567 0xE1 0x89ABCDEF"},
                     {2, P(kLower, 2, 0xCC, low, high, 3, 0),
                      "Sub IO access failure reported by lower KRX board service processor.  Details: 0x02 "
                      "0x0123456789ABCDEF 0xCC"}});
}

TEST(Krx, SocketsKeepTheBlanksOfEmptyTexts) {
  ExpectFronts({{57, P(kUpper, 0x03), "Upper Tray, Processor(s)  1  2        disabled by upper"},
                {57, P(kUpper, 0xC0), "     Lower Tray, Processor(s)    3  4 disabled by upper"},
                {4, P(kLower, 0x14, 0x02, 0x0A, 0x0B, 0x0C, 0x0D),
                 "Unsupported processor configuration:    Upper Tray, Processor(s)    3     Lower Tray, "}});
  ExpectLines(
      kKrx,
      {{57, P(kLower, 0, 1, 2, 3, 4, 5),
        "          disabled by lower KRX board service processor.  Details: 0x01 0x02 0x03 0x04 0x05"},
       {4, P(kLower, 0x00, 0x28, 0x0A, 0x0B, 0x0C, 0x0D),
        "Mismatched processor configuration:    Upper Tray, Processor(s)     4    Lower Tray, Processor(s)   "
        "2   - reported by lower KRX board service processor.  Details: 0x28 0x0A0B 0x0C0D"}});
  // Index and count are not checked.
  ExpectFronts({{6, P(kLower, 255), "Proc 260 (Lower Tray, Processor -251) initialization failure"},
                {6, P(kNoBoard, 255), "Proc 256 (Unknown Tray, Processor 256) initialization failure"},
                {53, P(kUpper, 0), "Invalid processor configuration.  No enabled or installed processors"},
                {53, P(kUpper, 255), "Processor configuration degraded to 255 sockets reported by upper"}});
}

TEST(Krx, QpiLinksNameBothEnds) {
  const auto failure = [](int board, int chip, int port, const std::string &ends) {
    ExpectFronts({{7, P(board, chip, port, 3), "QPI Link training failure between " + ends},
                  {7, P(board, chip, port, 4), "QPI Link training failure between " + ends}});
  };
  failure(kUpper, 2, 3, "Proc 3 (Upper Tray, Processor 3) and Proc 4 (Upper Tray, Processor 4 reported");
  failure(kUpper, 7, 7, "Proc 8 (Upper Tray, Processor 8) and LP IO reported");
  failure(kUpper, 8, 0, "Proc 9 (Upper Tray, Processor 9) and Unknown reported");
  failure(kLower, 0, 1, "Proc 5 (Lower Tray, Processor 4) and Proc 6 (Lower Tray, Processor 3) reported");
  failure(kLower, 7, 1, "Proc 12 (Lower Tray, Processor 253) and MainIO reported");
  failure(kNoBoard, 251, 0, "Proc 0 (Unknown Tray, Processor 9) and Unknown reported");
  ExpectLines(kKrx, {{7, P(kUpper, 0, 0x81, 2),
                      "QPI Link between Proc 1 (Upper Tray, Processor 1) and MainIO trained in reduced-width "
                      "mode reported by upper KRX board service processor, link status 0x02"},
                     {7, P(kUpper, 0, 1, 1), "KRX event 7 occurred"},
                     {7, P(kUpper, 0, 1, 5), "KRX event 7 occurred"}});
}

TEST(Krx, FabricLinksEndWithTheirTable) {
  ExpectFronts({{8, P(kUpper, 0, 5, 4),
                 "External link with reduced bandwidth between Upper KRX Board, KRX 1 Port 1 and"},
                {8, P(kUpper, 1, 5, 3),
                 "Internal link training failure between Upper KRX Board, KRX 2  and Lower KRX"},
                {8, P(kLower, 2, 0, 3), "Link training failure reported by lower"},
                {8, P(kNoBoard, 0, 0, 3), "Link training failure reported by unknown"}});
  ExpectLines(
      kKrx,
      {{8, P(kLower, 1, 2, 3),
        "External link training failure between Lower KRX Board, KRX 2 Port 6 and Upper KRX Board, KRX 2 "
        "Port 7 reported by lower KRX board service processor.  Details: 0x03"},
       {8, P(kUpper, 0, 6, 1),
        "Link training failure reported by upper KRX board service processor.  Details: 0x00 0x06 0x01"},
       {64, P(kUpper, 2, 0xA, 0xB, 0xC),
        "Low Profile (LP) IO disabled by upper KRX board service processor. Details: 0x0A 0x0B 0x0C"},
       {64, P(kLower, 3),
        "Unrecognized IO Board disabled by lower KRX board service processor. Details: 0x00 0x00 0x00"}});
}

TEST(Krx, RomErrorsListTheirBytes) {
  ExpectLines(kKrx, {{193, P(5, 3, 0xA1, 0x02, 0x3F),
                      "Correctable error detected on Lower KRX Board, KRX 2. Details: 0xa1 0x02 0x3f"},
                     {192, P(2, 0xFC, 9), "Uncorrectable error detected on Upper KRX Board, KRX 1. Details:"},
                     {196, P(3, 2, 255, 9),
                      "Uncorrectable fabric error detected on Lower KRX Board, KRX 1, link 255. Details:"},
                     {197, P(4, 0, 7, 0xB0, 9),
                      "Correctable fabric error detected on Upper KRX Board, KRX 1, link 7. Details: 0xb0"}});
  for (const int byte_count : {0, 211, 212, 213, 255}) {
    std::string expected = "Correctable error detected on Upper KRX Board, KRX 1. Details:";
    for (int offset = 2; offset < std::min(byte_count, 212); ++offset) {
      expected += " 0x5a";
    }
    EXPECT_EQ(Line(Record(kKrx, 193, P(byte_count, 0), 0x5A)), expected);
  }
}

}  // namespace
