// The small classes of hardware: cache memory, processors, host bus, EISA and PCI bus, expansion slots.
#include "tests/iml/event_case.h"

using namespace event_case;

namespace {

// The registers of a machine-check bank, each half different from all others.
const std::string kBank = P(U32(0x0000002A), U32(0x00000005), U32(0x00010005), U32(0xB2000000),
                            U32(0x89ABCDEF), U32(0x01234567), U32(0x00000086), U32(0xFFFFFFFF));
const std::string kBankText =
    "APIC ID 0x0000002A, Bank 0x00000005, Status 0xB2000000'00010005, Address 0x01234567'89ABCDEF, Misc "
    "0xFFFFFFFF'00000086)";

TEST(Processor, NamesBoardBeforeSocketAndTrayAroundProcessor) {
  ExpectLines(
      0x05,
      {{1, P(2, 255, 9), "Processor Correctable error threshold exceeded (Board Unknown, Processor 2)"},
       {2, P(255, 0, 9), "Processor Uncorrectable internal error (Board 0, Processor Unknown)"},
       {4, P(255, 3, 9, 7),
        "Processor Correctable error threshold exceeded (Proc 7 (Unknown Tray, Processor Unknown))"},
       {4, P(1, 1, 9, 255),
        "Processor Correctable error threshold exceeded (Proc Unknown (Upper Tray, Processor 1))"},
       {5, P(1, 2, 9, 254), "Processor Uncorrectable internal error (Proc 254 (Lower Tray, Processor 1))"},
       {7, P(1, 1), Fallback(0x05, 7)},
       {0x103, P(1, 1), Fallback(0x05, 0x103)}});
}

TEST(Processor, MachineChecksShowRegistersHighHalfFirst) {
  ExpectLines(
      0x05,
      {{3, P(255, 1) + kBank, "Uncorrectable Machine Check Exception (Board 255, Processor 1, " + kBankText},
       {6, P(2, 3) + kBank + P(255),
        "Uncorrectable Machine Check Exception (Proc 255 (Lower Tray, Processor 3), " + kBankText}});
}

TEST(CacheMemory, NamesTheSocket) {
  ExpectLines(0x04, {{1, P(255), "Accelerator Cache Memory Parity Error (Socket Unknown)"},
                     {2, P(1), Fallback(0x04, 2)}});
}

TEST(HostBus, KnowsTwoParityErrorsAndShowsStatusWords) {
  ExpectLines(0x06, {{1, P(0), "Unrecoverable Host Bus Address Parity error"},
                     {1, P(1), "Unrecoverable Host Bus Data Parity error"},
                     {1, P(2), Fallback(0x06, 1)},
                     {2, P(U32(0xFFFFFFFF)), "Unrecoverable Intermodule Bus error (Error code 0xFFFFFFFF)"},
                     {3, P(U32(0xAB), U32(0x12345678)),
                      "Uncorrectable QuickPath Interconnect Error (Local interface error status 0x000000AB, "
                      "Protocol error status 0x12345678)"},
                     {5, P(0), Fallback(0x06, 5)}});
}

TEST(EisaBus, NamesTheSlotWhereThereIsOne) {
  ExpectLines(0x07, {{1, P(255), "EISA Expansion Bus Master Timeout (Slot Unknown)"},
                     {3, P(3), "EISA Expansion Board Error (Slot 3)"},
                     {4, P(3), "EISA Expansion Bus Arbitration Error"},
                     {5, P(3), Fallback(0x07, 5)}});
}

TEST(PciBus, NamesTheChassisUnlessItIsTheServer) {
  ExpectLines(0x08,
              {{1, P(7, 0, 7, 3, 255, 2, 0), "PCI Bus Error (Slot 3, Bus Unknown, Device 2, Function 0)"},
               {1, P(0, 255, 0, 255, 1, 255, 255),
                "PCI Bus Error (Chassis Unknown, Slot Unknown, Bus 1, Device Unknown, Function Unknown)"},
               {3, P(0, 1), Fallback(0x08, 3)}});
}

TEST(PciBus, ExpressErrorsShowPlainNumbersExceptTheSlot) {
  ExpectLines(
      0x08, {{2, P(0, 0x80, 3, 1, U32(0x00100000)),
              "Uncorrectable PCI Express Error (Embedded device, Bus 128, Device 3, Function 1, Error status "
              "0x00100000)"},
             {2, P(255, 255, 255, 255, U32(0xFFFFFFFF)),
              "Uncorrectable PCI Express Error (Slot Unknown, Bus 255, Device 255, Function 255, Error "
              "status 0xFFFFFFFF)"}});
}

TEST(ExpansionSlot, CodesEndAtTheTable) {
  ExpectLines(0x09, {{0, P(1, 0, 0, 1), Fallback(0x09, 0)},
                     {1, P(1, 0, 9, 1), "Slot Release Lever Opened (Slot 1)"},
                     {5, P(0, 2, 0, 255), "Slot Power Fault (Chassis 2, Slot Unknown)"},
                     {6, P(0, 255, 0, 0), "Slot Power Up Fault (Chassis Unknown, Slot 0)"},
                     {9, P(1, 1, 9, 2), "Adapter Failure (Chassis 1, Slot 2)"},
                     {10, P(1, 0, 0, 1), Fallback(0x09, 10)},
                     {0x101, P(1, 0, 0, 1), Fallback(0x09, 0x101)}});
}

}  // namespace
