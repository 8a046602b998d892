// Boot from flash media.
#include "iml/class_decoders.h"

namespace iml {

void TranslateClass28(uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString) {
  switch (wEventCode) {
    case 1: szString.format("Boot From Flash Error (%s)", pEventData->FmBootFromFlashErr.cText); break;
    default: break;
  }
}

}  // namespace iml
