// Messages that the system ROM and option ROMs write during the power-on self test.
#include "iml/class_decoders.h"
#include "iml/eventstr_helpers.h"

namespace iml {

void TranslateClass0A(uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString) {
  switch (wEventCode) {
    case 1: szString.format("POST Error: %s", CopyAndReformat(pEventData->PostMsg.cMessage)); break;
    case 2:
      szString.format("POST Information: %s", CopyAndReformat(pEventData->PostInformation.cMessage));
      break;
    case 3:
      szString.format("Option ROM POST Error: %s", CopyAndReformat(pEventData->OptRomPostMsg.cMessage));
      break;
    case 4:
      szString.format("Option ROM POST Information: %s",
                      CopyAndReformat(pEventData->OptRomPostInformation.cMessage));
      break;
    default: break;
  }
}

}  // namespace iml
