// Non-volatile memory (class 0x2A).
#pragma once

#include "iml/records/common.h"

// Codes 1, 3 to 7, 9, 11 to 13.
typedef struct IML_PACKED _evtNvmRec {
  uint8_t bCPUBoardFlag;  // what bCPUBoardId numbers: 0 boards, 1 processors, other either
  uint8_t bCPUBoardId;
  uint8_t bMemModuleId;
  char cSerialNumber[1];
} EVT_NVM_REC;
IML_ASSERT_SIZE(EVT_NVM_REC, 4);

// Codes 2, 10.
typedef struct IML_PACKED _evtNvmRecRetry {
  uint8_t bCPUBoardFlag;  // what bCPUBoardId numbers: 0 boards, 1 processors, other either
  uint8_t bCPUBoardId;
  uint8_t bMemModuleId;
  uint8_t bRetryCount;
  char cSerialNumber[1];
} EVT_NVM_REC_RETRY;
IML_ASSERT_SIZE(EVT_NVM_REC_RETRY, 5);
