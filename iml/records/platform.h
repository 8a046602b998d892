// System revision, maintenance, power capping, flash media and interlock (classes 0x20, 0x21, 0x27 to 0x29).
// Class 0x26 carries EVT_SAS_ARRAY_DEV_FAILURE.
#pragma once

#include "iml/records/common.h"

// Class 0x20, code 1.
typedef struct IML_PACKED _evtRomFlashOccurred {
  char cText[1];
} EVT_ROM_FLASH_OCCURRED;
IML_ASSERT_SIZE(EVT_ROM_FLASH_OCCURRED, 1);

// Class 0x20, code 2.
typedef struct IML_PACKED _evtFirmwareFlashOccurred {
  char cText[1];
} EVT_FIRMWARE_FLASH_OCCURRED;
IML_ASSERT_SIZE(EVT_FIRMWARE_FLASH_OCCURRED, 1);

// Class 0x21.
typedef struct IML_PACKED _evtMaintenanceInfo {
  char cText[1];  // code 1: who cleared the log, code 2: the note
} EVT_MAINTENANCE_INFO;
IML_ASSERT_SIZE(EVT_MAINTENANCE_INFO, 1);

// Class 0x27, code 3.
typedef struct IML_PACKED _evtPcapUnreachableValue {
  uint16_t wCurrentPowerCap;  // watts
} EVT_PCAP_UNREACHABLE_VALUE;
IML_ASSERT_SIZE(EVT_PCAP_UNREACHABLE_VALUE, 2);

// Class 0x28, code 1.
typedef struct IML_PACKED _evtFmBootFromFlashErr {
  char cText[1];
} EVT_FM_BOOT_FROM_FLASH_ERR;
IML_ASSERT_SIZE(EVT_FM_BOOT_FROM_FLASH_ERR, 1);

// Class 0x29, code 1.
typedef struct IML_PACKED _evtInterlockDevNotSeated {
  uint8_t bInterType;  // kind of interlock fault
  char cText[1];       // the device
} EVT_INTERLOCK_DEV_NOT_SEATED;
IML_ASSERT_SIZE(EVT_INTERLOCK_DEV_NOT_SEATED, 2);
