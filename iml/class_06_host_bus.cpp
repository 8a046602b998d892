// The buses between processors, memory and the chipset.
#include "iml/class_decoders.h"
#include "iml/eventstr_helpers.h"

namespace iml {

void TranslateClass06(uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString) {
  switch (wEventCode) {
    case 1:
      if (pEventData->HbUncorr.bError == 0) {
        szString.append("Unrecoverable Host Bus Address Parity error");
      } else if (pEventData->HbUncorr.bError == 1) {
        szString.append("Unrecoverable Host Bus Data Parity error");
      }
      break;
    case 2:
      szString.format("Unrecoverable Intermodule Bus error (Error code %s)",
                      Dword2HexStr(pEventData->IntModUncorr.ulError));
      break;
    case 3:
      szString.format(
          "Uncorrectable QuickPath Interconnect Error (Local interface error status %s, Protocol error status %s)",
          Dword2HexStr(pEventData->QPIError.dwLocalInterfaceError),
          Dword2HexStr(pEventData->QPIError.dwProtocolError));
      break;
    case 4:
      szString.format("Uncorrectable Chipset Error (Error status 1 %s, Error status 2 %s)",
                      Dword2HexStr(pEventData->ChipsetUncorr.dwErrorStatus1),
                      Dword2HexStr(pEventData->ChipsetUncorr.dwErrorStatus2));
      break;
    default: break;
  }
}

}  // namespace iml
