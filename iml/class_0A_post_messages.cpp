// What the system ROM and option ROMs wrote during the power-on self test.
#include "iml/class_decoders.h"
#include "iml/eventstr_helpers.h"

namespace iml {

void TranslateClass0A(std::uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString) {
  switch (wEventCode) {
    case 1:
      szString.Format("POST Error: %s", CopyAndReformat(Scratch(), pEventData->PostMsg.cMessage));
      break;
    case 2:
      szString.Format("POST Information: %s",
                      CopyAndReformat(Scratch(), pEventData->PostInformation.cMessage));
      break;
    case 3:
      szString.Format("Option ROM POST Error: %s",
                      CopyAndReformat(Scratch(), pEventData->OptRomPostMsg.cMessage));
      break;
    case 4:
      szString.Format("Option ROM POST Information: %s",
                      CopyAndReformat(Scratch(), pEventData->OptRomPostInformation.cMessage));
      break;
    default: break;
  }
}

}  // namespace iml
