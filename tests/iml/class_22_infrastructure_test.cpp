#include "tests/iml/event_case.h"

using namespace event_case;

namespace {

constexpr int kInfrastructure = 0x22;

// Enclosures at address 0102; a chassis of another type is not named.
const Raw kBlade = {P(4, 1, 2)};
const Raw kPower = {P(5, 1, 2)};
const Raw kOther = {P(1, 1, 2)};

TEST(Infrastructure, NamesTheEnclosure) {
  ExpectLines(
      kInfrastructure,
      {{0x02, P(kPower, 255, "S"),
        "Power Enclosure Blade Manual Power On (Enclosure Serial Number S, Slot Unknown)"},
       {0x04, P(kOther, 255, "_"), " Blade I2C Bus Fault (Enclosure Address 0102, Bus Unknown)"},
       {0x08, P(kOther, "S"), " AC Facility Input Power Exceeded (Enclosure Serial Number S)"},
       {0x0C, P(kBlade, "S"), "Server Blade Enclosure Unknown Power Consumption (Enclosure Serial Number S)"},
       {0x0E, P(kOther, "S"), " Status Change (Enclosure Serial Number S)"},
       {0x15, P(kPower, 1), "Power Enclosure Invalid Topology - Check Cabling"},
       {0x09, P(kBlade, 'A', 'B', "S"), "Loss Of Chassis Connectivity (Enclosure Serial Number S)"},
       {0x0A, P(kBlade, 'A', 'B', ""), "New Chassis Connected (Enclosure Address 0102)"},
       {0x19, P(kBlade, 0x10, 0x0A, 0x01, 0x20, 'A', 'B', ""),
        "Chassis Enclosure Address 0102 requires minimum firmware revision 01.20. It is currently 10.0a."}});
}

TEST(Infrastructure, PowerBusesAreNumberedDifferently) {
  const std::string serial = "(Enclosure Serial Number S, ";
  ExpectLines(
      kInfrastructure,
      {{0x06, P(kOther, 0, 'A', 'B', "S"), " Power Not Balanced " + serial + "Power Bus B)"},
       {0x06, P(kOther, 1, 'A', 'B', "S"), " Power Not Balanced " + serial + "Power Bus A)"},
       {0x07, P(kOther, 0, U16(65535), "S"),
        " DC Power Out Of Tolerance " + serial + "Power Bus A, 65535 mV)"},
       {0x07, P(kOther, 1, U16(0), "S"), " DC Power Out Of Tolerance " + serial + "Power Bus B, 0 mV)"},
       {0x12, P(kOther, 2, ""), " Power Feed Missing (Power Bus B, Enclosure Address 0102)"},
       {0x12, P(kOther, 3, ""), " Power Feed Missing (Unknown, Enclosure Address 0102)"}});
}

TEST(Infrastructure, ZoneTypeTellsBladesFromNetworkComponents) {
  ExpectLines(
      kInfrastructure,
      {{0x03, P(kOther, 0xEF, 14, ""),
        " Blade Fuse or Breaker Tripped (Enclosure Address 0102, Slot 15, Fuse A)"},
       {0x03, P(kOther, 0xF2, 13, ""),
        " Network Component Fuse or Breaker Tripped (Enclosure Address 0102, Right Side, Fuse B)"},
       {0x03, P(kOther, 1, 15, ""), Fallback(kInfrastructure, 0x03)},
       {0x13, P(kOther, 17, 14, ""), " Server Blade Inserted (Slot 17, Enclosure Address 0102)"},
       {0x13, P(kOther, 1, 12, ""), Fallback(kInfrastructure, 0x13)},
       {0x14, P(kOther, 17, 13, ""), " Network Component Removed (Unknown Location, Enclosure Address 0102)"},
       {0x14, P(kOther, 1, 15, ""), Fallback(kInfrastructure, 0x14)}});
}

TEST(Infrastructure, LookupsEndWithTheirTables) {
  ExpectLines(
      kInfrastructure,
      {{0x01, P(kOther, 3, 3, ""),
        " Inadequate Power To Power On: Denied By Power Enclosure Management Board (Enclosure Address 0102, "
        "Slot 3)"},
       {0x05, P(kOther, 9, 0, ""), " Blade Removed (Enclosure Address 0102, Slot 9)"},
       {0x05, P(kOther, 9, 255, ""), " Blade Inserted (Enclosure Address 0102, Slot 9)"},
       {0x0B, P(kOther, 8, ""), " UID LED State Changed (Enclosure Address 0102)"},
       {0x0B, P(kOther, 255, ""), " Rack Infrastructure Changed (Enclosure Address 0102, Type 0xFF)"},
       {0x0D, P(kOther, 4, 0, 'A', 'B', ""),
        " Power Subsystem Misconfigured: DC-to-DC Configuration Invalid (Enclosure Address 0102)"},
       {0x0D, P(kOther, 5, 3, 'A', 'B', ""),
        " Power Subsystem Misconfigured: Unknown (Unknown Location, Enclosure Address 0102)"},
       // The number stands where the words do not ask for it.
       {0x0F, P(kOther, 7, 2, ""), " Blower Fault (7, Blower Right Side, Enclosure Address 0102)"},
       {0x10, P(kOther, 255, 3, ""),
        " Blower Removed (Unknown, Blower Unknown Location, Enclosure Address 0102)"},
       {0x11, P(kOther, 9, 2, ""),
        " Ethernet Switch Error - Fan 2 failed or removed (Right Side, Enclosure Address 0102)"},
       {0x18, P(kOther, 17, 16, 8), "Infrastructure Fault, Unknown I2C Error at RJ45 6 West, 9555 Mux"},
       {0x18, P(kOther, 255, 17, 9), "Infrastructure Fault, Unknown at Unknown, Unknown"},
       {0x1A, P(kOther, 255, 6, ""),
        " Power Request Denied: Enclosure Error (Enclosure Address 0102, Slot Unknown)"}});
}

}  // namespace
