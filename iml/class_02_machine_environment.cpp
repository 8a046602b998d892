// Temperatures, fans and side panels.
#include "iml/chassis_wordings.h"
#include "iml/class_decoders.h"
#include "iml/eventstr_helpers.h"

namespace iml {
namespace {

// Details: temperature sensor, location, temperature.
constexpr ChassisWordings<3> kOverheating = {
    "System Overheating (Temperature Sensor %s, Location %s, Temperature %s)",
    "External Chassis Overheating (Chassis %s, Temperature Sensor %s, Location %s, Temperature %s)",
    "External Storage System Overheating (%sSlot %s, Temperature Sensor %s, Location %s, Temperature %s)",
    "Internal Storage System Overheating (%sSlot %s, Temperature Sensor %s, Location %s, Temperature %s)",
    "Server Blade Enclosure Overheating (Temperature Sensor %s, Location %s, Temperature %s, %s)",
    "Power Enclosure Overheating (Temperature Sensor %s, Location %s, Temperature %s, %s)",
};

// Details: fan, location.
constexpr ChassisWordings<2> kFanFailure = {
    "Fan Failure (Fan %s, Location %s)",
    "External Chassis Fan Failure (Chassis %s, Fan %s, Location %s)",
    "External Storage System Fan Failure (%sSlot %s, Fan %s, Location %s)",
    "Internal Storage System Fan Failure (%sSlot %s, Fan %s, Location %s)",
    "Server Blade Enclosure Fan Failure (Fan %s, Location %s, %s)",
    "Power Enclosure Fan Failure (Fan %s, Location %s, %s)",
};

constexpr ChassisWordings<2> kFanRemoved = {
    "System Fan Removed (Fan %s, Location %s)",
    "External Chassis Fan Removed (Chassis %s, Fan %s, Location %s)",
    "External Storage System Fan Removed (%sSlot %s, Fan %s, Location %s)",
    "Internal Storage System Fan Removed (%sSlot %s, Fan %s, Location %s)",
    "Server Blade Enclosure Fan Removed (Fan %s, Location %s, %s)",
    "Power Enclosure Fan Removed (Fan %s, Location %s, %s)",
};

constexpr ChassisWordings<2> kFanInserted = {
    "System Fan Inserted (Fan %s, Location %s)",
    "External Chassis Fan Inserted (Chassis %s, Fan %s, Location %s)",
    "External Storage System Fan Inserted (%sSlot %s, Fan %s, Location %s)",
    "Internal Storage System Fan Inserted (%sSlot %s, Fan %s, Location %s)",
    "Server Blade Enclosure Fan Inserted (Fan %s, Location %s, %s)",
    "Power Enclosure Fan Inserted (Fan %s, Location %s, %s)",
};

constexpr ChassisWordings<0, 0> kSidePanel = {
    "Side panel removed or improperly installed",
    "External Chassis side panel removed or improperly installed (Chassis %s)",
    "External Storage System side panel removed or improperly installed (%sSlot %s)",
    "Internal Storage System side panel removed or improperly installed (%sSlot %s)",
    "Server Blade Enclosure side panel removed or improperly installed",
    "Power Enclosure side panel removed or improperly installed",
};

// Detail: location.
constexpr ChassisWordings<1> kFansNotRedundant = {
    "System Fans Not Redundant (Location %s)",
    "External Chassis Fans Not Redundant (Chassis %s, Location %s)",
    "External Storage System Fans Not Redundant (%sSlot %s, Location %s)",
    "Internal Storage System Fans Not Redundant (%sSlot %s, Location %s)",
    "Server Blade Enclosure Fans Not Redundant (Location %s, %s)",
    "Power Enclosure Fans Not Redundant (Location %s, %s)",
};

void translate_mach_overheat(EventText &text, const EVT_MACH_OVERHEAT &record) {
  format_by_chassis(text, kOverheating, record.Chassis, record.cChassisName,
                    {Byte2Str(record.bZoneId), GetLocation(record.bZoneType), GetTemp(record.bTemp)});
}

// The records of a fan's failure, removal and insertion are laid out alike.
template <class Record>
void translate_mach_fan(EventText &text, const ChassisWordings<2> &wordings, const Record &record) {
  format_by_chassis(text, wordings, record.Chassis, record.cChassisName,
                    {Byte2Str(record.bFanId), GetLocation(record.bFanZoneType)});
}

void translate_mach_door(EventText &text, const EVT_MACH_DOOR_OPEN &record) {
  format_by_chassis(text, kSidePanel, record.Chassis, record.cChassisName, {});
}

void TranslateMachFanFailSAS(EventText &szString, const EVT_MACH_SAS_FAN_FAIL &record) {
  szString.format("%s Storage Enclosure Fan Failure (Fan %u, Location %s, Box %u, Port %s, %s)",
                  GetInternalExternal(record.Chassis), record.bFanId, GetLocation(record.bFanZoneType),
                  record.bBox, GetSASPort(record.szPortID),
                  GetSlotChassisSun(record.szChassis_Sun, record.Chassis.bId));
}

void TranslateMachOverheatSAS(EventText &szString, const EVT_MACH_SAS_OVERHEAT &record) {
  szString.format(
      "%s Storage Enclosure Overheating (Temperature Sensor %u, Location %s, Box %u, Port %s, %s)",
      GetInternalExternal(record.Chassis), record.bSensorId, GetLocation(record.bZoneType), record.bBox,
      GetSASPort(record.szPortID), GetSlotChassisSun(record.szChassis_Sun, record.Chassis.bId));
}

void TranslateMachExtFanFailSAS(EventText &szString, const EVT_MACH_EXT_SAS_FAN_FAIL &record) {
  Scratch fan;
  if (record.bFanId != 0 && record.bFanModule != 0) {
    fan.format("Fan %u, Fan Module %u", record.bFanId, record.bFanModule);
  } else if (record.bFanModule != 0) {
    fan.format("Fan Module %u", record.bFanModule);
  } else {
    fan.format("Fan %u", record.bFanId);
  }
  szString.format("%s Storage Enclosure Fan Failure (%s, Location %s, Box %u, Port %s, %s)",
                  GetInternalExternal(record.Chassis), fan.c_str(), GetLocation(record.bFanZoneType),
                  record.bBox, GetSASPort(record.szPortID),
                  GetSlotChassisSun(record.szChassis_Sun, record.Chassis.bId));
}

// Only the server itself has a wording for the critical threshold; other chassis show plain overheating. The
// slot description comes last in every parenthesis.
void TranslateMachCriticalOverheat(EventText &szString, const EVT_MACH_CRIT_OVERHEAT &record) {
  const EVT_CHASSIS &chassis = record.Chassis;
  const char *const name = record.szChassis_Sun;
  Scratch number;
  Scratch degrees;
  Scratch detail;
  const char *const sensor = Byte2Str(record.bZoneId, number);
  const char *const location = GetLocation(record.bZoneType);
  const char *const temperature = GetTemp(record.bTemp, degrees);
  append_detail(detail, next_text(record.szChassis_Sun));
  const char *const suffix = detail.c_str();

  switch (chassis.bType) {
    case IML_CHASSIS_SYSTEM:
      if (chassis.bId != 0) {
        szString.format(
            "External Chassis Overheating (Chassis %s, Temperature Sensor %s, Location %s, Temperature %s%s)",
            GetSysChassis(chassis.bId, name), sensor, location, temperature, suffix);
      } else if (record.bZoneId == 0xFF) {
        szString.append("Critical Temperature Threshold Exceeded");
      } else {
        szString.format(
            "Critical Temperature Threshold Exceeded (Temperature Sensor %s, Location %s, Temperature %s%s)",
            sensor, location, temperature, suffix);
      }
      break;
    case IML_CHASSIS_EXTERNAL_STORAGE:
      szString.format(
          "External Storage System Overheating (%sSlot %s, Temperature Sensor %s, Location %s, Temperature %s%s)",
          GetStorChassis(name), Byte2Str(chassis.bId), sensor, location, temperature, suffix);
      break;
    case IML_CHASSIS_INTERNAL_STORAGE:
      szString.format(
          "Internal Storage System Overheating (%sSlot %s, Temperature Sensor %s, Location %s, Temperature %s%s)",
          GetStorChassis(name), Byte2Str(chassis.bId), sensor, location, temperature, suffix);
      break;
    case IML_CHASSIS_SERVER_BLADE_ENCLOSURE:
      szString.format(
          "Server Blade Enclosure Overheating (Temperature Sensor %s, Location %s, Temperature %s, %s%s)",
          sensor, location, temperature, GetChassisEx(name, chassis), suffix);
      break;
    case IML_CHASSIS_POWER_ENCLOSURE:
      szString.format(
          "Power Enclosure Overheating (Temperature Sensor %s, Location %s, Temperature %s, %s%s)", sensor,
          location, temperature, GetChassisEx(name, chassis), suffix);
      break;
    default: break;
  }
}

void TranslateMachOverheatSASController(EventText &szString, const EVT_MACH_SAS_CONTROLLER_OVERHEAT &record) {
  szString.format("%s Storage Controller Overheating (Temperature Sensor %u, Location %s, %s)",
                  GetInternalExternal(record.Chassis), record.bSensorId, GetLocation(record.bZoneType),
                  GetSlotChassisSun(record.szChassis_Sun, record.Chassis.bId));
}

}  // namespace

void TranslateClass02(uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString) {
  switch (wEventCode) {
    case 0x01: translate_mach_overheat(szString, pEventData->MachHeat); break;
    case 0x02: translate_mach_fan(szString, kFanFailure, pEventData->MachFan); break;
    case 0x03: translate_mach_door(szString, pEventData->MachDoor); break;
    case 0x04: translate_mach_fan(szString, kFanRemoved, pEventData->MachFanRem); break;
    case 0x05: translate_mach_fan(szString, kFanInserted, pEventData->MachFanIns); break;
    case 0x06: {
      const EVT_MACH_FAN_NOT_REDUNDANT &record = pEventData->MachFanNotRed;
      format_by_chassis(szString, kFansNotRedundant, record.Chassis, record.cChassisName,
                        {GetLocation(record.bFanZoneType)});
      break;
    }
    case 0x07:
      szString.format("System Fans Not Redundant (Shared Location %s)",
                      GetLocation(pEventData->MachFanNotRedShared.bSharedFanZoneType));
      break;
    // Codes 0x02, 0x03 and 0x01, followed by a slot description. It is shown even if the chassis type has no
    // wording.
    case 0x08:
      translate_mach_fan(szString, kFanFailure, pEventData->MachFan);
      append_detail(szString, next_text(pEventData->MachFan.cChassisName));
      break;
    case 0x09:
      translate_mach_door(szString, pEventData->MachDoor);
      append_detail(szString, next_text(pEventData->MachDoor.cChassisName));
      break;
    case 0x0A:
      translate_mach_overheat(szString, pEventData->MachHeat);
      append_detail(szString, next_text(pEventData->MachHeat.cChassisName));
      break;
    case 0x0B: TranslateMachFanFailSAS(szString, pEventData->MachFanSas); break;
    case 0x0C: TranslateMachOverheatSAS(szString, pEventData->MachHeatSas); break;
    case 0x0D: TranslateMachExtFanFailSAS(szString, pEventData->MachExtFanSas); break;
    case 0x0E: TranslateMachCriticalOverheat(szString, pEventData->MachCritOverheat); break;
    case 0x0F: TranslateMachOverheatSASController(szString, pEventData->MachHeatSasController); break;
    case 0x10:
      szString.format("Critical Temperature Threshold Exceeded (Service Information: %s)",
                      pEventData->MachCritOverheatText.cText);
      break;
    case 0x11:
      szString.format(
          "Temperature sensor has stopped reporting, Maximum Cooling enabled as a precaution (Temperature sensor %d)",
          pEventData->MachSensorReports.bSensorId);
      break;
    case 0x12:
      szString.format(
          "Temperature sensor reporting restored, returning to previous Thermal Configuration (Temperature sensor %d)",
          pEventData->MachSensorReports.bSensorId);
      break;
    default: break;
  }
}

}  // namespace iml
