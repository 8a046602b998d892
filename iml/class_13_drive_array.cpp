// Array controllers, their drives, caches and batteries, and the SAS links of storage enclosures.
#include "iml/class_decoders.h"
#include "iml/eventstr_helpers.h"

namespace iml {
namespace {

/// Paths on which the error of a PHY was seen.
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

/// The device at one end of a disabled PHY.
const char *TranslatePhyDisabledSASDevice(std::uint8_t bDevice) {
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

/// The device at one end of a PHY link, whose types are coded in another way.
const char *GetSASPhyGenericDeviceString(ScratchRef szString, std::uint8_t bBox, std::uint8_t bBay,
                                         std::uint8_t bType) {
  EventText text(szString);
  switch (bType) {
    case 1: text.Format("SATA Device, Box %u, Bay %u", bBox, bBay); break;
    case 2: text.Format("SAS Device, Box %u, Bay %u", bBox, bBay); break;
    case 5: text.Format("SAS Expander, Box %u, Bay %u", bBox, bBay); break;
    case 16: return "Switch Expander";
    case 17: return "Unknown Device Type";
    case 254: return "SAS Controller";
    default: text.Format("Unknown Device Type 0x%02X, Box %u, Bay %u", bType, bBox, bBay); break;
  }
  return szString.Buffer();
}

void TranslateCtrlFailure(EventText &szString, const EVT_ARRAY_CTRL_FAILURE &record) {
  const EVT_CHASSIS &chassis = record.Chassis;
  Scratch number;
  const char *const slot = Byte2Str(record.bSlot, number);
  if (chassis.bId == 0) {
    szString.Format("Drive Array Controller Failure (Slot %s)", slot);
  } else {
    szString.Format("Drive Array Controller Failure (Chassis %s, Slot %s)",
                    GetSysChassis(chassis.bId, record.cChassisName, Scratch()), slot);
  }
}

void TranslateDevFailure(EventText &szString, const EVT_ARRAY_DEV_FAILURE &record) {
  szString.Format("Drive Array Device Failure (%sSlot %s, Bus %s, Bay %s)",
                  GetStorChassis(record.cChassisName, Scratch()), Byte2Str(record.Chassis.bId, Scratch()),
                  Byte2Str(record.Chassis.bPort, Scratch()), Byte2Str(record.bBay, Scratch()));
}

void TranslateAccelFailure(EventText &szString, const EVT_ARRAY_ACCEL_FAILURE &record) {
  const EVT_CHASSIS &chassis = record.Chassis;
  Scratch numbers[2];
  const char *const bus = Byte2Str(chassis.bPort, numbers[0]);
  const char *const slot = Byte2Str(record.bSlot, numbers[1]);
  if (chassis.bId == 0) {
    szString.Format("Drive Array Cache Module Battery Failure (Bus %s, Slot %s)", bus, slot);
  } else {
    szString.Format("Drive Array Cache Module Battery Failure (Chassis %s, Bus %s, Slot %s)",
                    GetSysChassis(chassis.bId, record.cChassisName, Scratch()), bus, slot);
  }
}

void TranslateCtrlsNotRedundant(EventText &szString, const EVT_ARRAY_CTRLS_NOT_REDUNDANT &record) {
  if (record.Chassis.bId == 0) {
    szString.Append("Drive Array Controllers No Longer Redundant");
  } else {
    szString.Format("Drive Array Controllers No Longer Redundant (Chassis %s)",
                    GetSysChassis(record.Chassis.bId, record.cChassisName, Scratch()));
  }
}

void TranslateDevFailureSAS(EventText &szString, const EVT_SAS_ARRAY_DEV_FAILURE &record) {
  szString.Format("%s Storage Enclosure Device Failure (Bay %u, Box %u, Port %s, %s)",
                  GetInternalExternal(record.Chassis), record.bBay, record.bBox,
                  GetSASPort(Scratch(), record.szPortID),
                  GetSlotChassisSun(Scratch(), record.szChassis_Sun, record.Chassis.bId));
}

/// A failure that is predicted reads as one that has happened.
constexpr auto *TranslateDevPredictFailSAS = TranslateDevFailureSAS;

void TranslateDevWearSAS(EventText &szString, const EVT_SAS_ARRAY_DEV_FAILURE &record) {
  szString.Format("%s Storage Enclosure Device SMART Wear Error (Bay %u, Box %u, Port %s, %s)",
                  GetInternalExternal(record.Chassis), record.bBay, record.bBox,
                  GetSASPort(Scratch(), record.szPortID),
                  GetSlotChassisSun(Scratch(), record.szChassis_Sun, record.Chassis.bId));
}

void TranslatePhyErrorSAS(EventText &szString, const EVT_SAS_ARRAY_PHY_ERROR &record) {
  szString.Format("%s Storage Enclosure PHY Link Error (PHY %u, Expander %u, Box %u, Port %s, %s)",
                  GetInternalExternal(record.Chassis), record.bExpanderPhyNumber, record.bExpanderNumber,
                  record.bBox, GetSASPort(Scratch(), record.szPortID),
                  GetSlotChassisSun(Scratch(), record.szChassis_Sun, record.Chassis.bId));
}

void TranslatePhyErrorExtendedSAS(EventText &szString, const EVT_SAS_ARRAY_PHY_ERROR_EXTENDED &record) {
  szString.Format("%s Storage Enclosure PHY Link Error (%s, Box %u, Port %s, %s)",
                  GetInternalExternal(record.Chassis),
                  Lookup(szSASPHYFailPath, record.bErrorPath, szSASPHYFailPath[0]), record.bBoxNumber,
                  GetSASPort(Scratch(), record.szPortID),
                  GetSlotChassisSun(Scratch(), record.szChassis_Sun, record.Chassis.bId));
}

void TranslatePhyErrorGenericSAS(EventText &szString, const EVT_SAS_ARRAY_PHY_ERROR_GENERIC &record) {
  szString.Format("%s Storage Enclosure PHY Link Error (Detected By %s, Attached To %s, Port %s, %s)",
                  GetInternalExternal(record.Chassis),
                  GetSASPhyGenericDeviceString(Scratch(), record.bDetectingDeviceBoxNumber,
                                               record.bDetectingDeviceBayNumber, record.bDetectingDeviceType),
                  GetSASPhyGenericDeviceString(Scratch(), record.bAttachedDeviceBoxNumber,
                                               record.bAttachedDeviceBayNumber, record.bAttachedDeviceType),
                  GetSASPort(Scratch(), record.szPortID),
                  GetSlotChassisSun(Scratch(), record.szChassis_Sun, record.Chassis.bId));
}

void TranslatePhyDisabledSAS(EventText &szString, const EVT_SAS_ARRAY_PHY_DISABLED &record) {
  szString.Format(
      "%s Storage Enclosure PHY Disabled (Between %s and %s, Port %s, %s)",
      GetInternalExternal(record.Chassis), TranslatePhyDisabledSASDevice(record.bSourceDeviceType),
      TranslatePhyDisabledSASDevice(record.bDestDeviceType), GetSASPort(Scratch(), record.szPortID),
      GetSlotChassisSun(Scratch(), record.szChassis_Sun, record.Chassis.bId));
}

void TranslateSepFailureSAS(EventText &szString, const EVT_SAS_ARRAY_SEP_FAILURE &record) {
  szString.Format("%s SAS Array Storage Enclosure Processor Failure (Box %u, Port %s, %s)",
                  GetInternalExternal(record.Chassis), record.bBox, GetSASPort(Scratch(), record.szPortID),
                  GetSlotChassisSun(Scratch(), record.szChassis_Sun, record.Chassis.bId));
}

}  // namespace

void TranslateClass13(std::uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString) {
  switch (wEventCode) {
    case 0x01: TranslateCtrlFailure(szString, pEventData->ArrayCtrl); break;
    case 0x02: TranslateDevFailure(szString, pEventData->ArrayDev); break;
    case 0x03: TranslateAccelFailure(szString, pEventData->ArrayAccel); break;
    case 0x04: TranslateCtrlsNotRedundant(szString, pEventData->ArrayNotRed); break;
    case 0x07: TranslateDevFailureSAS(szString, pEventData->ArrayDevSas); break;
    case 0x08: TranslatePhyErrorSAS(szString, pEventData->ArraySasPHY); break;
    case 0x09:
      szString.Format("Drive Array Controllers No Longer Redundant (%s)",
                      GetSlotChassisSun(Scratch(), pEventData->ArrayNotRedSun.szChassis_Sun,
                                        pEventData->ArrayNotRedSun.Chassis.bId));
      break;
    case 0x0A: TranslatePhyErrorExtendedSAS(szString, pEventData->ArraySasPHYExtended); break;
    case 0x0B: TranslateSepFailureSAS(szString, pEventData->ArraySasSEPFailure); break;
    case 0x0C: TranslateDevWearSAS(szString, pEventData->ArrayDevSas); break;
    case 0x0D: TranslateDevPredictFailSAS(szString, pEventData->ArrayDevSas); break;
    case 0x0E:
      szString.Format("Drive Array Controller Cache Module Not Installed (%s)",
                      GetSlotChassisSun(Scratch(), pEventData->ArrayCacheNotInstalled.szChassis_Sun,
                                        pEventData->ArrayCacheNotInstalled.bSlot));
      break;
    case 0x0F: TranslatePhyDisabledSAS(szString, pEventData->ArraySasPHYDisabled); break;
    case 0x10:
      szString.Format("Drive Array Controller Cache Module Not Compatible With Controller (%s)",
                      GetSlotChassisSun(Scratch(), pEventData->ArrayCacheNotCompatible.szChassis_Sun,
                                        pEventData->ArrayCacheNotCompatible.bSlot));
      break;
    case 0x11: TranslatePhyErrorGenericSAS(szString, pEventData->ArraySasPHYErrorGeneric); break;
    default: break;
  }
}

}  // namespace iml
