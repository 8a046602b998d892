// ROM and firmware updates.
#include "iml/class_decoders.h"

namespace iml {

void TranslateClass20(uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString) {
  switch (wEventCode) {
    case 1: szString.format("ROM flashed (%s)", pEventData->RomFlash.cText); break;
    case 2: szString.format("Firmware flashed (%s)", pEventData->FirmwareFlash.cText); break;
    default: break;
  }
}

}  // namespace iml
