// Array controllers, their drives, caches and batteries, and the SAS links of storage enclosures.
#include "iml/class_decoders.h"
#include "iml/eventstr_helpers.h"

namespace iml {
namespace {

// Paths on which a PHY error can occur.
constexpr const char *szSASPHYFailPath[] = {
    "Error path unknown",
    "Storage controller to external storage box",
    "Storage controller to internal device",
    "Storage controller to onboard expander",
    "Onboard expander to external storage box",
    "Onboard expander to internal device",
    "Storage box to storage box",
    "Storage box to bay in storage box",
    "Storage controller to switch expander",
    "Switch expander to storage box",
};

// The device at one end of a disabled PHY.
const char *TranslatePhyDisabledSASDevice(uint8_t bDevice) {
  switch (bDevice) {
    case 1: return "Physical SATA Device";
    case 2: return "Physical SAS Device";
    case 3: return "Logical SATA Device";
    case 4: return "Logical SAS Device";
    case 5: return "Expander";
    case 6: return "Storage Enclosure Processor";
    case 7: return "SAS Controller";
    case 15: return "Unsupported Device";
    case 253: return "Connector";
    case 254: return "Protocol Adapter";
    default: return "Unknown Device";
  }
}

// The device at one end of a PHY link. The codes differ from those of TranslatePhyDisabledSASDevice.
const char *GetSASPhyGenericDeviceString(uint8_t bBox, uint8_t bBay, uint8_t bType,
                                         EventText &szString = Scratch().here()) {
  switch (bType) {
    case 1: szString.format("SATA Device, Box %u, Bay %u", bBox, bBay); break;
    case 2: szString.format("SAS Device, Box %u, Bay %u", bBox, bBay); break;
    case 5: szString.format("SAS Expander, Box %u, Bay %u", bBox, bBay); break;
    case 16: return "Switch Expander";
    case 17: return "Unknown Device Type";
    case 254: return "SAS Controller";
    default: szString.format("Unknown Device Type 0x%02X, Box %u, Bay %u", bType, bBox, bBay); break;
  }
  return szString.c_str();
}

void translate_controller_failure(EventText &text, const EVT_ARRAY_CTRL_FAILURE &record) {
  if (record.Chassis.bId == 0) {
    text.format("Drive Array Controller Failure (Slot %s)", Byte2Str(record.bSlot));
  } else {
    text.format("Drive Array Controller Failure (Chassis %s, Slot %s)",
                GetSysChassis(record.Chassis.bId, record.cChassisName), Byte2Str(record.bSlot));
  }
}

void translate_device_failure(EventText &text, const EVT_ARRAY_DEV_FAILURE &record) {
  text.format("Drive Array Device Failure (%sSlot %s, Bus %s, Bay %s)", GetStorChassis(record.cChassisName),
              Byte2Str(record.Chassis.bId), Byte2Str(record.Chassis.bPort), Byte2Str(record.bBay));
}

void translate_accel_failure(EventText &text, const EVT_ARRAY_ACCEL_FAILURE &record) {
  const EVT_CHASSIS &chassis = record.Chassis;
  if (chassis.bId == 0) {
    text.format("Drive Array Cache Module Battery Failure (Bus %s, Slot %s)", Byte2Str(chassis.bPort),
                Byte2Str(record.bSlot));
  } else {
    text.format("Drive Array Cache Module Battery Failure (Chassis %s, Bus %s, Slot %s)",
                GetSysChassis(chassis.bId, record.cChassisName), Byte2Str(chassis.bPort),
                Byte2Str(record.bSlot));
  }
}

void translate_controllers_not_redundant(EventText &text, const EVT_ARRAY_CTRLS_NOT_REDUNDANT &record) {
  if (record.Chassis.bId == 0) {
    text.append("Drive Array Controllers No Longer Redundant");
  } else {
    text.format("Drive Array Controllers No Longer Redundant (Chassis %s)",
                GetSysChassis(record.Chassis.bId, record.cChassisName));
  }
}

void TranslateDevFailureSAS(EventText &szString, const EVT_SAS_ARRAY_DEV_FAILURE &record) {
  szString.format("%s Storage Enclosure Device Failure (Bay %u, Box %u, Port %s, %s)",
                  GetInternalExternal(record.Chassis), record.bBay, record.bBox, GetSASPort(record.szPortID),
                  GetSlotChassisSun(record.szChassis_Sun, record.Chassis.bId));
}

// A predicted failure has the wording of a failure.
constexpr auto *TranslateDevPredictFailSAS = TranslateDevFailureSAS;

void translate_device_wear_sas(EventText &text, const EVT_SAS_ARRAY_DEV_FAILURE &record) {
  text.format("%s Storage Enclosure Device SMART Wear Error (Bay %u, Box %u, Port %s, %s)",
              GetInternalExternal(record.Chassis), record.bBay, record.bBox, GetSASPort(record.szPortID),
              GetSlotChassisSun(record.szChassis_Sun, record.Chassis.bId));
}

void translate_phy_error_sas(EventText &text, const EVT_SAS_ARRAY_PHY_ERROR &record) {
  text.format("%s Storage Enclosure PHY Link Error (PHY %u, Expander %u, Box %u, Port %s, %s)",
              GetInternalExternal(record.Chassis), record.bExpanderPhyNumber, record.bExpanderNumber,
              record.bBox, GetSASPort(record.szPortID),
              GetSlotChassisSun(record.szChassis_Sun, record.Chassis.bId));
}

void translate_phy_error_extended_sas(EventText &text, const EVT_SAS_ARRAY_PHY_ERROR_EXTENDED &record) {
  text.format("%s Storage Enclosure PHY Link Error (%s, Box %u, Port %s, %s)",
              GetInternalExternal(record.Chassis),
              Lookup(szSASPHYFailPath, record.bErrorPath, szSASPHYFailPath[0]), record.bBoxNumber,
              GetSASPort(record.szPortID), GetSlotChassisSun(record.szChassis_Sun, record.Chassis.bId));
}

void translate_phy_error_generic_sas(EventText &text, const EVT_SAS_ARRAY_PHY_ERROR_GENERIC &record) {
  text.format("%s Storage Enclosure PHY Link Error (Detected By %s, Attached To %s, Port %s, %s)",
              GetInternalExternal(record.Chassis),
              GetSASPhyGenericDeviceString(record.bDetectingDeviceBoxNumber, record.bDetectingDeviceBayNumber,
                                           record.bDetectingDeviceType),
              GetSASPhyGenericDeviceString(record.bAttachedDeviceBoxNumber, record.bAttachedDeviceBayNumber,
                                           record.bAttachedDeviceType),
              GetSASPort(record.szPortID), GetSlotChassisSun(record.szChassis_Sun, record.Chassis.bId));
}

void translate_phy_disabled_sas(EventText &text, const EVT_SAS_ARRAY_PHY_DISABLED &record) {
  text.format("%s Storage Enclosure PHY Disabled (Between %s and %s, Port %s, %s)",
              GetInternalExternal(record.Chassis), TranslatePhyDisabledSASDevice(record.bSourceDeviceType),
              TranslatePhyDisabledSASDevice(record.bDestDeviceType), GetSASPort(record.szPortID),
              GetSlotChassisSun(record.szChassis_Sun, record.Chassis.bId));
}

void translate_sep_failure_sas(EventText &text, const EVT_SAS_ARRAY_SEP_FAILURE &record) {
  text.format("%s SAS Array Storage Enclosure Processor Failure (Box %u, Port %s, %s)",
              GetInternalExternal(record.Chassis), record.bBox, GetSASPort(record.szPortID),
              GetSlotChassisSun(record.szChassis_Sun, record.Chassis.bId));
}

}  // namespace

void TranslateClass13(uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString) {
  switch (wEventCode) {
    case 0x01: translate_controller_failure(szString, pEventData->ArrayCtrl); break;
    case 0x02: translate_device_failure(szString, pEventData->ArrayDev); break;
    case 0x03: translate_accel_failure(szString, pEventData->ArrayAccel); break;
    case 0x04: translate_controllers_not_redundant(szString, pEventData->ArrayNotRed); break;
    case 0x07: TranslateDevFailureSAS(szString, pEventData->ArrayDevSas); break;
    case 0x08: translate_phy_error_sas(szString, pEventData->ArraySasPHY); break;
    case 0x09:
      szString.format("Drive Array Controllers No Longer Redundant (%s)",
                      GetSlotChassisSun(pEventData->ArrayNotRedSun.szChassis_Sun,
                                        pEventData->ArrayNotRedSun.Chassis.bId));
      break;
    case 0x0A: translate_phy_error_extended_sas(szString, pEventData->ArraySasPHYExtended); break;
    case 0x0B: translate_sep_failure_sas(szString, pEventData->ArraySasSEPFailure); break;
    case 0x0C: translate_device_wear_sas(szString, pEventData->ArrayDevSas); break;
    case 0x0D: TranslateDevPredictFailSAS(szString, pEventData->ArrayDevSas); break;
    case 0x0E:
      szString.format("Drive Array Controller Cache Module Not Installed (%s)",
                      GetSlotChassisSun(pEventData->ArrayCacheNotInstalled.szChassis_Sun,
                                        pEventData->ArrayCacheNotInstalled.bSlot));
      break;
    case 0x0F: translate_phy_disabled_sas(szString, pEventData->ArraySasPHYDisabled); break;
    case 0x10:
      szString.format("Drive Array Controller Cache Module Not Compatible With Controller (%s)",
                      GetSlotChassisSun(pEventData->ArrayCacheNotCompatible.szChassis_Sun,
                                        pEventData->ArrayCacheNotCompatible.bSlot));
      break;
    case 0x11: translate_phy_error_generic_sas(szString, pEventData->ArraySasPHYErrorGeneric); break;
    default: break;
  }
}

}  // namespace iml
