// Faults during memory set-up and training.
#include <iterator>

#include "iml/class_decoders.h"
#include "iml/eventstr_helpers.h"

namespace iml {
namespace {

constexpr unsigned kFirstFault = 0x20;

// By event code. The texts are board and module.
constexpr Wording<2, 0> kFaults[] = {
    /* 0x20 */ "No system memory found",
    /* 0x21 */ "Incompatible memory module (Board %s, Memory Module %s)",
    /* 0x22 */ "Lockstep memory module pair not same type and size (Board %s, Memory Module %s)",
    /* 0x23 */ "Rank disabled to allow memory operation (Board %s, Memory Module %s)",
    /* 0x24 */ "Memory module failure prevented bus training (Board %s, Memory Module %s)",
    /* 0x25 */ "Memory module not supported (Board %s, Memory Module %s)",
    /* 0x26 */ "Memory module not populated correctly (Board %s, Memory Module %s)",
    /* 0x27 */ "Memory module calibration failed (Board %s, Memory Module %s)",
    /* 0x28 */ "Memory module distribution not supported in current interleave mode (Board %s)",
    /* 0x29 */ "Quad memory module loading order violated (Board %s)",
    /* 0x2A */
    "Memory module thermal throttling not sufficient for installed module (Board %s, Memory Module %s)",
    /* 0x2B */ "SMI lane failover detected, spare SMI lane in use (Board %s)",
    /* 0x2C */ "Memory module bus termination fault (Board %s)",
    /* 0x2D */ "Unknown memory warning",
    /* 0x2E */ "SMI link training failed (Board %s)",
    /* 0x2F */ "Memory built-in self test failed (Board %s)",
    /* 0x30 */ "Memory module rank not found (Board %s)",
    /* 0x31 */ "SMBus access fault (Board %s)",
    /* 0x32 */ "Memory board configuration through SMI link failed (Board %s)",
    /* 0x33 */ "Memory bus training failed (Board %s)",
    /* 0x34 */ "Memory board reset failed (Board %s)",
    /* 0x35 */ "Memory SPD CRC failure (Board %s, Memory Module %s)",
    /* 0x36 */ "ICH chip initialization failure",
    /* 0x37 */ "Memory board mixing found (Board %s)",
    /* 0x38 */ "Early memory test failure",
    /* 0x39 */ "Memory data calibration failure (Board %s)",
    /* 0x3A */ "Memory data structure failure",
    /* 0x3B */ "Inband configuration access timeout (Board %s)",
    /* 0x3C */ "DIMM not found on memory board (Board %s)",
    /* 0x3D */ "Memory board not present (Board %s)",
    /* 0x3E */ "Memory board initialization failure (Board %s)",
    /* 0x3F */ "DIMM low voltage failure (Board %s)",
    /* 0x40 */ "DIMM clock ratio not found (Board %s)",
};

void translate_high_error_rate(EventText &text, const EVT_MAIN_MEMORY_HIGH_ECC_RATE_RESEAT &record) {
  text.format(
      "High rate of corrected memory errors, performance may be degraded (%s %u, Memory Module %u). Action: Reseat the memory module. If the errors persist, contact Support.",
      get_cpu_board(record.bCPUBoardFlag), record.bCPUBoardId, record.bMemModuleId);
}

}  // namespace

// Board and module 255 are shown as numbers.
void translate_memory_configuration(EventText &text, uint16_t event_code, const EVT_FREE_FORM &data) {
  const unsigned fault = event_code - kFirstFault;
  if (event_code == 0x41) {
    translate_high_error_rate(text, data.MainMemHighEccRate);
  } else if (fault < std::size(kFaults)) {
    Scratch board;
    Scratch module;
    board.format("%u", data.MainMemDimmConfig.bBoard);
    module.format("%u", data.MainMemDimmConfig.bModule);
    text.format(kFaults[fault], {board.c_str(), module.c_str()});
  }
}

}  // namespace iml
