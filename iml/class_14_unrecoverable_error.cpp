// Errors that the system does not survive.
#include "iml/class_decoders.h"
#include "iml/eventstr_helpers.h"

namespace iml {
namespace {

/// The name of what raised an NMI; null for a source without one.
const char *GetNmiSource(std::uint8_t bSource) {
  switch (bSource) {
    case 0x1B: return "ASR timeout NMI";
    case 0x29: return "Brix NMI messaging";
    case 0x2B: return "Brix application watchdog timeout NMI";
    default: return nullptr;
  }
}

/// Writes the detail behind the message, not the message itself.
void TranslateNmiPlusData(EventText &szDetail, const EVT_UNRECOV_NMI_OR_BINIT_PLUS_DATA &record) {
  Scratch low_word;
  Scratch high_word;
  const char *const low = Dword2HexStr(record.ulDataLow, low_word);
  const char *const high = Dword2HexStr(record.ulDataHigh, high_word);
  const char *const szSource = GetNmiSource(static_cast<std::uint8_t>(record.ulDataLow & 0xFF));
  if (szSource != nullptr) {
    szDetail.Format("%s, Service Information: %s, %s", szSource, low, high);
  } else {
    szDetail.Format("Service Information: %s, %s", low, high);
  }
}

}  // namespace

void TranslateClass14(std::uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString) {
  switch (wEventCode) {
    case 1: szString.Append("An Unrecoverable System Error (NMI) has occurred"); break;
    case 2: szString.Append("An Unrecoverable System Error (BINIT) has occurred"); break;
    case 3: {
      Scratch detail;
      EventText szDetail(detail);
      TranslateNmiPlusData(szDetail, pEventData->NmiPlusData);
      szString.Format("An Unrecoverable System Error (NMI) has occurred (%s)", detail.Buffer());
      break;
    }
    case 4: TranslateChipsetError(szString, pEventData->ChipsetUncorr); break;
    // clang-format off
    case 5: szString.Append("Unrecoverable System Error (NMI) has occurred.  System Firmware will log additional details in a separate IML entry if possible"); break;
    // clang-format on
    case 6:
      szString.Append("Corrupted Data Detected.  Refer to previous events to determine the source");
      break;
    case 7:
      szString.Format("Server Critical Fault (Service Information: %s)",
                      pEventData->ServerCriticalFault.cText);
      break;
    default: break;
  }
}

}  // namespace iml
