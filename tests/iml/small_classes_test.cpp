// The classes of a few events each.
#include "tests/iml/event_case.h"

using namespace event_case;

namespace {

TEST(SmallClasses, ShowTextsAsStored) {
  ExpectLines(0x0D, {{2, P(" at  %s"), "ASR Lockup Detected:  at  %s"}});
  ExpectLines(0x0E, {{1, P("Oops"), "Operating System failure (Oops)"},
                     {3, P(255, "#MF"), "Fatal Exception (Number Unknown, Cause #MF)"}});
  ExpectLines(0x14, {{7, P(" a  %s "), "Server Critical Fault (Service Information:  a  %s )"}});
  ExpectLines(0x20, {{1, P("%s%n"), "ROM flashed (%s%n)"}, {2, P(""), "Firmware flashed ()"}});
  ExpectLines(0x21, {{1, P("Administrator"), "IML Cleared (Administrator)"}});
  ExpectLines(0x28, {{1, P("no media"), "Boot From Flash Error (no media)"}});
}

TEST(PostMessages, WhiteSpaceIsFolded) {
  ExpectLines(0x0A, {{1, P(5, "  Memory   test \r\n failed  "), "POST Error: Memory test failed"},
                     {1, P(' ', Raw{"\t\r\n"}), "POST Error: "},
                     {1, P(Fill(212, 'x')), "POST Error: " + std::string(211, 'x')},
                     {2, P(" a"), "POST Information: a"},
                     {3, P("5 %s\v\f%n\xA0"), "Option ROM POST Error: 5 %s %n\xA0"},
                     {4, P(Fill(211, 'x'), ' '), "Option ROM POST Information: " + std::string(211, 'x')}});
}

TEST(Processor, NamesBoardOrTrayAndProcessor) {
  ExpectLines(
      0x05, {{1, P(2, 255), "Processor Correctable error threshold exceeded (Board Unknown, Processor 2)"},
             {2, P(255, 0), "Processor Uncorrectable internal error (Board 0, Processor Unknown)"},
             {4, P(255, 3, 9, 254),
              "Processor Correctable error threshold exceeded (Proc 254 (Unknown Tray, Processor Unknown))"},
             {5, P(1, 2, 9, 255),
              "Processor Uncorrectable internal error (Proc Unknown (Lower Tray, Processor 1))"}});
  // Machine checks show plain numbers, and the high half of a register first.
  const Raw bank = {P(U32(42), U32(5), U32(0x00010005), U32(0xB2000000), U32(0x89ABCDEF), U32(0x01234567),
                      U32(0x00000086), U32(0xFFFFFFFF))};
  const std::string registers =
      "APIC ID 0x0000002A, Bank 0x00000005, Status 0xB2000000'00010005, Address 0x01234567'89ABCDEF, Misc "
      "0xFFFFFFFF'00000086)";
  const std::string check = "Uncorrectable Machine Check Exception ";
  ExpectLines(0x05, {{3, P(255, 1, bank), check + "(Board 255, Processor 1, " + registers},
                     {6, P(1, 3, bank, 255), check + "(Proc 255 (Upper Tray, Processor 3), " + registers}});
}

TEST(SmallClasses, ShowNumbers) {
  ExpectLines(0x04, {{1, P(255), "Accelerator Cache Memory Parity Error (Socket Unknown)"}});
  ExpectLines(0x06, {{1, P(0), "Unrecoverable Host Bus Address Parity error"},
                     {1, P(1), "Unrecoverable Host Bus Data Parity error"},
                     {1, P(2), Fallback(0x06, 1)},
                     {2, P(U32(0xFFFFFFFF)), "Unrecoverable Intermodule Bus error (Error code 0xFFFFFFFF)"},
                     {3, P(U32(0xAB), U32(0x12345678)),
                      "Uncorrectable QuickPath Interconnect Error (Local interface error status 0x000000AB, "
                      "Protocol error status 0x12345678)"}});
  for (const int chipset : {0x06, 0x14}) {
    ExpectLines(chipset,
                {{4, P(U32(1), U32(2)),
                  "Uncorrectable Chipset Error (Error status 1 0x00000001, Error status 2 0x00000002)"}});
  }
  ExpectLines(0x07, {{1, P(255), "EISA Expansion Bus Master Timeout (Slot Unknown)"},
                     {3, P(3), "EISA Expansion Board Error (Slot 3)"}});
  ExpectLines(0x26, {{1, P(4, 255, 0, 254, Raw{"1I"}, 255, "N", ""),
                      " Storage Enclosure Device Not Authenticated As Genuine (Bay 254, Box 255, Port 1I, "
                      "Chassis N, Slot Unknown)"}});
  ExpectLines(0x27, {{3, P(U16(65535)),
                      "Power Cap Cannot Be Reached With Current System Configuration (Power Cap 65535W)"}});
  // Kinds of interlock faults above the last one have no prefix.
  ExpectLines(0x29,
              {{1, P(0, "Riser"), "Improperly seated or missing device (Unknown interlock type, Riser)"},
               {1, P(2, "Fan Module 3"), "Improperly seated or missing device (Runtime fault, Fan Module 3)"},
               {1, P(3, "Riser"), "Improperly seated or missing device (Power on fault, Riser)"},
               {1, P(4, ""), "Improperly seated or missing device ()"}});
}

TEST(SmallClasses, ChassisZeroIsNotNamed) {
  ExpectLines(0x08,
              {{1, P(7, 0, 7, 3, 255, 2, 0), "PCI Bus Error (Slot 3, Bus Unknown, Device 2, Function 0)"},
               {1, P(0, 255, 0, 255, 1, 255, 255),
                "PCI Bus Error (Chassis Unknown, Slot Unknown, Bus 1, Device Unknown, Function Unknown)"},
               // Of an Express error only the slot may be unknown.
               {2, P(0, 0x80, 3, 1, U32(0x00100000)),
                "Uncorrectable PCI Express Error (Embedded device, Bus 128, Device 3, Function 1, Error "
                "status 0x00100000)"},
               {2, P(255, 255, 255, 255, U32(0xFFFFFFFF)),
                "Uncorrectable PCI Express Error (Slot Unknown, Bus 255, Device 255, Function 255, Error "
                "status 0xFFFFFFFF)"}});
  ExpectLines(0x09, {{1, P(1, 0, 9, 1), "Slot Release Lever Opened (Slot 1)"},
                     {9, P(0, 255, 9, 2), "Adapter Failure (Chassis Unknown, Slot 2)"}});
  ExpectLines(0x12, {{1, P(9, 0, 9, 255, "A"), "SCSI Controller Failure (Slot Unknown)"},
                     {1, P(0, 2, 9, 4, "A"), "SCSI Controller Failure (Chassis A, Slot 4)"},
                     // A device reads slot and bus from the chassis.
                     {2, P(9, 255, 0, 1, "A"), "SCSI Device Failure (Chassis A, Slot Unknown, Bus 0, Bay 1)"},
                     {3, P(9, 0, 9, "A"), "SCSI Controllers No Longer Redundant"},
                     {3, P(0, 1, 9, "A"), "SCSI Controllers No Longer Redundant (Chassis A)"}});
}

TEST(UnrecoverableError, NmiSourcesWithoutANameShowTheDataAlone) {
  const std::string nmi = "An Unrecoverable System Error (NMI) has occurred (";
  for (const int source : {0x00, 0x1A, 0x1B, 0x1C, 0x28, 0x29, 0x2A, 0x2B, 0x2C, 0xFF}) {
    const std::string name = source == 0x1B   ? "ASR timeout NMI, "
                             : source == 0x29 ? "Brix NMI messaging, "
                             : source == 0x2B ? "Brix application watchdog timeout NMI, "
                                              : "";
    char data[64];
    std::snprintf(data, sizeof data, "Service Information: 0x1B1B1B%02X, 0x0000001B)", source);
    ExpectLines(0x14, {{3, P(source, Fill(3, 0x1B), U32(0x1B)), nmi + name + data}});
  }
}

TEST(OperatingSystem, CausesAndZonesWithoutAWording) {
  const std::string shutdown = "Automatic Operating System Shutdown";
  ExpectLines(0x0E, {{2, P(0x01), shutdown + " Initiated Due to Fan Failure"},
                     {2, P(0x05), shutdown + " Initiated Due to System Running On Battery Backup Unit"},
                     {2, P(0x81), shutdown + " Aborted"},
                     {2, P(0x88), shutdown + " Due to Power Supply Failure Aborted"}});
  for (const int cause : {0x00, 0x06, 0x7F, 0x80, 0x87, 0x89, 0xFF}) {
    ExpectLines(0x0E, {{2, P(cause), shutdown}});
  }
  const std::string slot = " Shutdown Via Power Management Software (Slot ";
  ExpectLines(0x0E, {{5, P(1, 2, 3, 255, 13), "Server Blade Enclosure Network Component" + slot + "Unknown)"},
                     {5, P(1, 2, 3, 0, 14), "Server Blade Enclosure Blade" + slot + "0)"},
                     {5, P(1, 2, 3, 1, 15), Fallback(0x0E, 5)}});
}

TEST(NetworkAdapter, OnlyCodes6And7ShowTheDetail) {
  const std::string reduced = "Network Adapters Redundancy Reduced (";
  ExpectLines(0x11,
              {{3, P(0, 3, 255, 2, ""), "Network Adapter Transmit Timeout (Chassis 3, Slot 2, Port Unknown)"},
               {2, P(9, 0, 1, 2, "A", "T"), "Network Adapter Link Down (Slot 2, Port 1)"},
               {6, P(0, 3, 1, 2, "A", "T"), "Network Adapter Link Down (Chassis A, Slot 2, Port 1), T"},
               {5, P(0, 255, 1, 2, "", "T"), reduced + "Chassis Unknown, Slot 2, Port 1)"},
               {7, P(0, 0, 1, 2, "", "T"), reduced + "Slot 2, Port 1), T"},
               {7, P(0, 0, 1, 255, Fill(208, 'x')), reduced + "Slot Unknown, Port 1)"}});
}

TEST(NonVolatileMemory, PlacesTheModule) {
  const auto expect_place = [](int code, const std::string &payload, const char *place) {
    EXPECT_THAT(Line(0x2A, code, payload), testing::HasSubstr(place)) << code;
  };
  for (const int code : {1, 3, 4, 5, 6, 7, 9, 11, 12, 13}) {
    expect_place(code, P(2, 0, 255, "Serial123"),
                 " (Board/CPU 0, Memory Module 255, Serial Number Serial12). ");
    expect_place(code, P(1, 0, 3, ""), " (Processor 0, Memory Module 3). ");
  }
  for (const int code : {2, 10}) {
    expect_place(code, P(0, 0, 255, 9, "S"),
                 " (Board 0, Memory Module 255, Retry count 9, Serial Number S). ");
    expect_place(code, P(0, 0, 0, 0, ""), " (Board 0, Memory Module 0, Retry count 0). ");
  }
}

}  // namespace
