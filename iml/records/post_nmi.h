// POST messages and unrecoverable system errors (classes 0x0A and 0x14). Class 0x14, code 4 carries
// EVT_UNCORRECTABLE_CHIPSET_ERROR.
#pragma once

#include "iml/records/common.h"

// Class 0x0A, code 1.
typedef struct IML_PACKED _evtPostMessage {
  uint8_t bError;  // not shown
  char cMessage[1];
} EVT_POST_MESSAGE;
IML_ASSERT_SIZE(EVT_POST_MESSAGE, 2);

// Class 0x0A, code 2.
typedef struct IML_PACKED _evtPostInformation {
  char cMessage[1];
} EVT_POST_INFORMATION;
IML_ASSERT_SIZE(EVT_POST_INFORMATION, 1);

// Class 0x0A, code 3.
typedef struct IML_PACKED _evtOptionRomPostMessage {
  char cMessage[1];
} EVT_OPTION_ROM_POST_MESSAGE;
IML_ASSERT_SIZE(EVT_OPTION_ROM_POST_MESSAGE, 1);

// Class 0x0A, code 4.
typedef struct IML_PACKED _evtOptionRomPostInformation {
  char cMessage[1];
} EVT_OPTION_ROM_POST_INFORMATION;
IML_ASSERT_SIZE(EVT_OPTION_ROM_POST_INFORMATION, 1);

// Class 0x14, code 3.
typedef struct IML_PACKED _evtUnrecovNmiOrBinitPlusData {
  uint32_t ulDataLow;  // lowest byte: the NMI's source code
  uint32_t ulDataHigh;
} EVT_UNRECOV_NMI_OR_BINIT_PLUS_DATA;
IML_ASSERT_SIZE(EVT_UNRECOV_NMI_OR_BINIT_PLUS_DATA, 8);

// Class 0x14, code 7.
typedef struct IML_PACKED _evtUncorrectableCriticalFault {
  char cText[1];  // service information
} EVT_UNCORRECTABLE_CRITICAL_FAULT;
IML_ASSERT_SIZE(EVT_UNCORRECTABLE_CRITICAL_FAULT, 1);
