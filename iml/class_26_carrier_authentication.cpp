// Drive carriers that fail authentication.
#include "iml/class_decoders.h"
#include "iml/eventstr_helpers.h"

namespace iml {
namespace {

void TranslateCarrierAuthFailure(EventText &szString, const EVT_SAS_ARRAY_DEV_FAILURE &record) {
  szString.format("%s Storage Enclosure Device Not Authenticated As Genuine (Bay %u, Box %u, Port %s, %s)",
                  GetInternalExternal(record.Chassis), record.bBay, record.bBox, GetSASPort(record.szPortID),
                  GetSlotChassisSun(record.szChassis_Sun, record.Chassis.bId));
}

}  // namespace

void TranslateClass26(uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString) {
  if (wEventCode == 1) {
    TranslateCarrierAuthFailure(szString, pEventData->ArrayDevSas);
  }
}

}  // namespace iml
