// The EISA bus.
#include "iml/class_decoders.h"
#include "iml/eventstr_helpers.h"

namespace iml {

void TranslateClass07(std::uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString) {
  switch (wEventCode) {
    case 1:
      szString.Format("EISA Expansion Bus Master Timeout (Slot %s)",
                      Byte2Str(pEventData->EisaBus.bSlot, Scratch()));
      break;
    case 2: szString.Append("EISA Expansion Bus Slave Timeout"); break;
    case 3:
      szString.Format("EISA Expansion Board Error (Slot %s)", Byte2Str(pEventData->EisaBus.bSlot, Scratch()));
      break;
    case 4: szString.Append("EISA Expansion Bus Arbitration Error"); break;
    default: break;
  }
}

}  // namespace iml
