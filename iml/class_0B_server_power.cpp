// Batteries, and the server's power as a whole.
#include "iml/class_decoders.h"

namespace iml {
namespace {

// The text is the battery.
struct BatteryFailure {
  uint32_t error;
  Wording<1> wording;
};

constexpr BatteryFailure kBatteryFailures[] = {
    {4,
     "Quellin Battery failure (Battery %s, service information: 0x01). Action: 1. Consult server troubleshooting guide. 2. Gather Tavlo log and contact Support"},
    {5,
     "Quellin Battery failure (Battery %s, service information: 0x02). Action: 1. Consult server troubleshooting guide. 2. Gather Tavlo log and contact Support"},
    {6,
     "Quellin Battery did not charge at the expected rate, indicating a faulty battery (Battery %s, service information: 0x03). Action: 1. Consult server troubleshooting guide. 2. Gather Tavlo log and contact Support"},
    {7,
     "Quellin Battery disabled due to high ambient temperature, will be re-enabled when temp is lowered (Battery %s, service information: 0x04). Action: 1. Verify proper ventilation and function of fans. 2. If issue persists, gather Tavlo log, contact Support."},
    {8,
     "Quellin Battery discharged to below minimum voltage, resulting in the inability of the battery to recharge properly (Battery %s, service information: 0x05).  Action: 1. Consult server troubleshooting guide. 2. Gather Tavlo log and contact Support"},
    {9,
     "Quellin Battery failure (Battery %s, service information: 0x06). Action: 1. Consult server troubleshooting guide. 2. Gather Tavlo log and contact Orv Support"},
    {10,
     "Quellin Battery has exceeded the maximum amount of devices supported (Battery %s, service information: 0x07). Action: 1. Remove additional devices. 2. Consult server troubleshooting guide. 3. Gather Tavlo log and contact Support"},
    {12,
     "Quellin Battery failure (Battery %s, service information: 0x09). Action: Gather Tavlo log and contact Support"},
    {13,
     "Quellin Battery failure (Battery %s, service information: 0x0A). Action: Gather Tavlo log and contact Support"},
    {14,
     "Quellin Battery failure (Battery %s, service information: 0x0B). Action: 1. Consult server troubleshooting guide. 2 Gather Tavlo log and contact Support"},
};

// Battery 255 is shown as a number.
void TranslateQuellinBatFail(EventText &szString, const EVT_POWER_SUPPLY_STORBAT_FAILED &record) {
  for (const BatteryFailure &failure : kBatteryFailures) {
    if (failure.error == record.dwErrorCode) {
      Scratch battery;
      battery.format("%u", record.bBatteryId);
      szString.format(failure.wording, {battery.c_str()});
      return;
    }
  }
  szString.format(
      "Quellin Battery failure (Battery %d). Action: 1. Consult server troubleshooting guide. 2 Gather Tavlo log and contact Support",
      record.bBatteryId);
}

}  // namespace

void translate_server_power(EventText &text, uint16_t event_code, const EVT_FREE_FORM &data) {
  switch (event_code) {
    case 0x15: text.append("Mismatched Power Supply Installed"); break;
    case 0x16: text.append("Server Powered On"); break;
    case 0x17: text.append("Server Powered Off"); break;
    case 0x18: text.append("Server Power Reset"); break;
    case 0x19: text.append("Server Power Brownout"); break;
    case 0x1B: text.append("System Board Power Protection Fault"); break;
    case 0x1C: text.append("Power Supply or Power Backplane Detection Error"); break;
    case 0x1D: text.append("Power Management Features Disabled By Power Supply"); break;
    case 0x1E: text.format("Quellin Battery Removed (Battery %d)", data.PsStorBatRemoved.bBatteryId); break;
    case 0x1F: TranslateQuellinBatFail(text, data.PsStorBatFailed); break;
    case 0x20:
      text.format("Quellin Battery Not Responding (Battery %d)", data.PsStorBatI2CFault.bBatteryId);
      break;
    case 0x21:
      text.append(
          "The system contains multiple types of power supplies.  Certain features are not supported and power redundancy may be limited");
      break;
    case 0x22:
      text.append(
          "A Power Supply hot-plug event occurred resulting in the system containing multiple types of power supplies when Dynamic Power Capping (DPC) is enabled.  DPC may not function properly in this state, and it is recommended power capping be disabled");
      break;
    case 0x23:
      text.append(
          "A Power Supply hot-plug event occurred resulting in the system containing multiple types of power supplies when High Efficiency Mode (HEM) is enabled.  HEM may not function properly in this state, and it is recommended HEM be disabled");
      break;
    case 0x24: text.format("Power On Denied (Service Information: %s)", data.PsPowerOnDenied.cText); break;
    case 0x25:
      text.format("Battery Backup Unit failure (Bay %d, %s)", data.PsBBUFailure.bBayNumber,
                  data.PsBBUFailure.cText);
      break;
    case 0x26: text.format("Battery Backup Unit inserted (Bay %d)", data.PsBBUInsRem.bBayNumber); break;
    case 0x27: text.format("Battery Backup Unit removed (Bay %d)", data.PsBBUInsRem.bBayNumber); break;
    default: break;
  }
}

}  // namespace iml
