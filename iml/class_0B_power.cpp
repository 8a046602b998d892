// Power supplies, power modules and power faults.
#include "iml/chassis_wordings.h"
#include "iml/class_decoders.h"
#include "iml/eventstr_helpers.h"

namespace iml {
namespace {

// Names of redundancy domains.
constexpr const char *szRedundancy[] = {"Enclosure", "Power Module", "Bus Bar", "Breaker", "Power Subsystem"};

constexpr const char *szACProblem[] = {
    szUnknown, "Line Over Voltage", "Line Under Voltage", "Line Hit", "Brown Out", "AC Power Loss",
};

// Detail: power supply.
constexpr ChassisWordings<1> kSupplyRemoved = {
    "System Power Supply Removed (Power Supply %s)",
    "External Chassis Power Supply Removed (Chassis %s, Power Supply %s)",
    "External Storage System Power Supply Removed (%sSlot %s, Power Supply %s)",
    "Internal Storage System Power Supply Removed (%sSlot %s, Power Supply %s)",
    "Server Blade Enclosure Power Supply Removed (Power Supply %s, %s)",
    "Power Enclosure Power Supply Removed (Power Supply %s, %s)",
};

constexpr ChassisWordings<1> kSupplyInserted = {
    "System Power Supply Inserted (Power Supply %s)",
    "External Chassis Power Supply Inserted (Chassis %s, Power Supply %s)",
    "External Storage System Power Supply Inserted (%sSlot %s, Power Supply %s)",
    "Internal Storage System Power Supply Inserted (%sSlot %s, Power Supply %s)",
    "Server Blade Enclosure Power Supply Inserted (Power Supply %s, %s)",
    "Power Enclosure Power Supply Inserted (Power Supply %s, %s)",
};

// The enclosures' own text: redundancy domain.
constexpr ChassisWordings<0, 2> kSuppliesNotRedundant = {
    "System Power Supplies Not Redundant",
    "External Chassis Power Supplies Not Redundant (Chassis %s)",
    "External Storage System Power Supplies Not Redundant (%sSlot %s)",
    "Internal Storage System Power Supplies Not Redundant (%sSlot %s)",
    "Server Blade Enclosure Power Supplies Not Redundant (in %s, %s)",
    "Power Enclosure Power Supplies Not Redundant (in %s, %s)",
};

constexpr ChassisWordings<0, 0> kModulesNotRedundant = {
    "System Power Modules Not Redundant",
    "External Chassis Power Modules Not Redundant (Chassis %s)",
    "External Storage System Power Modules Not Redundant (%sSlot %s)",
    "Internal Storage System Power Modules Not Redundant (%sSlot %s)",
    "Server Blade Enclosure Power Modules Not Redundant",
    "Power Enclosure Power Modules Not Redundant",
};

// Detail: power supply. The enclosures' own text: the problem.
constexpr ChassisWordings<1, 3> kAcProblem = {
    "System AC Power Problem (Power Supply %s)",
    "External Chassis AC Power Problem (Chassis %s, Power Supply %s)",
    "External Storage System AC Power Problem (%sSlot %s, Power Supply %s)",
    "Internal Storage System AC Power Problem (%sSlot %s, Power Supply %s)",
    "Server Blade Enclosure AC Power Problem (Power Supply %s, Reason: %s, %s)",
    "Power Enclosure AC Power Problem (Power Supply %s, Reason: %s, %s)",
};

// Detail: power supply. The enclosures' own text: voltage.
constexpr ChassisWordings<1, 3> kAcOverload = {
    "System AC Power Overload (Power Supply %s)",
    "External Chassis AC Power Overload (Chassis %s, Power Supply %s)",
    "External Storage System AC Power Overload (%sSlot %s, Power Supply %s)",
    "Internal Storage System AC Power Overload (%sSlot %s, Power Supply %s)",
    "Server Blade Enclosure AC Power Overload (Power Supply %s, Voltage: %s, %s)",
    "Power Enclosure AC Power Overload (Power Supply %s, Voltage: %s, %s)",
};

// Detail: power supply. Enclosures are not named.
constexpr ChassisWordings<1, 1> kSupplyPoweredUp = {
    "System Power Supply Powered Up (Power Supply %s)",
    "External Chassis System Power Supply Powered Up (Chassis %s, Power Supply %s)",
    "External Storage System Power Supply Powered Up (%sSlot %s, Power Supply %s)",
    "Internal Storage System Power Supply Powered Up (%sSlot %s, Power Supply %s)",
    "Server Blade Enclosure System Power Supply Powered Up (Power Supply %s)",
    "Power Enclosure System Power Supply Powered Up (Power Supply %s)",
};

constexpr ChassisWordings<1, 1> kSupplyPoweredDown = {
    "System Power Supply Powered Down (Power Supply %s)",
    "External Chassis System Power Supply Powered Down (Chassis %s, Power Supply %s)",
    "External Storage System Power Supply Powered Down (%sSlot %s, Power Supply %s)",
    "Internal Storage System Power Supply Powered Down (%sSlot %s, Power Supply %s)",
    "Server Blade Enclosure System Power Supply Powered Down (Power Supply %s)",
    "Power Enclosure System Power Supply Powered Down (Power Supply %s)",
};

// Detail: power module. Enclosures are not named.
constexpr ChassisWordings<1, 1> kModuleFailure = {
    "System Power Module Failure (Power Module %s)",
    "External Chassis Power Module Failure (Chassis %s, Power Module %s)",
    "External Storage System Power Module Failure (%sSlot %s, Power Module %s)",
    "Internal Storage System Power Module Failure (%sSlot %s, Power Module %s)",
    "Server Blade Enclosure Power Module Failure (Power Module %s)",
    "Power Enclosure Power Module Failure (Power Module %s)",
};

constexpr ChassisWordings<1, 1> kModuleRemoved = {
    "System Power Module Removed (Power Module %s)",
    "External Chassis Power Module Removed (Chassis %s, Power Module %s)",
    "External Storage System Power Module Removed (%sSlot %s, Power Module %s)",
    "Internal Storage System Power Module Removed (%sSlot %s, Power Module %s)",
    "Server Blade Enclosure Power Module Removed (Power Module %s)",
    "Power Enclosure Power Module Removed (Power Module %s)",
};

constexpr ChassisWordings<1, 1> kModuleInserted = {
    "System Power Module Inserted (Power Module %s)",
    "External Chassis Power Module Inserted (Chassis %s, Power Module %s)",
    "External Storage System Power Module Inserted (%sSlot %s, Power Module %s)",
    "Internal Storage System Power Module Inserted (%sSlot %s, Power Module %s)",
    "Server Blade Enclosure Power Module Inserted (Power Module %s)",
    "Power Enclosure Power Module Inserted (Power Module %s)",
};

constexpr ChassisWordings<1, 1> kModuleOverload = {
    "System Power Module Overload (Power Module %s)",
    "External Chassis Power Module Overload (Chassis %s, Power Module %s)",
    "External Storage System Power Module Overload (%sSlot %s, Power Module %s)",
    "Internal Storage System Power Module Overload (%sSlot %s, Power Module %s)",
    "Server Blade Enclosure Power Module Overload (Power Module %s)",
    "Power Enclosure Power Module Overload (Power Module %s)",
};

const char *GetRedundancy(uint8_t redundancy) {
  return Lookup(szRedundancy, redundancy);
}

const char *GetACProblem(uint8_t problem) {
  return Lookup(szACProblem, problem);
}

const char *GetPSError(uint8_t bPSError) {
  switch (bPSError) {
    case 0x00: return "General Failure";
    case 0x01: return "BIST Failure";
    case 0x02: return "Fan Failure";
    case 0x05: return "EPROM Failure";
    case 0x06: return "VREF Failure";
    case 0x07: return "DAC Failure";
    case 0x08: return "RAM Test Failed";
    case 0x09: return "Voltage Channel Failure";
    case 0x0C: return "Give Up On Startup";
    case 0x0D: return "NVRAM Invalid";
    case 0x0E: return "Calibration Table Invalid";
    case 0x0F: return "Input Power Loss or Unplugged Power Cord, Verify Power Supply Input";
    case 0xFF: return "No Error";
    default: return "Unknown Failure";
  }
}

// The error comes before the chassis, which ChassisWordings cannot express.
void translate_ps_failure(EventText &text, const EVT_POWER_SUPPLY_FAILURE &record) {
  const EVT_CHASSIS &chassis = record.Chassis;
  const char *const name = record.cChassisName;
  Scratch number;
  const char *const supply = Byte2Str(record.bPsId, number);
  const char *const error = GetPSError(record.bPsErrorId);
  switch (chassis.bType) {
    case IML_CHASSIS_SYSTEM:
      if (chassis.bId == 0) {
        text.format("System Power Supply: %s (Power Supply %s)", error, supply);
      } else {
        text.format("External Chassis Power Supply: %s (Chassis %s, Power Supply %s)", error,
                    GetSysChassis(chassis.bId, name), supply);
      }
      break;
    case IML_CHASSIS_EXTERNAL_STORAGE:
      text.format("External Storage System Power Supply: %s (%sSlot %s, Power Supply %s)", error,
                  GetStorChassis(name), Byte2Str(chassis.bId), supply);
      break;
    case IML_CHASSIS_INTERNAL_STORAGE:
      text.format("Internal Storage System Power Supply: %s (%sSlot %s, Power Supply %s)", error,
                  GetStorChassis(name), Byte2Str(chassis.bId), supply);
      break;
    case IML_CHASSIS_SERVER_BLADE_ENCLOSURE:
      text.format("Server Blade Enclosure Power Supply: %s (Power Supply %s, %s)", error, supply,
                  GetChassisEx(name, chassis));
      break;
    case IML_CHASSIS_POWER_ENCLOSURE:
      text.format("Power Enclosure Power Supply: %s (Power Supply %s, %s)", error, supply,
                  GetChassisEx(name, chassis));
      break;
    default: break;
  }
}

void translate_battery_low(EventText &text, const EVT_BATTERY_LOW &record) {
  if (record.Chassis.bId == 0) {
    text.append("Real-Time Clock Battery Failing");
  } else {
    text.format("Real-Time Clock Battery Failing (Chassis %s)", Byte2Str(record.Chassis.bId));
  }
}

// Enclosures have no wording. The chassis is shown by number only.
void translate_power_module_failure(EventText &text, const EVT_POWER_MODULE_FAILURE &record) {
  static constexpr const char *kSentences[] = {
      "A Power Module has Failed",
      "A CPU Power Module has Failed",
      "A PCI Power Module has Failed",
      "An I/O Power Module has Failed",
  };
  const EVT_CHASSIS &chassis = record.Chassis;
  if (chassis.bType < IML_CHASSIS_SYSTEM || chassis.bType > IML_CHASSIS_INTERNAL_STORAGE) {
    return;
  }
  const char *const sentence = Lookup(kSentences, record.bConverterType, kSentences[0]);
  if (chassis.bType == IML_CHASSIS_SYSTEM && chassis.bId == 0) {
    text.format("%s (System Board, Socket %s)", sentence, Byte2Str(record.bConverter));
  } else {
    text.format("%s (Chassis %s, Slot %s, Socket %s)", sentence, Byte2Str(chassis.bId),
                Byte2Str(record.bSlot), Byte2Str(record.bConverter));
  }
}

// The record of an enclosure holds one byte more, before the name.
void translate_ps_not_redundant(EventText &text, const EVT_FREE_FORM &payload) {
  const EVT_CHASSIS &chassis = payload.PsNotRed.Chassis;
  const bool enclosure =
      chassis.bType == IML_CHASSIS_SERVER_BLADE_ENCLOSURE || chassis.bType == IML_CHASSIS_POWER_ENCLOSURE;
  format_by_chassis(text, kSuppliesNotRedundant, chassis,
                    enclosure ? payload.PsInfNotRed.cChassisName : payload.PsNotRed.cChassisName, {},
                    GetRedundancy(payload.PsInfNotRed.bType));
}

// The layouts of these records differ, but all name a power supply and its chassis.
template <size_t EnclosureTexts, class Record>
void translate_power_supply(EventText &text, const ChassisWordings<1, EnclosureTexts> &wordings,
                            const Record &record, const char *enclosure_detail = "") {
  format_by_chassis(text, wordings, record.Chassis, record.cChassisName, {Byte2Str(record.bPsId)},
                    enclosure_detail);
}

// The same for power modules.
template <class Record>
void translate_power_module(EventText &text, const ChassisWordings<1, 1> &wordings, const Record &record) {
  format_by_chassis(text, wordings, record.Chassis, record.cChassisName, {Byte2Str(record.bId)});
}

void translate_ac_problem(EventText &text, const EVT_POWER_AC_VOLTAGE &record) {
  translate_power_supply(text, kAcProblem, record, GetACProblem(record.bError));
}

void TranslatePsFailureSAS(EventText &szString, const EVT_SAS_POWER_SUPPLY_FAILURE &record) {
  szString.format("%s Storage Enclosure Power Supply Failure (Power Supply %u, Box %u, Port %s, %s)",
                  GetInternalExternal(record.Chassis), record.bPsId, record.bBox, GetSASPort(record.szPortID),
                  GetSlotChassisSun(record.szChassis_Sun, record.Chassis.bId));
}

void TranslatePsServerPowerFault(EventText &szString, const EVT_SYS_POWER_FAULT &record, int8_t bDataLength) {
  // The length without the two registers, again as a signed byte: at most 127. A negative number lists no
  // module.
  const auto modules = static_cast<int8_t>(bDataLength - 2);
  OwnText<sizeof("XR: 00 00 MID:") + 127 * (sizeof(" 00") - 1)> registers;
  registers.format("XR: %02X %02X", record.bXRegisters[0], record.bXRegisters[1]);
  const uint8_t *const chain = record.bMIDChain;
  if (modules > 0) {
    registers.append(" MID:");
  }
  for (int i = 0; i < modules; ++i) {
    registers.format(" %02X", chain[i]);
  }
  constexpr unsigned kSupplyUndersized = 0x04;
  if ((record.bXRegisters[1] & kSupplyUndersized) != 0) {
    szString.format(
        "System Power Fault Detected. Consult Orv Wattplan To Ensure Power Supply Sizing. Increase Power If Required (%s)",
        registers.c_str());
  } else {
    szString.format("System Power Fault Detected (%s)", registers.c_str());
  }
}

}  // namespace

void TranslateClass0B(uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString,
                      int8_t bDataLength) {
  switch (wEventCode) {
    case 0x01: translate_ps_failure(szString, pEventData->PsFail); break;
    case 0x02: translate_battery_low(szString, pEventData->BatLow); break;
    case 0x03: translate_power_module_failure(szString, pEventData->PowerMod); break;
    case 0x04: translate_power_supply(szString, kSupplyRemoved, pEventData->PsRem); break;
    case 0x05: translate_power_supply(szString, kSupplyInserted, pEventData->PsIns); break;
    case 0x06: translate_ps_not_redundant(szString, *pEventData); break;
    case 0x07:
      format_by_chassis(szString, kModulesNotRedundant, pEventData->PowerModNotRed.Chassis,
                        pEventData->PowerModNotRed.cChassisName, {});
      break;
    case 0x08: translate_ac_problem(szString, pEventData->PsAcVolt); break;
    case 0x09:
      translate_power_supply(szString, kAcOverload, pEventData->PsAcOverload,
                             Byte2Str(pEventData->PsAcOverload.bVoltage));
      break;
    case 0x0A: translate_power_supply(szString, kSupplyPoweredUp, pEventData->PsPowered); break;
    case 0x0B: translate_power_supply(szString, kSupplyPoweredDown, pEventData->PsUnpowered); break;
    case 0x0C: translate_power_module(szString, kModuleFailure, pEventData->PsModFail); break;
    case 0x0D: translate_power_module(szString, kModuleRemoved, pEventData->PsModRem); break;
    case 0x0E: translate_power_module(szString, kModuleInserted, pEventData->PsModIns); break;
    case 0x0F:
      format_by_chassis(szString, kModulesNotRedundant, pEventData->PsModNotRed.Chassis,
                        pEventData->PsModNotRed.cChassisName, {});
      break;
    case 0x10: translate_power_module(szString, kModuleOverload, pEventData->PsModOverload); break;
    // Codes 0x08, 0x02 and 0x01 with a service text after the record. It is shown even if the chassis type
    // has no wording.
    case 0x11:
      translate_ac_problem(szString, pEventData->PsAcVolt);
      append_detail(szString, next_text(pEventData->PsAcVolt.cChassisName));
      break;
    case 0x12:
      translate_battery_low(szString, pEventData->BatLow);
      append_detail(szString,
                    reinterpret_cast<const char *>(pEventData->ExtendDataSize + sizeof(EVT_BATTERY_LOW)));
      break;
    case 0x13:
      translate_ps_failure(szString, pEventData->PsFail);
      append_detail(szString, next_text(pEventData->PsFail.cChassisName));
      break;
    case 0x14: TranslatePsFailureSAS(szString, pEventData->PsFailSas); break;
    case 0x1A: TranslatePsServerPowerFault(szString, pEventData->PsSysPowerFault, bDataLength); break;
    default: translate_server_power(szString, wEventCode, *pEventData); break;
  }
}

}  // namespace iml
