// SCSI controllers and the devices behind them.
#include "iml/class_decoders.h"
#include "iml/eventstr_helpers.h"

namespace iml {
namespace {

void TranslateScsiCtrlFailure(EventText &szString, const EVT_SCSI_CTRL_FAILURE &record) {
  if (record.Chassis.bId == 0) {
    szString.format("SCSI Controller Failure (Slot %s)", Byte2Str(record.bSlot));
  } else {
    szString.format("SCSI Controller Failure (Chassis %s, Slot %s)",
                    GetSysChassis(record.Chassis.bId, record.cChassisName), Byte2Str(record.bSlot));
  }
}

// The chassis holds the controller's slot and the bus.
void TranslateScsiDeviceFailure(EventText &szString, const EVT_SCSI_DEVICE_FAILURE &record) {
  szString.format("SCSI Device Failure (%sSlot %s, Bus %s, Bay %s)", GetStorChassis(record.cChassisName),
                  Byte2Str(record.Chassis.bId), Byte2Str(record.Chassis.bPort), Byte2Str(record.bBay));
}

void TranslateScsiCtrlsNotRedundant(EventText &szString, const EVT_SCSI_CTRLS_NOT_REDUNDANT &record) {
  if (record.Chassis.bId == 0) {
    szString.append("SCSI Controllers No Longer Redundant");
  } else {
    szString.format("SCSI Controllers No Longer Redundant (Chassis %s)",
                    GetSysChassis(record.Chassis.bId, record.cChassisName));
  }
}

}  // namespace

void TranslateClass12(uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString) {
  switch (wEventCode) {
    case 1: TranslateScsiCtrlFailure(szString, pEventData->ScsiCtrl); break;
    case 2: TranslateScsiDeviceFailure(szString, pEventData->ScsiDev); break;
    case 3: TranslateScsiCtrlsNotRedundant(szString, pEventData->ScsiNotRed); break;
    default: break;
  }
}

}  // namespace iml
