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

// An event whose record counts no retries.
struct Error {
  uint16_t code;
  FormatString<const char *, uint8_t, uint8_t, const char *> wording;
};

constexpr Error kErrors[] = {
    {1,
     "NVDIMM Error - Backup Error (%s %u, Memory Module %u%s). Persistent data backup failed and data is not available. Action: Replace the NVDIMM if issue persists."},
    {3,
     "NVDIMM Error - Memory Failure (%s %u, Memory Module %u%s). Non-volatile memory device has failed and requires replacement. Action: Replace the NVDIMM."},
    {4,
     "NVDIMM Error - Uncorrectable Memory Error (%s %u, Memory Module %u%s). This NVDIMM will not be available to the operating system. Action: Replace the NVDIMM."},
    {5,
     "NVDIMM Error - Backup Power Not Available (%s %u, Memory Module %u%s). Unable to charge backup power for non-volatile memory. The memory device is operating as volatile memory."},
    {6,
     "NVDIMM Error - NVDIMM Controller Error (%s %u, Memory Module %u%s). An error was found with the NVDIMM controller. The OS will not use the NVDIMM. Action: Update the NVDIMM firmware. If issue persists, replace the NVDIMM."},
    {7,
     "NVDIMM Error - Charge Error (%s %u, Memory Module %u%s). Incomplete charging of backup power for non-volatile memory is preventing successful backup operation. The memory device is not usable."},
    {9,
     "NVDIMM Error - Erase Error (%s %u, Memory Module %u%s). The NVDIMM could not be erased and future backup operations are not possible. Action: Save the NVDIMM contents to other media to preserve data and replace the NVDIMM."},
    {11,
     "NVDIMM Error - Backup Power Error (%s %u, Memory Module %u%s). Backup power is not available and a future backup is not possible. Action: Ensure backup power is available. Re-seat NVDIMM if power is available."},
    {12,
     "NVDIMM Error - Arm Error (%s %u, Memory Module %u%s). The NVDIMM could not be armed and future backups are not possible. Action: Save the NVDIMM contents to other media to preserve data and replace the NVDIMM."},
    {13,
     "NVDIMM Error - Firmware Corruption (%s %u, Memory Module %u%s). The NVDIMM controller firmware has been corrupted. The OS will not use the NVDIMM. Action: Re-program the firmware to restore NVDIMM functionality."},
};

}  // namespace

void TranslateClass2A(uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString) {
  const EVT_NVM_REC_RETRY &retried = pEventData->NVMRecRetry;
  if (wEventCode == 2) {
    szString.format(
        "NVDIMM Error - Restore Error (%s %u, Memory Module %u, Retry count %u%s). Persistent data restore failed and data is not available. Action: Replace the NVDIMM.",
        get_cpu_board(retried.bCPUBoardFlag), retried.bCPUBoardId, retried.bMemModuleId, retried.bRetryCount,
        get_serial_part(retried.cSerialNumber));
  } else if (wEventCode == 10) {
    szString.format(
        "NVDIMM Error - Erase Retry Above Threshold (%s %u, Memory Module %u, Retry count %u%s). A non-volatile memory erase retry has occurred. Non-volatile memory health is declining.",
        get_cpu_board(retried.bCPUBoardFlag), retried.bCPUBoardId, retried.bMemModuleId, retried.bRetryCount,
        get_serial_part(retried.cSerialNumber));
  }
  for (const Error &error : kErrors) {
    if (error.code == wEventCode) {
      const EVT_NVM_REC &record = pEventData->NVMRec;
      szString.format(error.wording, get_cpu_board(record.bCPUBoardFlag), record.bCPUBoardId,
                      record.bMemModuleId, get_serial_part(record.cSerialNumber));
    }
  }
}

}  // namespace iml
