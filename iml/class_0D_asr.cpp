// Automatic Server Recovery.
#include "iml/class_decoders.h"

namespace iml {

void TranslateClass0D(uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString) {
  switch (wEventCode) {
    case 1: szString.append("ASR Detected by System ROM"); break;
    case 2: szString.format("ASR Lockup Detected: %s", pEventData->AsrLockup.cMessage); break;
    case 3: szString.append("ASR Reset Limit Detected by System ROM"); break;
    default: break;
  }
}

}  // namespace iml
