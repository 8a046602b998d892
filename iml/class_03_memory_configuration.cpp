// Faults during memory set-up and training.
#include "iml/memory_events.h"

namespace iml {

void translate_memory_configuration(uint16_t event_code, const EVT_FREE_FORM *event_data, EventText &text) {
  const EVT_MAIN_MEMORY_DIMM_CONFIG &record = event_data->MainMemDimmConfig;
  const EVT_MAIN_MEMORY_HIGH_ECC_RATE_RESEAT &reseat = event_data->MainMemHighEccRate;
  const auto board = [&](FormatString<uint8_t> message) { text.format(message, record.bBoard); };
  const auto module = [&](FormatString<uint8_t, uint8_t> message) {
    text.format(message, record.bBoard, record.bModule);
  };
  switch (event_code) {
    case 0x20: text.append("No system memory found"); break;
    case 0x21: module("Incompatible memory module (Board %d, Memory Module %d)"); break;
    case 0x22:
      module("Lockstep memory module pair not same type and size (Board %d, Memory Module %d)");
      break;
    case 0x23: module("Rank disabled to allow memory operation (Board %d, Memory Module %d)"); break;
    case 0x24: module("Memory module failure prevented bus training (Board %d, Memory Module %d)"); break;
    case 0x25: module("Memory module not supported (Board %d, Memory Module %d)"); break;
    case 0x26: module("Memory module not populated correctly (Board %d, Memory Module %d)"); break;
    case 0x27: module("Memory module calibration failed (Board %d, Memory Module %d)"); break;
    case 0x28: board("Memory module distribution not supported in current interleave mode (Board %d)"); break;
    case 0x29: board("Quad memory module loading order violated (Board %d)"); break;
    case 0x2A:
      module(
          "Memory module thermal throttling not sufficient for installed module (Board %d, Memory Module %d)");
      break;
    case 0x2B: board("SMI lane failover detected, spare SMI lane in use (Board %d)"); break;
    case 0x2C: board("Memory module bus termination fault (Board %d)"); break;
    case 0x2D: text.append("Unknown memory warning"); break;
    case 0x2E: board("SMI link training failed (Board %d)"); break;
    case 0x2F: board("Memory built-in self test failed (Board %d)"); break;
    case 0x30: board("Memory module rank not found (Board %d)"); break;
    case 0x31: board("SMBus access fault (Board %d)"); break;
    case 0x32: board("Memory board configuration through SMI link failed (Board %d)"); break;
    case 0x33: board("Memory bus training failed (Board %d)"); break;
    case 0x34: board("Memory board reset failed (Board %d)"); break;
    case 0x35: module("Memory SPD CRC failure (Board %d, Memory Module %d)"); break;
    case 0x36: text.append("ICH chip initialization failure"); break;
    case 0x37: board("Memory board mixing found (Board %d)"); break;
    case 0x38: text.append("Early memory test failure"); break;
    case 0x39: board("Memory data calibration failure (Board %d)"); break;
    case 0x3A: text.append("Memory data structure failure"); break;
    case 0x3B: board("Inband configuration access timeout (Board %d)"); break;
    case 0x3C: board("DIMM not found on memory board (Board %d)"); break;
    case 0x3D: board("Memory board not present (Board %d)"); break;
    case 0x3E: board("Memory board initialization failure (Board %d)"); break;
    case 0x3F: board("DIMM low voltage failure (Board %d)"); break;
    case 0x40: board("DIMM clock ratio not found (Board %d)"); break;
    case 0x41:
      text.format(
          "High rate of corrected memory errors, performance may be degraded (%s %u, Memory Module %u). Action: Reseat the memory module. If the errors persist, contact Support.",
          get_cpu_board(reseat.bCPUBoardFlag), reseat.bCPUBoardId, reseat.bMemModuleId);
      break;
    default: break;
  }
}

}  // namespace iml
