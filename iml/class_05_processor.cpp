// Errors of processors, on boards or in the two trays.
#include "iml/class_decoders.h"
#include "iml/eventstr_helpers.h"

namespace iml {
namespace {

// Machine checks show a 64-bit register as two halves, the high one first. Board and processor 255 are shown
// as numbers.

void TranslateUncorrectableMCE(EventText &szString, const EVT_CPU_UNCORRECTABLE_MCE &record) {
  szString.format(
      "Uncorrectable Machine Check Exception (Board %u, Processor %u, APIC ID 0x%08X, Bank 0x%08X, Status 0x%08X'%08X, Address 0x%08X'%08X, Misc 0x%08X'%08X)",
      record.bBoard, record.bProcessor, record.dwApicID, record.dwBank, record.dwMCiStatusHigh,
      record.dwMCiStatusLow, record.dwMCiAddrHigh, record.dwMCiAddrLow, record.dwMCiMiscHigh,
      record.dwMCiMiscLow);
}

void TranslateUncorrectableMCETray(EventText &szString, const EVT_CPU_UNCORRECTABLE_MCE_TRAY &record) {
  szString.format(
      "Uncorrectable Machine Check Exception (Proc %u (%s Tray, Processor %u), APIC ID 0x%08X, Bank 0x%08X, Status 0x%08X'%08X, Address 0x%08X'%08X, Misc 0x%08X'%08X)",
      record.bLogicalProcessor, GetTrayType(record.bTray), record.bPhysicalProcessor, record.dwApicID,
      record.dwBank, record.dwMCiStatusHigh, record.dwMCiStatusLow, record.dwMCiAddrHigh, record.dwMCiAddrLow,
      record.dwMCiMiscHigh, record.dwMCiMiscLow);
}

}  // namespace

void TranslateClass05(uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString) {
  switch (wEventCode) {
    case 1:
      szString.format("Processor Correctable error threshold exceeded (Board %s, Processor %s)",
                      Byte2Str(pEventData->CpuCorr.bSlot), Byte2Str(pEventData->CpuCorr.bSocket));
      break;
    case 2:
      szString.format("Processor Uncorrectable internal error (Board %s, Processor %s)",
                      Byte2Str(pEventData->CpuUncorr.bSlot), Byte2Str(pEventData->CpuUncorr.bSocket));
      break;
    case 3: TranslateUncorrectableMCE(szString, pEventData->CpuUncorrMCE); break;
    case 4:
      szString.format("Processor Correctable error threshold exceeded (Proc %s (%s Tray, Processor %s))",
                      Byte2Str(pEventData->CpuCorrTray.bLogicalProcessor),
                      GetTrayType(pEventData->CpuCorrTray.bTray),
                      Byte2Str(pEventData->CpuCorrTray.bPhysicalProcessor));
      break;
    case 5:
      szString.format("Processor Uncorrectable internal error (Proc %s (%s Tray, Processor %s))",
                      Byte2Str(pEventData->CpuUncorrTray.bLogicalProcessor),
                      GetTrayType(pEventData->CpuUncorrTray.bTray),
                      Byte2Str(pEventData->CpuUncorrTray.bPhysicalProcessor));
      break;
    case 6: TranslateUncorrectableMCETray(szString, pEventData->CpuUncorrMCETray); break;
    default: break;
  }
}

}  // namespace iml
