// The EISA bus.
#include "iml/class_decoders.h"
#include "iml/eventstr_helpers.h"

namespace iml {

void TranslateClass07(uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString) {
  switch (wEventCode) {
    case 1:
      szString.format("EISA Expansion Bus Master Timeout (Slot %s)", Byte2Str(pEventData->EisaBus.bSlot));
      break;
    case 2: szString.append("EISA Expansion Bus Slave Timeout"); break;
    case 3:
      szString.format("EISA Expansion Board Error (Slot %s)", Byte2Str(pEventData->EisaBus.bSlot));
      break;
    case 4: szString.append("EISA Expansion Bus Arbitration Error"); break;
    default: break;
  }
}

}  // namespace iml
