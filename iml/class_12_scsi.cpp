// SCSI controllers and the devices behind them.
#include "iml/class_decoders.h"
#include "iml/eventstr_helpers.h"

namespace iml {
namespace {

void TranslateScsiCtrlFailure(EventText &szString, const EVT_SCSI_CTRL_FAILURE &record) {
  Scratch slot_number;
  const char *const slot = Byte2Str(record.bSlot, slot_number);
  if (record.Chassis.bId == 0) {
    szString.Format("SCSI Controller Failure (Slot %s)", slot);
  } else {
    szString.Format("SCSI Controller Failure (Chassis %s, Slot %s)",
                    GetSysChassis(record.Chassis.bId, record.cChassisName, Scratch()), slot);
  }
}

/// The chassis holds the controller's slot and the bus.
void TranslateScsiDeviceFailure(EventText &szString, const EVT_SCSI_DEVICE_FAILURE &record) {
  szString.Format("SCSI Device Failure (%sSlot %s, Bus %s, Bay %s)",
                  GetStorChassis(record.cChassisName, Scratch()), Byte2Str(record.Chassis.bId, Scratch()),
                  Byte2Str(record.Chassis.bPort, Scratch()), Byte2Str(record.bBay, Scratch()));
}

void TranslateScsiCtrlsNotRedundant(EventText &szString, const EVT_SCSI_CTRLS_NOT_REDUNDANT &record) {
  if (record.Chassis.bId == 0) {
    szString.Append("SCSI Controllers No Longer Redundant");
  } else {
    szString.Format("SCSI Controllers No Longer Redundant (Chassis %s)",
                    GetSysChassis(record.Chassis.bId, record.cChassisName, Scratch()));
  }
}

}  // namespace

void TranslateClass12(std::uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString) {
  switch (wEventCode) {
    case 1: TranslateScsiCtrlFailure(szString, pEventData->ScsiCtrl); break;
    case 2: TranslateScsiDeviceFailure(szString, pEventData->ScsiDev); break;
    case 3: TranslateScsiCtrlsNotRedundant(szString, pEventData->ScsiNotRed); break;
    default: break;
  }
}

}  // namespace iml
