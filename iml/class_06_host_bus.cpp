// The buses between processors, memory and the chipset.
#include "iml/class_decoders.h"
#include "iml/eventstr_helpers.h"

namespace iml {

void TranslateChipsetError(EventText &szString, const EVT_UNCORRECTABLE_CHIPSET_ERROR &record) {
  szString.Format("Uncorrectable Chipset Error (Error status 1 %s, Error status 2 %s)",
                  Dword2HexStr(record.dwErrorStatus1, Scratch()),
                  Dword2HexStr(record.dwErrorStatus2, Scratch()));
}

void TranslateClass06(std::uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString) {
  switch (wEventCode) {
    case 1:
      if (pEventData->HbUncorr.bError == 0) {
        szString.Append("Unrecoverable Host Bus Address Parity error");
      } else if (pEventData->HbUncorr.bError == 1) {
        szString.Append("Unrecoverable Host Bus Data Parity error");
      }
      break;
    case 2:
      szString.Format("Unrecoverable Intermodule Bus error (Error code %s)",
                      Dword2HexStr(pEventData->IntModUncorr.ulError, Scratch()));
      break;
    case 3:
      szString.Format(
          // clang-format off
          "Uncorrectable QuickPath Interconnect Error (Local interface error status %s, Protocol error status %s)",
          // clang-format on
          Dword2HexStr(pEventData->QPIError.dwLocalInterfaceError, Scratch()),
          Dword2HexStr(pEventData->QPIError.dwProtocolError, Scratch()));
      break;
    case 4: TranslateChipsetError(szString, pEventData->ChipsetUncorr); break;
    default: break;
  }
}

}  // namespace iml
