// POST messages, recovery, operating system, network adapters, SCSI, unrecoverable errors.
#include "tests/iml/event_case.h"

using namespace event_case;

namespace {

TEST(PostMessages, WhiteSpaceIsFolded) {
  ExpectLines(0x0A, {{1, P(5, "  Memory   test   failed  "), "POST Error: Memory test failed"},
                     {1, P(' ', Raw{"\t\r\n"}), "POST Error: "},
                     {2, P(""), "POST Information: "},
                     {3, P("5 %s\v\f%n"), "Option ROM POST Error: 5 %s %n"},
                     {4, P(" a"), "Option ROM POST Information: a"},
                     {5, P("a"), Fallback(0x0A, 5)}});
}

TEST(PostMessages, UnterminatedTextEndsWithThePayload) {
  ExpectLines(0x0A, {{1, P(Fill(212, 'x')), "POST Error: " + std::string(211, 'x')},
                     {4, P(Fill(211, 'x'), ' '), "Option ROM POST Information: " + std::string(211, 'x')}});
}

TEST(UnrecoverableError, NmiSourcesWithoutANameShowTheDataAlone) {
  const auto line = [](const std::string &detail) {
    return "An Unrecoverable System Error (NMI) has occurred (" + detail + ")";
  };
  ExpectLines(
      0x14,
      {{3, P(U32(0x0000001B), U32(0)), line("ASR timeout NMI, Service Information: 0x0000001B, 0x00000000")},
       {3, P(U32(0xABCDEF29), U32(7)),
        line("Brix NMI messaging, Service Information: 0xABCDEF29, 0x00000007")},
       {3, P(U32(0x2B), U32(0xFFFFFFFF)),
        line("Brix application watchdog timeout NMI, Service Information: 0x0000002B, 0xFFFFFFFF")}});
  for (const int source : {0x00, 0x1A, 0x1C, 0x28, 0x2A, 0x2C, 0xFF}) {
    char detail[64];
    std::snprintf(detail, sizeof detail, "Service Information: 0x1B1B1B%02X, 0x0000001B", source);
    ExpectLines(0x14, {{3, P(source, Fill(3, 0x1B), U32(0x1B)), line(detail)}});
  }
}

TEST(UnrecoverableError, OthersShowWhatTheyCarry) {
  ExpectLines(0x14,
              {{2, P("x"), "An Unrecoverable System Error (BINIT) has occurred"},
               {5, P("x"),
                "Unrecoverable System Error (NMI) has occurred.  System Firmware will log additional "
                "details in a separate IML entry if possible"},
               {6, P("x"), "Corrupted Data Detected.  Refer to previous events to determine the source"},
               {7, P(" a  %s "), "Server Critical Fault (Service Information:  a  %s )"},
               {8, P("x"), Fallback(0x14, 8)}});
}

TEST(Asr, LockupShowsItsTextAsStored) {
  ExpectLines(0x0D, {{2, P(" at  %s"), "ASR Lockup Detected:  at  %s"},
                     {3, P("x"), "ASR Reset Limit Detected by System ROM"},
                     {4, P("x"), Fallback(0x0D, 4)}});
}

TEST(OperatingSystem, FailuresAndSwitches) {
  ExpectLines(0x0E, {{1, P("Oops"), "Operating System failure (Oops)"},
                     {3, P(255, "#MF"), "Fatal Exception (Number Unknown, Cause #MF)"},
                     {4, P("x"), "User Initiated NMI Switch"},
                     {6, P("x"), "User Remotely Initiated NMI Switch"},
                     {7, P("x"), Fallback(0x0E, 7)}});
}

TEST(OperatingSystem, ShutdownCausesWithoutAWordingShowTheBareMessage) {
  const std::string shutdown = "Automatic Operating System Shutdown";
  ExpectLines(0x0E, {{2, P(0x01), shutdown + " Initiated Due to Fan Failure"},
                     {2, P(0x05), shutdown + " Initiated Due to System Running On Battery Backup Unit"},
                     {2, P(0x81), shutdown + " Aborted"},
                     {2, P(0x85), shutdown + " Initiated by a Soft Power Down"},
                     {2, P(0x88), shutdown + " Due to Power Supply Failure Aborted"}});
  for (const int cause : {0x00, 0x06, 0x7F, 0x80, 0x87, 0x89, 0xFF}) {
    ExpectLines(0x0E, {{2, P(cause), shutdown}});
  }
}

TEST(OperatingSystem, PowerSheddingKnowsNetworkAndBladeSlots) {
  ExpectLines(
      0x0E,
      {{5, P(1, 2, 3, 255, 13, "x"),
        "Server Blade Enclosure Network Component Shutdown Via Power Management Software (Slot Unknown)"},
       {5, P(1, 2, 3, 0, 14, "x"),
        "Server Blade Enclosure Blade Shutdown Via Power Management Software (Slot 0)"},
       {5, P(1, 2, 3, 1, 15, "x"), Fallback(0x0E, 5)}});
}

TEST(NetworkAdapter, ChassisByNameOrNumber) {
  ExpectLines(0x11,
              {{1, P(9, 0, 1, 2, "Rack7"), "Network Adapter Fault (Slot 2, Port 1)"},
               {1, P(0, 3, 1, 2, "Rack7"), "Network Adapter Fault (Chassis Rack7, Slot 2, Port 1)"},
               {3, P(0, 3, 255, 2, ""), "Network Adapter Transmit Timeout (Chassis 3, Slot 2, Port Unknown)"},
               {4, P(0, 255, 1, 255, ""),
                "Network Adapters No Longer Redundant (Chassis Unknown, Slot Unknown, Port 1)"},
               {8, P(0, 0, 1, 2), Fallback(0x11, 8)}});
}

TEST(NetworkAdapter, OnlyCodes6And7ShowTheDetail) {
  for (const int code : {2, 6}) {
    const std::string detail = code == 6 ? ", Team 1" : "";
    ExpectLines(0x11,
                {{code, P(0, 0, 1, 2, "", "Team 1"), "Network Adapter Link Down (Slot 2, Port 1)" + detail},
                 {code, P(0, 1, 1, 2, "A", ""), "Network Adapter Link Down (Chassis A, Slot 2, Port 1)"}});
  }
  for (const int code : {5, 7}) {
    const std::string detail = code == 7 ? ", Team 1" : "";
    ExpectLines(0x11, {{code, P(0, 4, 1, 2, "A", "Team 1"),
                        "Network Adapters Redundancy Reduced (Chassis A, Slot 2, Port 1)" + detail},
                       {code, P(0, 0, 1, 2, Fill(208, 'x')),
                        "Network Adapters Redundancy Reduced (Slot 2, Port 1)"}});
  }
}

TEST(Scsi, ControllersNameTheChassisUnlessItIsTheServer) {
  ExpectLines(0x12, {{1, P(9, 0, 9, 255, "A"), "SCSI Controller Failure (Slot Unknown)"},
                     {1, P(0, 2, 9, 4, "A"), "SCSI Controller Failure (Chassis A, Slot 4)"},
                     {3, P(9, 0, 9, "A"), "SCSI Controllers No Longer Redundant"},
                     {3, P(0, 1, 9, "A"), "SCSI Controllers No Longer Redundant (Chassis A)"},
                     {4, P(0, 1, 9, "A"), Fallback(0x12, 4)}});
}

TEST(Scsi, DevicesReadSlotAndBusFromTheChassis) {
  ExpectLines(0x12, {{2, P(9, 3, 0, 255, ""), "SCSI Device Failure (Slot 3, Bus 0, Bay Unknown)"},
                     {2, P(9, 255, 255, 1, "Box1"),
                      "SCSI Device Failure (Chassis Box1, Slot Unknown, Bus Unknown, Bay 1)"}});
}

}  // namespace
