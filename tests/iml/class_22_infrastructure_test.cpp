#include "tests/iml/event_case.h"

using namespace event_case;

namespace {

constexpr int kBlade = 4;
constexpr int kPower = 5;

/// The chassis of an enclosure at address 0102.
Raw At0102(int type) {
  return {P(type, 1, 2)};
}

TEST(Infrastructure, LinesBeginWithTheEnclosure) {
  ExpectLines(0x22,
              {{0x01, P(At0102(kBlade), 3, 2, ""),
                "Server Blade Enclosure Inadequate Power To Power On: Denied By Server Enclosure "
                "Management Board (Enclosure Address 0102, Slot 3)"},
               {0x02, P(At0102(kPower), 255, "5CZ1234567ABCDEFXYZ"),
                "Power Enclosure Blade Manual Power On (Enclosure Serial Number 5CZ1234567ABCDEF, Slot "
                "Unknown)"},
               {0x04, P(At0102(3), 255, "_"), " Blade I2C Bus Fault (Enclosure Address 0102, Bus Unknown)"},
               {0x08, P(At0102(6), "S"), " AC Facility Input Power Exceeded (Enclosure Serial Number S)"},
               {0x0C, P(At0102(kBlade), "S"),
                "Server Blade Enclosure Unknown Power Consumption (Enclosure Serial Number S)"},
               {0x0E, P(At0102(0), "S"), " Status Change (Enclosure Serial Number S)"},
               {0x15, P(At0102(kPower), 1), "Power Enclosure Invalid Topology - Check Cabling"},
               {0x15, P(At0102(1), 1), " Invalid Topology - Check Cabling"}});
}

TEST(Infrastructure, SomeLinesHaveNoEnclosureInFront) {
  ExpectLines(0x22,
              {{0x09, P(At0102(kBlade), U16(0x4142), "S"),
                "Loss Of Chassis Connectivity (Enclosure Serial Number S)"},
               {0x0A, P(At0102(kBlade), U16(0x4142), ""), "New Chassis Connected (Enclosure Address 0102)"},
               {0x19, P(At0102(kBlade), 0x10, 0x0A, 0x01, 0x20, U16(0x4142), ""),
                "Chassis Enclosure Address 0102 requires minimum firmware revision 01.20. It is currently "
                "10.0a."}});
}

TEST(Infrastructure, PowerBusesAreNumberedDifferently) {
  const auto side = [](int cSide, int wValue) {
    return P(At0102(kBlade), cSide, U16(static_cast<std::uint16_t>(wValue)), "S");
  };
  const std::string balance = "Server Blade Enclosure Power Not Balanced (Enclosure Serial Number S, ";
  const std::string voltage = "Server Blade Enclosure DC Power Out Of Tolerance (Enclosure Serial Number S, ";
  ExpectLines(0x22,
              {{0x06, side(0, 0x4142), balance + "Power Bus B)"},
               {0x06, side(1, 0x4142), balance + "Power Bus A)"},
               {0x06, side(255, 0x4142), balance + "Power Bus B)"},
               {0x07, side(0, 65535), voltage + "Power Bus A, 65535 mV)"},
               {0x07, side(1, 11950), voltage + "Power Bus B, 11950 mV)"},
               {0x12, P(At0102(1), 0, ""), " Power Feed Missing (Unknown Location, Enclosure Address 0102)"},
               {0x12, P(At0102(1), 2, ""), " Power Feed Missing (Power Bus B, Enclosure Address 0102)"},
               {0x12, P(At0102(1), 3, ""), " Power Feed Missing (Unknown, Enclosure Address 0102)"}});
}

TEST(Infrastructure, ZoneTypeTellsBladesFromNetworkComponents) {
  ExpectLines(
      0x22,
      {{0x03, P(At0102(1), 0x13, 14, ""),
        " Blade Fuse or Breaker Tripped (Enclosure Address 0102, Slot 3, Fuse B)"},
       {0x03, P(At0102(1), 0xEF, 14, ""),
        " Blade Fuse or Breaker Tripped (Enclosure Address 0102, Slot 15, Fuse A)"},
       {0x03, P(At0102(1), 0x05, 13, ""),
        " Network Component Fuse or Breaker Tripped (Enclosure Address 0102, Unknown Location, Fuse A)"},
       {0x03, P(At0102(1), 0xF2, 13, ""),
        " Network Component Fuse or Breaker Tripped (Enclosure Address 0102, Right Side, Fuse B)"},
       {0x13, P(At0102(1), 255, 14, ""), " Server Blade Inserted (Slot Unknown, Enclosure Address 0102)"},
       {0x13, P(At0102(1), 1, 13, ""), " Network Component Inserted (Left Side, Enclosure Address 0102)"},
       {0x14, P(At0102(1), 17, 14, ""), " Server Blade Removed (Slot 17, Enclosure Address 0102)"},
       {0x14, P(At0102(1), 17, 13, ""),
        " Network Component Removed (Unknown Location, Enclosure Address 0102)"}});
  for (const int code : {0x03, 0x13, 0x14}) {
    ExpectLines(0x22, {{code, P(At0102(kBlade), 1, 12, "S"), Fallback(0x22, code)},
                       {code, P(At0102(kBlade), 1, 15, "S"), Fallback(0x22, code)}});
  }
}

TEST(Infrastructure, PresenceAndChangesChooseTheWording) {
  ExpectLines(0x22, {{0x05, P(At0102(1), 9, 0, ""), " Blade Removed (Enclosure Address 0102, Slot 9)"},
                     {0x05, P(At0102(1), 9, 255, ""), " Blade Inserted (Enclosure Address 0102, Slot 9)"},
                     {0x0B, P(At0102(1), 2, ""), " Name Changed (Enclosure Address 0102)"},
                     {0x0B, P(At0102(1), 8, ""), " UID LED State Changed (Enclosure Address 0102)"}});
  for (const int type : {0, 6, 9, 255}) {
    char line[80];
    std::snprintf(line, sizeof line, " Rack Infrastructure Changed (Enclosure Address 0102, Type 0x%02X)",
                  type);
    ExpectLines(0x22, {{0x0B, P(At0102(1), type, ""), line}});
  }
}

TEST(Infrastructure, LookupsEndWithTheirTables) {
  ExpectLines(
      0x22,
      {{0x01, P(At0102(1), 1, 4, ""),
        " Inadequate Power To Power On: Unknown (Enclosure Address 0102, Slot 1)"},
       {0x0D, P(At0102(1), 4, 0, U16(0x4142), ""),
        " Power Subsystem Misconfigured: DC-to-DC Configuration Invalid (Enclosure Address 0102)"},
       {0x0D, P(At0102(1), 5, 3, U16(0x4142), ""),
        " Power Subsystem Misconfigured: Unknown (Unknown Location, Enclosure Address 0102)"},
       // The number stands where the words do not ask for it.
       {0x0F, P(At0102(1), 7, 2, ""), " Blower Fault (7, Blower Right Side, Enclosure Address 0102)"},
       {0x10, P(At0102(1), 255, 3, ""),
        " Blower Removed (Unknown, Blower Unknown Location, Enclosure Address 0102)"},
       {0x11, P(At0102(1), 9, 3, ""),
        " Ethernet Switch Error - Fan 2 failed or removed (Unknown Location, Enclosure Address 0102)"},
       {0x11, P(At0102(1), 10, 0, ""),
        " Ethernet Switch Error - Unknown (Unknown Location, Enclosure Address 0102)"},
       {0x18, P(At0102(1), 0, 0, 7),
        "Infrastructure Fault, I2C Bus Timeout at Chassis Slot 1, Brix Management Controller"},
       {0x18, P(At0102(1), 17, 16, 8), "Infrastructure Fault, Unknown I2C Error at RJ45 6 West, 9555 Mux"},
       {0x18, P(At0102(1), 255, 17, 9), "Infrastructure Fault, Unknown at Unknown, Unknown"},
       {0x1A, P(At0102(1), 255, 6, ""),
        " Power Request Denied: Enclosure Error (Enclosure Address 0102, Slot Unknown)"},
       {0x1A, P(At0102(1), 1, 7, ""), " Power Request Denied: Unknown (Enclosure Address 0102, Slot 1)"}});
}

TEST(Infrastructure, UnknownCodesHaveNoLine) {
  for (const int code : {0x00, 0x16, 0x17, 0x1B, 0x0101}) {
    ExpectLines(0x22, {{code, P(At0102(kBlade), 1, 1, "S"), Fallback(0x22, code)}});
  }
}

TEST(Infrastructure, NameWithoutAnEndIsCut) {
  EXPECT_EQ(
      Line(Record(0x22, 0x1A, P(At0102(kPower), 1, 0), 'z')),
      "Power Enclosure Power Request Denied: Unknown (Enclosure Serial Number zzzzzzzzzzzzzzzz, Slot 1)");
}

}  // namespace
