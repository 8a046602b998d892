#include "tests/iml/event_case.h"

using namespace event_case;

namespace {

// Payload of a fan's events: chassis type, id and port, fan, location, names.
std::string Fan(int type, int id, int port, int fan, int zone, const char *name = "", const char *slot = "") {
  return P(type, id, port, fan, zone, name, slot);
}

TEST(MachineEnvironment, WordsAnEventByItsChassis) {
  ExpectLines(
      0x02,
      {{0x01, P(1, 0, 0, 3, 2, 45, ""),
        "System Overheating (Temperature Sensor 3, Location I/O Board, Temperature 45C)"},
       {0x01, P(1, 255, 0, 3, 16, 255, ""),
        "External Chassis Overheating (Chassis Unknown, Temperature Sensor 3, Location Unknown, Temperature "
        "Unknown)"},
       {0x01, P(4, 0x12, 0x34, 255, 15, 0, "-"),
        "Server Blade Enclosure Overheating (Temperature Sensor Unknown, Location Virtual, Temperature 0C, "
        "Enclosure Address 1234)"},
       {0x02, Fan(1, 7, 0, 1, 0, "Rack7"),
        "External Chassis Fan Failure (Chassis Rack7, Fan 1, Location System)"},
       {0x02, Fan(2, 3, 0, 255, 9, "A"),
        "External Storage System Fan Failure (Chassis A, Slot 3, Fan Unknown, Location Chassis)"},
       {0x02, Fan(3, 255, 0, 255, 9),
        "Internal Storage System Fan Failure (Slot Unknown, Fan Unknown, Location Chassis)"},
       {0x04, Fan(1, 0, 0, 6, 1), "System Fan Removed (Fan 6, Location System Board)"},
       {0x05, Fan(5, 1, 2, 6, 1, "5CZ1234567ABCDEFXYZ"),
        "Power Enclosure Fan Inserted (Fan 6, Location System Board, Enclosure Serial Number "
        "5CZ1234567ABCDEF)"},
       {0x06, P(1, 0, 0, 4, ""), "System Fans Not Redundant (Location Memory)"},
       {0x06, P(2, 9, 0, 4, "Box1"),
        "External Storage System Fans Not Redundant (Chassis Box1, Slot 9, Location Memory)"}});
}

TEST(MachineEnvironment, HasNoWordingForOtherChassis) {
  for (const int code : {0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x0E}) {
    for (const int type : {0, 6, 255}) {
      ExpectLines(0x02, {{code, Fan(type, 1, 1, 1, 1, "N", "Slot"), Fallback(0x02, code)}});
    }
  }
  ExpectLines(0x02, {{0x00, "", Fallback(0x02, 0x00)}, {0x13, "", Fallback(0x02, 0x13)}});
}

TEST(MachineEnvironment, SidePanelsNameNoEnclosure) {
  ExpectLines(0x02, {{0x03, P(1, 0, 0, 1, 1, "A"), "Side panel removed or improperly installed"},
                     {0x03, P(1, 3, 0, 1, 1, ""),
                      "External Chassis side panel removed or improperly installed (Chassis 3)"},
                     {0x03, P(4, 3, 0, 1, 1, "A"),
                      "Server Blade Enclosure side panel removed or improperly installed"},
                     {0x09, P(5, 3, 0, 1, 1, "A", "Bay 2"),
                      "Power Enclosure side panel removed or improperly installed, Bay 2"}});
}

TEST(MachineEnvironment, SlotDescriptionFollowsTheCodesThatReadIt) {
  ExpectLines(0x02,
              {{0x02, Fan(1, 0, 0, 1, 0, "A", "Slot 5"), "Fan Failure (Fan 1, Location System)"},
               {0x08, Fan(1, 0, 0, 1, 0, "A", "Slot 5"), "Fan Failure (Fan 1, Location System), Slot 5"},
               {0x08, Fan(1, 0, 0, 1, 0, "A", ""), "Fan Failure (Fan 1, Location System)"},
               {0x0A, P(0, 0, 0, 1, 1, 1, "", "X"), ", X"},
               {0x0A, P(0, 0, 0, 1, 1, 1, "", ""), Fallback(0x02, 0x0A)}});
}

TEST(MachineEnvironment, CriticalTemperatureClosesWithTheSlotDescription) {
  ExpectLines(
      0x02,
      {{0x0E, P(1, 0, 0, 255, 1, 1, "A", "Slot 5"), "Critical Temperature Threshold Exceeded"},
       {0x0E, P(1, 0, 0, 0, 1, 90, "A", "Slot 5"),
        "Critical Temperature Threshold Exceeded (Temperature Sensor 0, Location System Board, Temperature "
        "90C, "
        "Slot 5)"},
       {0x0E, P(1, 2, 0, 255, 1, 90, "", ""),
        "External Chassis Overheating (Chassis 2, Temperature Sensor Unknown, Location System Board, "
        "Temperature 90C)"},
       {0x0E, P(4, 0, 1, 1, 1, 90, "", "Slot 5"),
        "Server Blade Enclosure Overheating (Temperature Sensor 1, Location System Board, Temperature 90C, "
        "Enclosure Address 0001, Slot 5)"},
       {0x0E, P(3, 2, 1, 1, 1, 90, "B", ""),
        "Internal Storage System Overheating (Chassis B, Slot 2, Temperature Sensor 1, Location System "
        "Board, "
        "Temperature 90C)"}});
}

TEST(MachineEnvironment, StorageEnclosuresShowPlainNumbers) {
  ExpectLines(
      0x02,
      {{0x0B, P(1, 255, 0, 255, 0, Raw{"1E"}, 255, "", ""),
        " Storage Enclosure Fan Failure (Fan 255, Location System, Box 255, Port 1E, Slot Unknown)"},
       {0x0C, P(2, 4, 0, 7, 16, Raw{"2I"}, 3, "Box1", ""),
        "External Storage Enclosure Overheating (Temperature Sensor 7, Location Unknown, Box 3, Port 2I, "
        "Chassis Box1, "
        "Slot 4)"},
       // Without its first character a port has no name.
       {0x0D, P(3, 4, 0, 0, 0, 0, 0, 'E', 1, "", "Bay X"),
        "Internal Storage Enclosure Fan Failure (Fan 0, Location System, Box 1, Port , Bay X)"},
       {0x0D, P(3, 4, 0, 0, 2, 0, 'E', 0, 1, "", ""),
        "Internal Storage Enclosure Fan Failure (Fan Module 2, Location System, Box 1, Port E, Slot 4)"},
       {0x0D, P(3, 4, 0, 1, 2, 0, Raw{"1E"}, 1, "", ""),
        "Internal Storage Enclosure Fan Failure (Fan 1, Fan Module 2, Location System, Box 1, Port 1E, Slot "
        "4)"},
       {0x0F, P(3, 4, 0, 255, 5, "", ""),
        "Internal Storage Controller Overheating (Temperature Sensor 255, Location Storage, Slot 4)"}});
}

TEST(MachineEnvironment, OthersIgnoreTheChassis) {
  ExpectLines(0x02,
              {{0x07, P(9, 9, 9, 1, 8), "System Fans Not Redundant (Shared Location Ambient)"},
               {0x10, P("Zone 4"), "Critical Temperature Threshold Exceeded (Service Information: Zone 4)"},
               {0x11, P(255),
                "Temperature sensor has stopped reporting, Maximum Cooling enabled as a precaution "
                "(Temperature sensor 255)"},
               {0x12, P(200),
                "Temperature sensor reporting restored, returning to previous Thermal Configuration "
                "(Temperature sensor 200)"}});
}

}  // namespace
