// Devices that the interlock reports as improperly seated.
#include "iml/class_decoders.h"
#include "iml/eventstr_helpers.h"

namespace iml {

void TranslateClass29(uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString) {
  switch (wEventCode) {
    case 1:
      szString.format("Improperly seated or missing device (%s%s)",
                      GetInterlockType(pEventData->InterlockDevNotSeated.bInterType),
                      pEventData->InterlockDevNotSeated.cText);
      break;
    default: break;
  }
}

}  // namespace iml
