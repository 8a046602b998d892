// Clearing of the log, and maintenance notes.
#include "iml/class_decoders.h"

namespace iml {

void TranslateClass21(uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString) {
  switch (wEventCode) {
    case 1: szString.format("IML Cleared (%s)", pEventData->Maint.cText); break;
    case 2: szString.format("Maintenance note: %s", pEventData->Maint.cText); break;
    default: break;
  }
}

}  // namespace iml
