#include "tests/iml/event_case.h"

using namespace event_case;

namespace {

constexpr int kPower = 0x0B;

TEST(Power, WordsAnEventByItsChassis) {
  ExpectLines(
      kPower,
      {{0x01, P(1, 0, 0, 2, 0x0F, "A"),
        "System Power Supply: Input Power Loss or Unplugged Power Cord, Verify Power Supply Input (Power "
        "Supply 2)"},
       {0x01, P(1, 255, 0, 255, 0, ""),
        "External Chassis Power Supply: General Failure (Chassis Unknown, Power Supply Unknown)"},
       {0x01, P(2, 3, 0, 0, 5, "B1"),
        "External Storage System Power Supply: EPROM Failure (Chassis B1, Slot 3, Power Supply 0)"},
       {0x01, P(3, 3, 0, 1, 0xFF, ""),
        "Internal Storage System Power Supply: No Error (Slot 3, Power Supply 1)"},
       {0x01, P(4, 0x12, 0x34, 1, 1, ""),
        "Server Blade Enclosure Power Supply: BIST Failure (Power Supply 1, Enclosure Address 1234)"},
       {0x01, P(5, 3, 0, 1, 2, "N"),
        "Power Enclosure Power Supply: Fan Failure (Power Supply 1, Enclosure Serial Number N)"},
       {0x06, P(1, 9, 0, "A"), "External Chassis Power Supplies Not Redundant (Chassis A)"},
       {0x06, P(4, 1, 2, 5, "N"),
        "Server Blade Enclosure Power Supplies Not Redundant (in Unknown, Enclosure Serial Number N)"},
       {0x06, P(5, 1, 2, 4, ""),
        "Power Enclosure Power Supplies Not Redundant (in Power Subsystem, Enclosure Address 0102)"},
       {0x07, P(1, 9, 0, 'x', 'y', 'z', "A"), "External Chassis Power Modules Not Redundant (Chassis A)"},
       {0x0F, P(1, 9, 0, "A"), "External Chassis Power Modules Not Redundant (Chassis A)"},
       {0x08, P(4, 0, 1, 7, 5, "A"),
        "Server Blade Enclosure AC Power Problem (Power Supply 7, Reason: AC Power Loss, Enclosure Serial "
        "Number A)"},
       {0x08, P(5, 0, 1, 7, 6, ""),
        "Power Enclosure AC Power Problem (Power Supply 7, Reason: Unknown, Enclosure Address 0001)"},
       {0x09, P(5, 0, 1, 7, 255, "A"),
        "Power Enclosure AC Power Overload (Power Supply 7, Voltage: Unknown, Enclosure Serial Number A)"},
       {0x0E, P(5, 2, 0, 7, "A"), "Power Enclosure Power Module Inserted (Power Module 7)"}});
  for (const int error : {0x03, 0x04, 0x0A, 0x0B, 0x10, 0xFE}) {
    ExpectLines(kPower,
                {{0x01, P(1, 0, 0, 2, error), "System Power Supply: Unknown Failure (Power Supply 2)"}});
  }
}

// Some records hold one byte more in front of the name.
TEST(Power, RecordsKeepTheChassisNameAtTheirOwnPlace) {
  const std::tuple<int, Raw, const char *> events[] = {
      {0x04, {""}, "Power Supply Removed (Chassis A, Power Supply 7)"},
      {0x05, {""}, "Power Supply Inserted (Chassis A, Power Supply 7)"},
      {0x08, {"x"}, "AC Power Problem (Chassis A, Power Supply 7)"},
      {0x09, {"x"}, "AC Power Overload (Chassis A, Power Supply 7)"},
      {0x0A, {""}, "System Power Supply Powered Up (Chassis A, Power Supply 7)"},
      {0x0B, {""}, "System Power Supply Powered Down (Chassis A, Power Supply 7)"},
      {0x0C, {"x"}, "Power Module Failure (Chassis A, Power Module 7)"},
      {0x0D, {""}, "Power Module Removed (Chassis A, Power Module 7)"},
      {0x0E, {""}, "Power Module Inserted (Chassis A, Power Module 7)"},
      {0x10, {"x"}, "Power Module Overload (Chassis A, Power Module 7)"},
  };
  for (const auto &[code, more, event] : events) {
    ExpectLines(kPower, {{code, P(1, 9, 0, 7, more, "A"), std::string("External Chassis ") + event}});
  }
}

TEST(Power, SomeEventsBelongToNoFamily) {
  ExpectLines(kPower,
              {{0x03, P(1, 0, 0, 9, 2, 3), "An I/O Power Module has Failed (System Board, Socket 2)"},
               {0x03, P(3, 0, 0, 255, 2, 4), "A Power Module has Failed (Chassis 0, Slot Unknown, Socket 2)"},
               {0x03, P(4, 1, 0, 9, 2, 2), Fallback(kPower, 0x03)},
               {0x14, P(2, 4, 0, 255, Raw{"1E"}, 2, "A", "Bay 3"),
                "External Storage Enclosure Power Supply Failure (Power Supply 255, Box 2, Port 1E, Chassis "
                "A, Bay 3)"},
               {0x25, P(255, "No charge"), "Battery Backup Unit failure (Bay 255, No charge)"}});
}

TEST(Power, ServiceTextFollowsTheCodesThatReadIt) {
  ExpectLines(
      kPower,
      {{0x01, P(1, 0, 0, 2, 2, "A", "S"), "System Power Supply: Fan Failure (Power Supply 2)"},
       {0x13, P(1, 0, 0, 2, 2, "A", "S"), "System Power Supply: Fan Failure (Power Supply 2), S"},
       {0x11, P(1, 0, 0, 2, 2, "", "S"), "System AC Power Problem (Power Supply 2), S"},
       {0x11, P(0, 0, 0, 2, 2, "", "S"), ", S"},
       {0x02, P(9, 255, 0, "S"), "Real-Time Clock Battery Failing (Chassis Unknown)"},
       {0x12, P(9, 0, 0, Fill(209, 's')), "Real-Time Clock Battery Failing, " + std::string(209, 's')}});
}

// The record's length, its low byte signed, decides how many modules a power fault lists.
TEST(Power, FaultListsModulesByTheRecordsLength) {
  const auto fault = [](int length, int second_register) {
    EVT_LOG_ENTRY record = Record(kPower, 0x1A, P(0x12, second_register, 0x01, 0x0A), 0xFF);
    record.Hdr.wEvtLength = static_cast<std::uint16_t>(length);
    return Line(record);
  };
  std::string most = " MID: 01 0A";
  for (int i = 2; i < 127; ++i) {
    most += " FF";
  }
  EXPECT_EQ(fault(33, 0x00), "System Power Fault Detected (XR: 12 00 MID: 01 0A FF)");
  EXPECT_EQ(fault(31, 0xFB), "System Power Fault Detected (XR: 12 FB MID: 01)");
  EXPECT_EQ(fault(30 + 256 + 1, 0x00), "System Power Fault Detected (XR: 12 00 MID: 01)");
  EXPECT_EQ(fault(157, 0x00), "System Power Fault Detected (XR: 12 00" + most + ")");
  EXPECT_EQ(fault(157, 0x0C),
            "System Power Fault Detected. Consult Orv Wattplan To Ensure Power Supply Sizing. Increase Power "
            "If Required (XR: 12 0C" +
                most + ")");
  for (const int length : {0, 27, 28, 29, 30, 158, 240, 285, 286, 0xFFFF}) {
    EXPECT_EQ(fault(length, 0x00), "System Power Fault Detected (XR: 12 00)") << length;
  }
}

TEST(Power, StorageBatteriesFailInTextsOfTheirOwn) {
  for (const std::uint32_t code : {3U, 11U, 15U, 0x104U, 0x01000004U, 0xFFFFFFFFU}) {
    ExpectLines(kPower, {{0x1F, P(255, U32(code)),
                          "Quellin Battery failure (Battery 255). Action: 1. Consult server troubleshooting "
                          "guide. 2 Gather Tavlo log and contact Support"}});
  }
  const std::pair<std::uint32_t, const char *> ends[] = {
      {7, "gather Tavlo log, contact Support."},
      {8, "0x05).  Action: 1. Consult server troubleshooting guide. 2. Gather Tavlo log and contact Support"},
      {9, "guide. 2. Gather Tavlo log and contact Orv Support"},
      {14, "0x0B). Action: 1. Consult server troubleshooting guide. 2 Gather Tavlo log and contact Support"},
  };
  for (const auto &[code, end] : ends) {
    EXPECT_THAT(Line(kPower, 0x1F, P(0, U32(code))), testing::EndsWith(end));
  }
}

}  // namespace
