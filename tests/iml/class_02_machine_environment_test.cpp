#include "tests/iml/event_case.h"

using namespace event_case;

namespace {

TEST(MachineEnvironment, WordsAnEventByItsChassis) {
  ExpectLines(0x02,
              {{0x01, P(1, 0, 0, 3, 2, 45, ""),
                "System Overheating (Temperature Sensor 3, Location I/O Board, Temperature 45C)"},
               {0x01, P(1, 255, 0, 3, 16, 255, ""),
                "External Chassis Overheating (Chassis Unknown, Temperature Sensor 3, Location Unknown, "
                "Temperature Unknown)"},
               {0x01, P(4, 0x12, 0x34, 255, 15, 0, "-"),
                "Server Blade Enclosure Overheating (Temperature Sensor Unknown, Location Virtual, "
                "Temperature 0C, Enclosure Address 1234)"},
               {0x02, P(2, 3, 0, 255, 9, "A"),
                "External Storage System Fan Failure (Chassis A, Slot 3, Fan Unknown, Location Chassis)"},
               {0x02, P(3, 255, 0, 255, 9, ""),
                "Internal Storage System Fan Failure (Slot Unknown, Fan Unknown, Location Chassis)"},
               {0x03, P(1, 3, 0, 1, 1, "A"),
                "External Chassis side panel removed or improperly installed (Chassis A)"},
               {0x04, P(1, 0, 0, 6, 1, ""), "System Fan Removed (Fan 6, Location System Board)"},
               {0x05, P(5, 1, 2, 6, 1, "5CZ1234567ABCDEFXYZ"),
                "Power Enclosure Fan Inserted (Fan 6, Location System Board, Enclosure Serial Number "
                "5CZ1234567ABCDEF)"},
               {0x06, P(2, 9, 0, 4, "Box1"),
                "External Storage System Fans Not Redundant (Chassis Box1, Slot 9, Location Memory)"}});
}

TEST(MachineEnvironment, SlotDescriptionFollowsTheCodesThatReadIt) {
  const std::string fan = P(1, 0, 0, 1, 0, "A", "Slot 5");
  ExpectLines(0x02, {{0x02, fan, "Fan Failure (Fan 1, Location System)"},
                     {0x08, fan, "Fan Failure (Fan 1, Location System), Slot 5"},
                     {0x09, P(5, 3, 0, 1, 1, "A", "Bay 2"),
                      "Power Enclosure side panel removed or improperly installed, Bay 2"},
                     {0x0A, P(0, 0, 0, 1, 1, 1, "", "X"), ", X"}});
}

TEST(MachineEnvironment, CriticalTemperatureClosesWithTheSlotDescription) {
  const std::string place = "Temperature Sensor Unknown, Location System Board, Temperature 90C";
  const auto at = [](int type, int id, const char *name, const char *slot) {
    return P(type, id, 1, 255, 1, 90, name, slot);
  };
  ExpectLines(
      0x02,
      {{0x0E, at(1, 0, "A", "Slot 5"), "Critical Temperature Threshold Exceeded"},
       {0x0E, P(1, 0, 0, 0, 1, 90, "A", "Slot 5"),
        "Critical Temperature Threshold Exceeded (Temperature Sensor 0, Location System Board, Temperature "
        "90C, Slot 5)"},
       {0x0E, at(1, 2, "", ""), "External Chassis Overheating (Chassis 2, " + place + ")"},
       {0x0E, at(2, 2, "", "X"), "External Storage System Overheating (Slot 2, " + place + ", X)"},
       {0x0E, at(3, 2, "B", ""), "Internal Storage System Overheating (Chassis B, Slot 2, " + place + ")"},
       {0x0E, at(4, 0, "", "X"),
        "Server Blade Enclosure Overheating (" + place + ", Enclosure Address 0001, X)"},
       {0x0E, at(5, 0, "N", ""), "Power Enclosure Overheating (" + place + ", Enclosure Serial Number N)"}});
}

TEST(MachineEnvironment, StorageEnclosuresShowPlainNumbers) {
  ExpectLines(
      0x02,
      {{0x0B, P(1, 255, 0, 255, 0, Raw{"1E"}, 254, "", ""),
        " Storage Enclosure Fan Failure (Fan 255, Location System, Box 254, Port 1E, Slot Unknown)"},
       {0x0C, P(2, 4, 0, 7, 16, Raw{"2I"}, 3, "Box1", ""),
        "External Storage Enclosure Overheating (Temperature Sensor 7, Location Unknown, Box 3, Port 2I, "
        "Chassis Box1, Slot 4)"},
       // Without its first character a port has no name.
       {0x0D, P(3, 4, 0, 0, 0, 0, 0, 'E', 1, "", "Bay X"),
        "Internal Storage Enclosure Fan Failure (Fan 0, Location System, Box 1, Port , Bay X)"},
       {0x0D, P(3, 4, 0, 0, 1, 0, 'E', 0, 1, "", ""),
        "Internal Storage Enclosure Fan Failure (Fan Module 1, Location System, Box 1, Port E, Slot 4)"},
       {0x0D, P(3, 4, 0, 1, 2, 0, Raw{"1E"}, 1, "", ""),
        "Internal Storage Enclosure Fan Failure (Fan 1, Fan Module 2, Location System, Box 1, Port 1E, Slot "
        "4)"},
       {0x0F, P(3, 4, 0, 255, 5, "", ""),
        "Internal Storage Controller Overheating (Temperature Sensor 255, Location Storage, Slot 4)"},
       {0x07, P(9, 9, 9, 1, 8), "System Fans Not Redundant (Shared Location Ambient)"}});
}

TEST(ChassisWordings, OtherChassisHaveNone) {
  for (const int type : {0, 6, 255}) {
    const std::string payload = P(type, 1, 1, 1, 1, "", "");
    for (const int code : {0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x0E}) {
      ExpectLines(0x02, {{code, payload, Fallback(0x02, code)}});
    }
    for (const int code : {1, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16}) {
      ExpectLines(0x0B, {{code, payload, Fallback(0x0B, code)}});
    }
  }
}

}  // namespace
