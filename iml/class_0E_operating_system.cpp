// Failures and shutdowns of the operating system.
#include "iml/class_decoders.h"
#include "iml/eventstr_helpers.h"

namespace iml {
namespace {

constexpr char kShutdown[] = "Automatic Operating System Shutdown";

// By shutdown cause. The causes come in two runs, from 0x00 and from 0x80.
constexpr const char *kShutdownsFrom00[] = {
    /* 0x00 */ kShutdown,
    /* 0x01 */ "Automatic Operating System Shutdown Initiated Due to Fan Failure",
    /* 0x02 */ "Automatic Operating System Shutdown Initiated Due to Overheat Condition",
    /* 0x03 */ "Automatic Operating System Shutdown Initiated Due to VRM Failure",
    /* 0x04 */ "Automatic Operating System Shutdown Initiated Due to Power Supply Failure",
    /* 0x05 */ "Automatic Operating System Shutdown Initiated Due to System Running On Battery Backup Unit",
};
constexpr const char *kShutdownsFrom80[] = {
    /* 0x80 */ kShutdown,
    /* 0x81 */ "Automatic Operating System Shutdown Aborted",
    /* 0x82 */ "Automatic Operating System Shutdown Due to Fan Failure Aborted",
    /* 0x83 */ "Automatic Operating System Shutdown Due to Overheat Aborted",
    /* 0x84 */ "Automatic Operating System Shutdown Due to VRM Failure Aborted",
    /* 0x85 */ "Automatic Operating System Shutdown Initiated by a Soft Power Down",
    /* 0x86 */ "Automatic Operating System Shutdown Initiated by Software Automatic Server Recovery",
    /* 0x87 */ kShutdown,
    /* 0x88 */ "Automatic Operating System Shutdown Due to Power Supply Failure Aborted",
};

const char *get_shutdown_message(uint8_t cause) {
  return cause < 0x80 ? Lookup(kShutdownsFrom00, cause, kShutdown)
                      : Lookup(kShutdownsFrom80, cause - 0x80U, kShutdown);
}

void translate_os_power_shed(EventText &text, const EVT_OS_PWR_SHED &record) {
  switch (record.bZoneType) {
    case IML_ZONE_NETWORK_COMPONENT:
      text.format("Server Blade Enclosure Network Component Shutdown Via Power Management Software (Slot %s)",
                  Byte2Str(record.bZoneId));
      break;
    case IML_ZONE_BLADE:
      text.format("Server Blade Enclosure Blade Shutdown Via Power Management Software (Slot %s)",
                  Byte2Str(record.bZoneId));
      break;
    default: break;
  }
}

}  // namespace

void TranslateClass0E(uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString) {
  switch (wEventCode) {
    case 1: szString.format("Operating System failure (%s)", pEventData->OsCrash.cMessage); break;
    case 2: szString.append(get_shutdown_message(pEventData->Shutdown.bCause)); break;
    case 3:
      szString.format("Fatal Exception (Number %s, Cause %s)", Byte2Str(pEventData->OsExcept.bException),
                      pEventData->OsExcept.cCause);
      break;
    case 4: szString.append("User Initiated NMI Switch"); break;
    case 5: translate_os_power_shed(szString, pEventData->OsPwrShed); break;
    case 6: szString.append("User Remotely Initiated NMI Switch"); break;
    default: break;
  }
}

}  // namespace iml
