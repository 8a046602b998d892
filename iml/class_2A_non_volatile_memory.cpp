// Memory modules that keep their contents in flash memory while the power is off.
#include "iml/class_decoders.h"
#include "iml/eventstr_helpers.h"

namespace iml {
namespace {

// The first eight characters of the serial number; empty when there is none.
const char *get_serial_part(const char *serial_number, EventText &text = Scratch().here()) {
  if (*serial_number == '\0') {
    return "";
  }
  text.format(", Serial Number %.8s", serial_number);
  return text.c_str();
}

}  // namespace

void TranslateClass2A(uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString) {
  const auto error = [&](FormatString<const char *, uint8_t, uint8_t, const char *> message) {
    const EVT_NVM_REC &record = pEventData->NVMRec;
    szString.format(message, get_cpu_board(record.bCPUBoardFlag), record.bCPUBoardId, record.bMemModuleId,
                    get_serial_part(record.cSerialNumber));
  };
  const auto retried = [&](FormatString<const char *, uint8_t, uint8_t, uint8_t, const char *> message) {
    const EVT_NVM_REC_RETRY &record = pEventData->NVMRecRetry;
    szString.format(message, get_cpu_board(record.bCPUBoardFlag), record.bCPUBoardId, record.bMemModuleId,
                    record.bRetryCount, get_serial_part(record.cSerialNumber));
  };
  switch (wEventCode) {
    case 1:
      error(
          "NVDIMM Error - Backup Error (%s %u, Memory Module %u%s). Persistent data backup failed and data is not available. Action: Replace the NVDIMM if issue persists.");
      break;
    case 2:
      retried(
          "NVDIMM Error - Restore Error (%s %u, Memory Module %u, Retry count %u%s). Persistent data restore failed and data is not available. Action: Replace the NVDIMM.");
      break;
    case 3:
      error(
          "NVDIMM Error - Memory Failure (%s %u, Memory Module %u%s). Non-volatile memory device has failed and requires replacement. Action: Replace the NVDIMM.");
      break;
    case 4:
      error(
          "NVDIMM Error - Uncorrectable Memory Error (%s %u, Memory Module %u%s). This NVDIMM will not be available to the operating system. Action: Replace the NVDIMM.");
      break;
    case 5:
      error(
          "NVDIMM Error - Backup Power Not Available (%s %u, Memory Module %u%s). Unable to charge backup power for non-volatile memory. The memory device is operating as volatile memory.");
      break;
    case 6:
      error(
          "NVDIMM Error - NVDIMM Controller Error (%s %u, Memory Module %u%s). An error was found with the NVDIMM controller. The OS will not use the NVDIMM. Action: Update the NVDIMM firmware. If issue persists, replace the NVDIMM.");
      break;
    case 7:
      error(
          "NVDIMM Error - Charge Error (%s %u, Memory Module %u%s). Incomplete charging of backup power for non-volatile memory is preventing successful backup operation. The memory device is not usable.");
      break;
    case 9:
      error(
          "NVDIMM Error - Erase Error (%s %u, Memory Module %u%s). The NVDIMM could not be erased and future backup operations are not possible. Action: Save the NVDIMM contents to other media to preserve data and replace the NVDIMM.");
      break;
    case 10:
      retried(
          "NVDIMM Error - Erase Retry Above Threshold (%s %u, Memory Module %u, Retry count %u%s). A non-volatile memory erase retry has occurred. Non-volatile memory health is declining.");
      break;
    case 11:
      error(
          "NVDIMM Error - Backup Power Error (%s %u, Memory Module %u%s). Backup power is not available and a future backup is not possible. Action: Ensure backup power is available. Re-seat NVDIMM if power is available.");
      break;
    case 12:
      error(
          "NVDIMM Error - Arm Error (%s %u, Memory Module %u%s). The NVDIMM could not be armed and future backups are not possible. Action: Save the NVDIMM contents to other media to preserve data and replace the NVDIMM.");
      break;
    case 13:
      error(
          "NVDIMM Error - Firmware Corruption (%s %u, Memory Module %u%s). The NVDIMM controller firmware has been corrupted. The OS will not use the NVDIMM. Action: Re-program the firmware to restore NVDIMM functionality.");
      break;
    default: break;
  }
}

}  // namespace iml
