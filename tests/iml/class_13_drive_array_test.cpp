#include "tests/iml/event_case.h"

using namespace event_case;

namespace {

constexpr int kDriveArray = 0x13;

TEST(DriveArray, UnknownCodesHaveNoText) {
  for (const int code : {0x00, 0x05, 0x06, 0x12, 0x101}) {
    ExpectLines(kDriveArray, {{code, P(2, 1, 1, 1, 1, 1, 1, "A", "B"), Fallback(kDriveArray, code)}});
  }
}

TEST(DriveArray, ControllersShowTheirChassisByNumber) {
  ExpectLines(
      kDriveArray,
      {{0x01, P(9, 0, 0, 255, "A"), "Drive Array Controller Failure (Slot Unknown)"},
       {0x01, P(9, 255, 0, 2, "A"), "Drive Array Controller Failure (Chassis A, Slot 2)"},
       {0x02, P(9, 3, 255, 4, ""), "Drive Array Device Failure (Slot 3, Bus Unknown, Bay 4)"},
       {0x02, P(9, 0, 1, 255, "A"), "Drive Array Device Failure (Chassis A, Slot 0, Bus 1, Bay Unknown)"},
       {0x03, P(9, 0, 1, 2, "A"), "Drive Array Cache Module Battery Failure (Bus 1, Slot 2)"},
       {0x03, P(9, 255, 1, 2, ""),
        "Drive Array Cache Module Battery Failure (Chassis Unknown, Bus 1, Slot 2)"},
       {0x04, P(9, 0, 0, "A"), "Drive Array Controllers No Longer Redundant"},
       {0x04, P(9, 5, 0, ""), "Drive Array Controllers No Longer Redundant (Chassis 5)"},
       {0x09, P(9, 5, 0, "A", ""), "Drive Array Controllers No Longer Redundant (Chassis A, Slot 5)"},
       // The slot is the record's own, not the chassis's.
       {0x0E, P(9, 5, 0, 255, "", ""), "Drive Array Controller Cache Module Not Installed (Slot Unknown)"},
       {0x10, P(9, 5, 0, 6, "A", ""),
        "Drive Array Controller Cache Module Not Compatible With Controller (Chassis A, Slot 6)"}});
}

TEST(DriveArray, StorageEnclosuresShowPlainNumbersAndAPort) {
  const std::string drive = P(2, 255, 0, 5, Raw{"1E"}, 1, "", "");
  ExpectLines(
      kDriveArray,
      {{0x07, drive, "External Storage Enclosure Device Failure (Bay 5, Box 1, Port 1E, Slot Unknown)"},
       {0x0D, drive, "External Storage Enclosure Device Failure (Bay 5, Box 1, Port 1E, Slot Unknown)"},
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

TEST(DriveArray, EndsOfADisabledPhy) {
  const auto ends = [](int source, int destination) {
    return Line(Record(kDriveArray, 0x0F, P(2, 1, 0, Raw{"1E"}, source, destination, "", "")));
  };
  const auto line = [](const std::string &between) {
    return "External Storage Enclosure PHY Disabled (Between " + between + ", Port 1E, Slot 1)";
  };
  EXPECT_EQ(ends(7, 253), line("SAS Controller and Connector"));
  EXPECT_EQ(ends(254, 5), line("Protocol Adapter and Expander"));
  EXPECT_EQ(ends(1, 15), line("Physical SATA Device and Unsupported Device"));
  for (const int unknown : {0, 8, 14, 16, 252, 255}) {
    EXPECT_EQ(ends(unknown, 6), line("Unknown Device and Storage Enclosure Processor"));
  }
}

// Its devices are coded differently: 5, 16 and 254 are not what they are above.
TEST(DriveArray, EndsOfAPhyLink) {
  const auto ends = [](int detecting, int attached) {
    return Line(
        Record(kDriveArray, 0x11, P(3, 1, 0, Raw{"1E"}, 1, 2, detecting, 255, 4, attached, "A", "B")));
  };
  const auto line = [](const std::string &detecting, const std::string &attached) {
    return "Internal Storage Enclosure PHY Link Error (Detected By " + detecting + ", Attached To " +
           attached + ", Port 1E, Chassis A, B)";
  };
  EXPECT_EQ(ends(0x20, 5), line("Unknown Device Type 0x20, Box 1, Bay 2", "SAS Expander, Box 255, Bay 4"));
  EXPECT_EQ(ends(254, 17), line("SAS Controller", "Unknown Device Type"));
  EXPECT_EQ(ends(16, 1), line("Switch Expander", "SATA Device, Box 255, Bay 4"));
}

}  // namespace
