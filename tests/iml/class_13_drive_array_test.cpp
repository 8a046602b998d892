#include "tests/iml/event_case.h"

using namespace event_case;

namespace {

constexpr int kDriveArray = 0x13;

TEST(DriveArray, ControllersShowTheirChassisByNumber) {
  ExpectLines(
      kDriveArray,
      {{0x01, P(9, 0, 0, 255, "A"), "Drive Array Controller Failure (Slot Unknown)"},
       {0x01, P(9, 255, 0, 2, "A"), "Drive Array Controller Failure (Chassis A, Slot 2)"},
       {0x02, P(9, 0, 1, 255, "A"), "Drive Array Device Failure (Chassis A, Slot 0, Bus 1, Bay Unknown)"},
       {0x03, P(9, 0, 1, 2, "A"), "Drive Array Cache Module Battery Failure (Bus 1, Slot 2)"},
       {0x03, P(9, 5, 1, 2, "A"), "Drive Array Cache Module Battery Failure (Chassis A, Bus 1, Slot 2)"},
       {0x04, P(9, 0, 0, "A"), "Drive Array Controllers No Longer Redundant"},
       {0x04, P(9, 5, 0, ""), "Drive Array Controllers No Longer Redundant (Chassis 5)"},
       {0x09, P(9, 5, 0, "A", ""), "Drive Array Controllers No Longer Redundant (Chassis A, Slot 5)"},
       // The slot is the record's own, not the chassis's.
       {0x0E, P(9, 5, 0, 255, "", ""), "Drive Array Controller Cache Module Not Installed (Slot Unknown)"},
       {0x10, P(9, 5, 0, 6, "A", ""),
        "Drive Array Controller Cache Module Not Compatible With Controller (Chassis A, Slot 6)"}});
}

TEST(DriveArray, StorageEnclosuresShowPlainNumbersAndAPort) {
  ExpectLines(
      kDriveArray,
      {{0x07, P(2, 255, 0, 5, Raw{"1E"}, 1, "", ""),
        "External Storage Enclosure Device Failure (Bay 5, Box 1, Port 1E, Slot Unknown)"},
       {0x0C, P(4, 1, 0, 5, Raw{"1E"}, 0, "", "B"),
        " Storage Enclosure Device SMART Wear Error (Bay 5, Box 0, Port 1E, B)"},
       {0x08, P(2, 1, 0, Raw{"2I"}, 3, 4, 255, "A", ""),
        "External Storage Enclosure PHY Link Error (PHY 255, Expander 4, Box 3, Port 2I, Chassis A, Slot 1)"},
       {0x0A, P(3, 1, 0, Raw{"2I"}, 3, 9, "A", "B"),
        "Internal Storage Enclosure PHY Link Error (Switch expander to storage box, Box 3, Port 2I, Chassis "
        "A, B)"},
       {0x0A, P(0, 1, 0, Raw{"2I"}, 3, 10, "", ""),
        " Storage Enclosure PHY Link Error (Error path unknown, Box 3, Port 2I, Slot 1)"},
       {0x0B, P(2, 1, 0, Raw{"2I"}, 3, "", "B"),
        "External SAS Array Storage Enclosure Processor Failure (Box 3, Port 2I, B)"}});
}

// The devices of a PHY link are coded differently: 5, 16 and 254 are not what they are at a disabled PHY.
TEST(DriveArray, NamesTheDevicesAtTheEndsOfAPhy) {
  const auto disabled = [](int source, int destination, const std::string &ends) {
    ExpectLines(kDriveArray,
                {{0x0F, P(2, 1, 0, Raw{"1E"}, source, destination, "", ""),
                  "External Storage Enclosure PHY Disabled (Between " + ends + ", Port 1E, Slot 1)"}});
  };
  disabled(7, 253, "SAS Controller and Connector");
  disabled(254, 5, "Protocol Adapter and Expander");
  for (const int unknown : {0, 8, 14, 16, 252, 255}) {
    disabled(unknown, 15, "Unknown Device and Unsupported Device");
  }
  const auto link = [](int detecting, int attached, const std::string &ends) {
    ExpectLines(kDriveArray, {{0x11, P(3, 1, 0, Raw{"1E"}, 1, 2, detecting, 255, 4, attached, "A", "B"),
                               "Internal Storage Enclosure PHY Link Error (Detected By " + ends +
                                   ", Port 1E, Chassis A, B)"}});
  };
  link(0x20, 5, "Unknown Device Type 0x20, Box 1, Bay 2, Attached To SAS Expander, Box 255, Bay 4");
  link(254, 17, "SAS Controller, Attached To Unknown Device Type");
  link(16, 1, "Switch Expander, Attached To SATA Device, Box 255, Bay 4");
}

}  // namespace
