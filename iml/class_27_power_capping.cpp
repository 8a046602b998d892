// Power capping.
#include "iml/class_decoders.h"

namespace iml {

void TranslateClass27(uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString) {
  switch (wEventCode) {
    case 1:
      szString.append("Processor(s) Operating at Reduced Performance Level Due to a Low Power Cap");
      break;
    case 2: szString.append("Power Cap Cannot Be Reached With Current System Configuration"); break;
    case 3:
      szString.format("Power Cap Cannot Be Reached With Current System Configuration (Power Cap %dW)",
                      pEventData->PowerCapUnreachableValue.wCurrentPowerCap);
      break;
    case 4:
      szString.append(
          "Power allocation not optimized. Increased power allocation requested. Server performance is not degraded.");
      break;
    default: break;
  }
}

}  // namespace iml
