// SCSI controllers and devices.
#include "iml/class_decoders.h"
#include "iml/eventstr_helpers.h"

namespace iml {
namespace {

void translate_scsi_controller_failure(EventText &text, const EVT_SCSI_CTRL_FAILURE &record) {
  if (record.Chassis.bId == 0) {
    text.format("SCSI Controller Failure (Slot %s)", Byte2Str(record.bSlot));
  } else {
    text.format("SCSI Controller Failure (Chassis %s, Slot %s)",
                GetSysChassis(record.Chassis.bId, record.cChassisName), Byte2Str(record.bSlot));
  }
}

// The chassis holds the controller's slot and the bus.
void translate_scsi_device_failure(EventText &text, const EVT_SCSI_DEVICE_FAILURE &record) {
  text.format("SCSI Device Failure (%sSlot %s, Bus %s, Bay %s)", GetStorChassis(record.cChassisName),
              Byte2Str(record.Chassis.bId), Byte2Str(record.Chassis.bPort), Byte2Str(record.bBay));
}

void translate_scsi_controllers_not_redundant(EventText &text, const EVT_SCSI_CTRLS_NOT_REDUNDANT &record) {
  if (record.Chassis.bId == 0) {
    text.append("SCSI Controllers No Longer Redundant");
  } else {
    text.format("SCSI Controllers No Longer Redundant (Chassis %s)",
                GetSysChassis(record.Chassis.bId, record.cChassisName));
  }
}

}  // namespace

void TranslateClass12(uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString) {
  switch (wEventCode) {
    case 1: translate_scsi_controller_failure(szString, pEventData->ScsiCtrl); break;
    case 2: translate_scsi_device_failure(szString, pEventData->ScsiDev); break;
    case 3: translate_scsi_controllers_not_redundant(szString, pEventData->ScsiNotRed); break;
    default: break;
  }
}

}  // namespace iml
