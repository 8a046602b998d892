// Faults that the firmware meets while it sets up and trains the memory.
#include "iml/memory_events.h"

namespace iml {

void TranslateMemoryConfiguration(uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString) {
  const EVT_MAIN_MEMORY_DIMM_CONFIG &record = pEventData->MainMemDimmConfig;
  const EVT_MAIN_MEMORY_HIGH_ECC_RATE_RESEAT &reseat = pEventData->MainMemHighEccRate;
  // clang-format off
  switch (wEventCode) {
    case 0x20: szString.append("No system memory found"); break;
    case 0x21: szString.format("Incompatible memory module (Board %d, Memory Module %d)", record.bBoard, record.bModule); break;
    case 0x22: szString.format("Lockstep memory module pair not same type and size (Board %d, Memory Module %d)", record.bBoard, record.bModule); break;
    case 0x23: szString.format("Rank disabled to allow memory operation (Board %d, Memory Module %d)", record.bBoard, record.bModule); break;
    case 0x24: szString.format("Memory module failure prevented bus training (Board %d, Memory Module %d)", record.bBoard, record.bModule); break;
    case 0x25: szString.format("Memory module not supported (Board %d, Memory Module %d)", record.bBoard, record.bModule); break;
    case 0x26: szString.format("Memory module not populated correctly (Board %d, Memory Module %d)", record.bBoard, record.bModule); break;
    case 0x27: szString.format("Memory module calibration failed (Board %d, Memory Module %d)", record.bBoard, record.bModule); break;
    case 0x28: szString.format("Memory module distribution not supported in current interleave mode (Board %d)", record.bBoard); break;
    case 0x29: szString.format("Quad memory module loading order violated (Board %d)", record.bBoard); break;
    case 0x2A: szString.format("Memory module thermal throttling not sufficient for installed module (Board %d, Memory Module %d)", record.bBoard, record.bModule); break;
    case 0x2B: szString.format("SMI lane failover detected, spare SMI lane in use (Board %d)", record.bBoard); break;
    case 0x2C: szString.format("Memory module bus termination fault (Board %d)", record.bBoard); break;
    case 0x2D: szString.append("Unknown memory warning"); break;
    case 0x2E: szString.format("SMI link training failed (Board %d)", record.bBoard); break;
    case 0x2F: szString.format("Memory built-in self test failed (Board %d)", record.bBoard); break;
    case 0x30: szString.format("Memory module rank not found (Board %d)", record.bBoard); break;
    case 0x31: szString.format("SMBus access fault (Board %d)", record.bBoard); break;
    case 0x32: szString.format("Memory board configuration through SMI link failed (Board %d)", record.bBoard); break;
    case 0x33: szString.format("Memory bus training failed (Board %d)", record.bBoard); break;
    case 0x34: szString.format("Memory board reset failed (Board %d)", record.bBoard); break;
    case 0x35: szString.format("Memory SPD CRC failure (Board %d, Memory Module %d)", record.bBoard, record.bModule); break;
    case 0x36: szString.append("ICH chip initialization failure"); break;
    case 0x37: szString.format("Memory board mixing found (Board %d)", record.bBoard); break;
    case 0x38: szString.append("Early memory test failure"); break;
    case 0x39: szString.format("Memory data calibration failure (Board %d)", record.bBoard); break;
    case 0x3A: szString.append("Memory data structure failure"); break;
    case 0x3B: szString.format("Inband configuration access timeout (Board %d)", record.bBoard); break;
    case 0x3C: szString.format("DIMM not found on memory board (Board %d)", record.bBoard); break;
    case 0x3D: szString.format("Memory board not present (Board %d)", record.bBoard); break;
    case 0x3E: szString.format("Memory board initialization failure (Board %d)", record.bBoard); break;
    case 0x3F: szString.format("DIMM low voltage failure (Board %d)", record.bBoard); break;
    case 0x40: szString.format("DIMM clock ratio not found (Board %d)", record.bBoard); break;
    case 0x41:
      szString.format("High rate of corrected memory errors, performance may be degraded (%s %u, Memory Module %u). Action: Reseat the memory module. If the errors persist, contact Support.",
                      GetCPUBoard(reseat.bCPUBoardFlag), reseat.bCPUBoardId, reseat.bMemModuleId);
      break;
    default: break;
  }
  // clang-format on
}

}  // namespace iml
