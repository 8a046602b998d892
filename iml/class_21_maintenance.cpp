// Clearing of the log, and maintenance notes.
#include "iml/class_decoders.h"

namespace iml {

void TranslateClass21(uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString) {
  switch (wEventCode) {
    case IML_MAINTENANCE_CLEARED: szString.format("IML Cleared (%s)", pEventData->Maint.cText); break;
    case IML_MAINTENANCE_NOTE: szString.format("Maintenance note: %s", pEventData->Maint.cText); break;
    default: break;
  }
}

}  // namespace iml
