// Events of blade and power enclosures.
#include "iml/class_decoders.h"
#include "iml/eventstr_helpers.h"

namespace iml {
namespace {

constexpr const char *szInadequatePowerReason[] = {
    "Lost Redundant Power",
    "Not Enough Power",
    "Denied By Server Enclosure Management Board",
    "Denied By Power Enclosure Management Board",
};

const char *GetInadequatePowerReason(uint8_t bReason) {
  return Lookup(szInadequatePowerReason, bReason);
}

constexpr const char *szImproperPowerReason[] = {
    "Unknown",
    "Load Balancing Wire Missing",
    "Too Many Power Enclosures",
    "Improperly Populated Power Bank",
    "DC-to-DC Configuration Invalid",
};

const char *GetImproperPowerReason(uint8_t bError) {
  return Lookup(szImproperPowerReason, bError);
}

constexpr const char *szRackSide[] = {"Unknown Location", "Left Side", "Right Side"};

const char *GetRackSide(uint8_t bSide) {
  return Lookup(szRackSide, bSide, "Unknown Location");
}

constexpr const char *szEthSwErr[] = {
    "Unknown",
    "Powering up",
    "Micro-controller fault",
    "Power fault",
    "Over-current fault",
    "Fan 1 failed or removed",
    "Temperature at caution level",
    "Temperature at critical level",
    "RJ45 module missing",
    "Fan 2 failed or removed",
};

const char *GetEthSwErr(uint8_t bProblem) {
  return Lookup(szEthSwErr, bProblem);
}

constexpr const char *szPwrBus[] = {"Unknown Location", "Power Bus A", "Power Bus B"};

const char *GetPwrBus(uint8_t bSide) {
  return Lookup(szPwrBus, bSide);
}

constexpr const char *szInfMainLocation[] = {
    "Chassis Slot 1",
    "Chassis Slot 2",
    "Chassis Slot 3",
    "Chassis Slot 4",
    "Chassis Slot 5",
    "Chassis Slot 6",
    "Chassis Slot 7",
    "Chassis Slot 8",
    "Server Blade Management Module",
    "Signal Backplane",
    "Power Backplane A",
    "Power Backplane B",
    "Interconnect Blade A",
    "Interconnect Blade B",
    "RJ45 10 East",
    "RJ45 10 West",
    "RJ45 6 East",
    "RJ45 6 West",
    "Unknown",
};

const char *GetInfMainLocation(uint8_t bLocation) {
  return Lookup(szInfMainLocation, bLocation);
}

constexpr const char *szInfSubLocation[] = {
    "Brix Management Controller",
    "FRU EEPROM",
    "Memory",
    "ICMB UART",
    "ROM",
    "LM75",
    "I2C Bus 0",
    "I2C Bus 1",
    "I2C Bus 2",
    "Software",
    "I2C Bus",
    "9544 Fuse Mux",
    "9555 Quick Switch",
    "9555 Sense",
    "9555 Enable",
    "9555 IO Expander",
    "9555 Mux",
};

const char *GetInfSubLocation(uint8_t bSubLocation) {
  return Lookup(szInfSubLocation, bSubLocation);
}

constexpr const char *szInfError[] = {
    "I2C Error", "Interrupt Error", "Invalid FRU Data", "POST Failure",      "Backup ROM Booted",
    "Bus Error", "Stack Overflow",  "I2C Bus Timeout",  "Unknown I2C Error",
};

const char *GetInfErrString(uint8_t bError) {
  return Lookup(szInfError, bError);
}

constexpr const char *szPowerRequestDenied[] = {
    "Unknown",
    "Not Enough Power",
    "Electronic Keying or I/O Configuration Error",
    "Not Enough Cooling",
    "Power Hold by Manager Profile",
    "Enclosure Busy",
    "Enclosure Error",
};

const char *GetPowerDenialReason(uint8_t bReason) {
  return Lookup(szPowerRequestDenied, bReason);
}

// The words that begin most lines. They are empty for other chassis, whose lines begin with a blank.
const char *get_enclosure_type(const EVT_CHASSIS &chassis) {
  switch (chassis.bType) {
    case IML_CHASSIS_SERVER_BLADE_ENCLOSURE: return "Server Blade Enclosure";
    case IML_CHASSIS_POWER_ENCLOSURE: return "Power Enclosure";
    default: return "";
  }
}

// The enclosure's serial number or address, for any record with an enclosure's name.
template <class Record>
const char *get_enclosure(const Record &record, EventText &text = Scratch().here()) {
  return GetChassisEx(record.cChassisName, record.Chassis, text);
}

// Most events name the enclosure and one or two details. The functions differ in the order of these.

template <class Record>
void translate_inf(EventText &text, Wording<2> wording, const Record &record) {
  text.format(wording, {get_enclosure_type(record.Chassis), get_enclosure(record)});
}

template <class Record>
void translate_inf(EventText &text, Wording<3> wording, const Record &record, const char *detail) {
  text.format(wording, {get_enclosure_type(record.Chassis), get_enclosure(record), detail});
}

template <class Record>
void translate_inf_at(EventText &text, Wording<3> wording, const Record &record, const char *place) {
  text.format(wording, {get_enclosure_type(record.Chassis), place, get_enclosure(record)});
}

template <class Record>
void translate_inf_blade(EventText &text, Wording<4> wording, const Record &record, const char *reason) {
  text.format(wording,
              {get_enclosure_type(record.Chassis), reason, get_enclosure(record), Byte2Str(record.bBlade)});
}

template <class Record>
void translate_inf_side(EventText &text, Wording<4> wording, const Record &record, const char *problem) {
  text.format(wording, {get_enclosure_type(record.Chassis), problem, GetRackSide(record.bSide),
                        get_enclosure(record)});
}

// A fault or a removal. Both records number the blower in bProblem.
template <class Record>
void translate_inf_blower(EventText &text, Wording<4> wording, const Record &record) {
  translate_inf_side(text, wording, record, Byte2Str(record.bProblem));
}

void translate_inf_fuse_open(EventText &text, const EVT_INF_ENV_FUSE_OPEN &record) {
  const auto position = static_cast<uint8_t>(record.bZoneId & 0x0F);
  const char *const fuse = (record.bZoneId & 0x10) != 0 ? "B" : "A";
  switch (record.bZoneType) {
    case IML_ZONE_BLADE:
      text.format("%s Blade Fuse or Breaker Tripped (%s, Slot %s, Fuse %s)",
                  get_enclosure_type(record.Chassis), get_enclosure(record), Byte2Str(position), fuse);
      break;
    case IML_ZONE_NETWORK_COMPONENT:
      text.format("%s Network Component Fuse or Breaker Tripped (%s, %s, Fuse %s)",
                  get_enclosure_type(record.Chassis), get_enclosure(record), GetRackSide(position), fuse);
      break;
    default: break;
  }
}

void translate_inf_blade_change(EventText &text, const EVT_INF_ENV_BLADE_INS_REM &record) {
  constexpr Wording<3> kInserted = "%s Blade Inserted (%s, Slot %s)";
  constexpr Wording<3> kRemoved = "%s Blade Removed (%s, Slot %s)";
  translate_inf(text, record.bPresent != 0 ? kInserted : kRemoved, record, Byte2Str(record.bBlade));
}

// This event counts the power buses from 1, the next one counts them from 0.
void translate_inf_power_balance(EventText &text, const EVT_INF_ENV_PWR_LOAD_BALANCING &record) {
  translate_inf(text, "%s Power Not Balanced (%s, %s)", record,
                record.cSide == 1 ? "Power Bus A" : "Power Bus B");
}

void translate_inf_dc_power(EventText &text, const EVT_INF_ENV_DC_PWR_PROBLEM &record) {
  text.format("%s DC Power Out Of Tolerance (%s, %s, %d mV)", get_enclosure_type(record.Chassis),
              get_enclosure(record), record.cSide == 0 ? "Power Bus A" : "Power Bus B", record.wVoltage);
}

void translate_inf_rack_change(EventText &text, const EVT_INF_ENV_RACK_INFRASTRUCTURE_CHG &record) {
  Scratch buffer;
  const char *const type = get_enclosure_type(record.Chassis);
  const char *const enclosure = get_enclosure(record, buffer);
  switch (record.bType) {
    case 1: text.format("%s Rack Name Changed (%s)", type, enclosure); break;
    case 2: text.format("%s Name Changed (%s)", type, enclosure); break;
    case 3: text.format("%s Service Change (%s)", type, enclosure); break;
    case 4: text.format("%s Rack Name Conflict (%s)", type, enclosure); break;
    case 5: text.format("%s Rack Unique ID Changed (%s)", type, enclosure); break;
    case 7: text.format("%s LAN Settings Changed (%s)", type, enclosure); break;
    case 8: text.format("%s UID LED State Changed (%s)", type, enclosure); break;
    default:
      text.format("%s Rack Infrastructure Changed (%s, Type 0x%02X)", type, enclosure, record.bType);
      break;
  }
}

void translate_inf_power_misconfig(EventText &text, const EVT_INF_ENV_PWR_SUBSYS_MISCONFIGURED &record) {
  if (record.bLocation == 0) {
    text.format("%s Power Subsystem Misconfigured: %s (%s)", get_enclosure_type(record.Chassis),
                GetImproperPowerReason(record.bError), get_enclosure(record));
  } else {
    text.format("%s Power Subsystem Misconfigured: %s (%s, %s)", get_enclosure_type(record.Chassis),
                GetImproperPowerReason(record.bError), GetRackSide(record.bLocation), get_enclosure(record));
  }
}

void translate_inf_zone(EventText &text, Wording<3> blade, Wording<3> network_component,
                        const EVT_INF_ENV_BLADE_INS_REM_2 &record) {
  const bool is_blade = record.bZoneType == IML_ZONE_BLADE;
  if (!is_blade && record.bZoneType != IML_ZONE_NETWORK_COMPONENT) {
    return;
  }
  translate_inf_at(text, is_blade ? blade : network_component, record,
                   is_blade ? Byte2Str(record.bZoneId) : GetRackSide(record.bZoneId));
}

void translate_inf_chassis_error(EventText &text, const EVT_INF_ENV_CHASSIS_ERR &record) {
  text.format("Infrastructure Fault, %s at %s, %s", GetInfErrString(record.bError),
              GetInfMainLocation(record.bLocation), GetInfSubLocation(record.bSubLocation));
}

void translate_inf_firmware_mismatch(EventText &text, const EVT_INF_FIRMWARE_MISMATCH &record) {
  text.format("Chassis %s requires minimum firmware revision %s.%s. It is currently %s.%s.",
              get_enclosure(record), GetBCDString(record.bRequiredMajor), GetBCDString(record.bRequiredMinor),
              GetBCDString(record.bCurrentMajor), GetBCDString(record.bCurrentMinor));
}

}  // namespace

void TranslateClass22(uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString) {
  const EVT_FREE_FORM &data = *pEventData;
  switch (wEventCode) {
    case 0x01:
      translate_inf_blade(szString, "%s Inadequate Power To Power On: %s (%s, Slot %s)", data.InfCantPwrOn,
                          GetInadequatePowerReason(data.InfCantPwrOn.bReason));
      break;
    case 0x02:
      translate_inf(szString, "%s Blade Manual Power On (%s, Slot %s)", data.InfManOverride,
                    Byte2Str(data.InfManOverride.bBlade));
      break;
    case 0x03: translate_inf_fuse_open(szString, data.InfFuseOpen); break;
    case 0x04:
      translate_inf(szString, "%s Blade I2C Bus Fault (%s, Bus %s)", data.InfI2cFlt,
                    Byte2Str(data.InfI2cFlt.bBus));
      break;
    case 0x05: translate_inf_blade_change(szString, data.InfBladeInsRem); break;
    case 0x06: translate_inf_power_balance(szString, data.InfPwrLoadBal); break;
    case 0x07: translate_inf_dc_power(szString, data.InfDcPwrProblem); break;
    case 0x08:
      translate_inf(szString, "%s AC Facility Input Power Exceeded (%s)", data.InfAcPwrProblem);
      break;
    case 0x09: szString.format("Loss Of Chassis Connectivity (%s)", get_enclosure(data.InfLostCon)); break;
    case 0x0A: szString.format("New Chassis Connected (%s)", get_enclosure(data.InfNewCon)); break;
    case 0x0B: translate_inf_rack_change(szString, data.InfRackChange); break;
    case 0x0C: translate_inf(szString, "%s Unknown Power Consumption (%s)", data.InfUnknownPwrUse); break;
    case 0x0D: translate_inf_power_misconfig(szString, data.InfPwrMisconfig); break;
    case 0x0E: translate_inf(szString, "%s Status Change (%s)", data.InfEnclMgrStatus); break;
    case 0x0F:
      translate_inf_blower(szString, "%s Blower Fault (%s, Blower %s, %s)", data.InfBlwrFault);
      break;
    case 0x10:
      translate_inf_blower(szString, "%s Blower Removed (%s, Blower %s, %s)", data.InfBlwrRem);
      break;
    case 0x11:
      translate_inf_side(szString, "%s Ethernet Switch Error - %s (%s, %s)", data.InfEthSwFlt,
                         GetEthSwErr(data.InfEthSwFlt.bProblem));
      break;
    case 0x12:
      translate_inf_at(szString, "%s Power Feed Missing (%s, %s)", data.InfInPwrSenseErr,
                       GetPwrBus(data.InfInPwrSenseErr.bSide));
      break;
    case 0x13:
      translate_inf_zone(szString, "%s Server Blade Inserted (Slot %s, %s)",
                         "%s Network Component Inserted (%s, %s)", data.InfBladeInsRem2);
      break;
    case 0x14:
      translate_inf_zone(szString, "%s Server Blade Removed (Slot %s, %s)",
                         "%s Network Component Removed (%s, %s)", data.InfBladeInsRem2);
      break;
    case 0x15:
      szString.format("%s Invalid Topology - Check Cabling", get_enclosure_type(data.InfTopErr.Chassis));
      break;
    case 0x18: translate_inf_chassis_error(szString, data.InfChassisError); break;
    case 0x19: translate_inf_firmware_mismatch(szString, data.InfFirmwareMismatch); break;
    case 0x1A:
      translate_inf_blade(szString, "%s Power Request Denied: %s (%s, Slot %s)", data.InfPowerRequestDenied,
                          GetPowerDenialReason(data.InfPowerRequestDenied.bReason));
      break;
    default: break;
  }
}

}  // namespace iml
