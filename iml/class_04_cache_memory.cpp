// The processors' cache memory.
#include "iml/class_decoders.h"
#include "iml/eventstr_helpers.h"

namespace iml {

void TranslateClass04(uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString) {
  if (wEventCode == 1) {
    szString.format("Accelerator Cache Memory Parity Error (Socket %s)",
                    Byte2Str(pEventData->CacheAccelError.bSocket));
  }
}

}  // namespace iml
