// Faults that the firmware meets while it sets up and trains the memory.
#include "iml/memory_events.h"

namespace iml {

void TranslateMemoryConfiguration(std::uint16_t wEventCode, const EVT_FREE_FORM *pEventData,
                                  EventText &szString) {
  const EVT_MAIN_MEMORY_DIMM_CONFIG &record = pEventData->MainMemDimmConfig;
  const EVT_MAIN_MEMORY_HIGH_ECC_RATE_RESEAT &reseat = pEventData->MainMemHighEccRate;
  // clang-format off
  switch (wEventCode) {
    case 0x20: szString.Append("No system memory found"); break;
    case 0x21: szString.Format("Incompatible memory module (Board %d, Memory Module %d)", record.bBoard, record.bModule); break;
    case 0x22: szString.Format("Lockstep memory module pair not same type and size (Board %d, Memory Module %d)", record.bBoard, record.bModule); break;
    case 0x23: szString.Format("Rank disabled to allow memory operation (Board %d, Memory Module %d)", record.bBoard, record.bModule); break;
    case 0x24: szString.Format("Memory module failure prevented bus training (Board %d, Memory Module %d)", record.bBoard, record.bModule); break;
    case 0x25: szString.Format("Memory module not supported (Board %d, Memory Module %d)", record.bBoard, record.bModule); break;
    case 0x26: szString.Format("Memory module not populated correctly (Board %d, Memory Module %d)", record.bBoard, record.bModule); break;
    case 0x27: szString.Format("Memory module calibration failed (Board %d, Memory Module %d)", record.bBoard, record.bModule); break;
    case 0x28: szString.Format("Memory module distribution not supported in current interleave mode (Board %d)", record.bBoard); break;
    case 0x29: szString.Format("Quad memory module loading order violated (Board %d)", record.bBoard); break;
    case 0x2A: szString.Format("Memory module thermal throttling not sufficient for installed module (Board %d, Memory Module %d)", record.bBoard, record.bModule); break;
    case 0x2B: szString.Format("SMI lane failover detected, spare SMI lane in use (Board %d)", record.bBoard); break;
    case 0x2C: szString.Format("Memory module bus termination fault (Board %d)", record.bBoard); break;
    case 0x2D: szString.Append("Unknown memory warning"); break;
    case 0x2E: szString.Format("SMI link training failed (Board %d)", record.bBoard); break;
    case 0x2F: szString.Format("Memory built-in self test failed (Board %d)", record.bBoard); break;
    case 0x30: szString.Format("Memory module rank not found (Board %d)", record.bBoard); break;
    case 0x31: szString.Format("SMBus access fault (Board %d)", record.bBoard); break;
    case 0x32: szString.Format("Memory board configuration through SMI link failed (Board %d)", record.bBoard); break;
    case 0x33: szString.Format("Memory bus training failed (Board %d)", record.bBoard); break;
    case 0x34: szString.Format("Memory board reset failed (Board %d)", record.bBoard); break;
    case 0x35: szString.Format("Memory SPD CRC failure (Board %d, Memory Module %d)", record.bBoard, record.bModule); break;
    case 0x36: szString.Append("ICH chip initialization failure"); break;
    case 0x37: szString.Format("Memory board mixing found (Board %d)", record.bBoard); break;
    case 0x38: szString.Append("Early memory test failure"); break;
    case 0x39: szString.Format("Memory data calibration failure (Board %d)", record.bBoard); break;
    case 0x3A: szString.Append("Memory data structure failure"); break;
    case 0x3B: szString.Format("Inband configuration access timeout (Board %d)", record.bBoard); break;
    case 0x3C: szString.Format("DIMM not found on memory board (Board %d)", record.bBoard); break;
    case 0x3D: szString.Format("Memory board not present (Board %d)", record.bBoard); break;
    case 0x3E: szString.Format("Memory board initialization failure (Board %d)", record.bBoard); break;
    case 0x3F: szString.Format("DIMM low voltage failure (Board %d)", record.bBoard); break;
    case 0x40: szString.Format("DIMM clock ratio not found (Board %d)", record.bBoard); break;
    case 0x41:
      szString.Format("High rate of corrected memory errors, performance may be degraded (%s %u, Memory Module %u). Action: Reseat the memory module. If the errors persist, contact Support.",
                      GetCPUBoard(reseat.bCPUBoardFlag), reseat.bCPUBoardId, reseat.bMemModuleId);
      break;
    default: break;
  }
  // clang-format on
}

}  // namespace iml
