// Unrecoverable system errors.
#include "iml/class_decoders.h"
#include "iml/eventstr_helpers.h"

namespace iml {
namespace {

// The name of what raised an NMI; null for a source without one.
const char *get_nmi_source(uint8_t source) {
  switch (source) {
    case 0x1B: return "ASR timeout NMI";
    case 0x29: return "Brix NMI messaging";
    case 0x2B: return "Brix application watchdog timeout NMI";
    default: return nullptr;
  }
}

void TranslateNmiPlusData(EventText &szString, const EVT_UNRECOV_NMI_OR_BINIT_PLUS_DATA &record) {
  const char *const source = get_nmi_source(static_cast<uint8_t>(record.ulDataLow & 0xFF));
  if (source != nullptr) {
    szString.format("An Unrecoverable System Error (NMI) has occurred (%s, Service Information: %s, %s)",
                    source, Dword2HexStr(record.ulDataLow), Dword2HexStr(record.ulDataHigh));
  } else {
    szString.format("An Unrecoverable System Error (NMI) has occurred (Service Information: %s, %s)",
                    Dword2HexStr(record.ulDataLow), Dword2HexStr(record.ulDataHigh));
  }
}

}  // namespace

void TranslateClass14(uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString) {
  switch (wEventCode) {
    case 1: szString.append("An Unrecoverable System Error (NMI) has occurred"); break;
    case 2: szString.append("An Unrecoverable System Error (BINIT) has occurred"); break;
    case 3: TranslateNmiPlusData(szString, pEventData->NmiPlusData); break;
    case 4: TranslateClass06(4, pEventData, szString); break;  // the chipset error of the host bus
    case 5:
      szString.append(
          "Unrecoverable System Error (NMI) has occurred.  System Firmware will log additional details in a separate IML entry if possible");
      break;
    case 6:
      szString.append("Corrupted Data Detected.  Refer to previous events to determine the source");
      break;
    case 7:
      szString.format("Server Critical Fault (Service Information: %s)",
                      pEventData->ServerCriticalFault.cText);
      break;
    default: break;
  }
}

}  // namespace iml
