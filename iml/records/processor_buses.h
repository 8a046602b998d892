// Cache memory, processor, host bus and EISA bus (classes 0x04 to 0x07). Numbers: 255 unknown.
#pragma once

#include "iml/records/common.h"

// Class 0x04.
typedef struct IML_PACKED _evtCacheAccelParityError {
  uint8_t bSocket;
} EVT_CACHE_ACCEL_PARITY_ERROR;
IML_ASSERT_SIZE(EVT_CACHE_ACCEL_PARITY_ERROR, 1);

// Class 0x05, code 1.
typedef struct IML_PACKED _evtCpuCorrectable {
  uint8_t bSocket;
  uint8_t bSlot;  // processor board
  uint8_t bType;  // not shown
} EVT_CPU_CORRECTABLE;
IML_ASSERT_SIZE(EVT_CPU_CORRECTABLE, 3);

// Class 0x05, code 2.
typedef struct IML_PACKED _evtCpuUncorrectable {
  uint8_t bSocket;
  uint8_t bSlot;  // processor board
  uint8_t bType;  // not shown
} EVT_CPU_UNCORRECTABLE;
IML_ASSERT_SIZE(EVT_CPU_UNCORRECTABLE, 3);

// Class 0x05, code 3: a machine-check bank's registers in 32-bit halves.
typedef struct IML_PACKED _evtCpuUncorrectableMce {
  uint8_t bBoard;
  uint8_t bProcessor;
  uint32_t dwApicID;
  uint32_t dwBank;
  uint32_t dwMCiStatusLow, dwMCiStatusHigh;
  uint32_t dwMCiAddrLow, dwMCiAddrHigh;
  uint32_t dwMCiMiscLow, dwMCiMiscHigh;
} EVT_CPU_UNCORRECTABLE_MCE;
IML_ASSERT_SIZE(EVT_CPU_UNCORRECTABLE_MCE, 34);
IML_ASSERT_OFFSET(EVT_CPU_UNCORRECTABLE_MCE, dwApicID, 2);

// Class 0x05, code 4.
typedef struct IML_PACKED _evtCpuCorrectableTray {
  uint8_t bPhysicalProcessor;  // within the tray
  uint8_t bTray;               // 1 upper, 2 lower
  uint8_t bType;               // not shown
  uint8_t bLogicalProcessor;   // within the system
} EVT_CPU_CORRECTABLE_TRAY;
IML_ASSERT_SIZE(EVT_CPU_CORRECTABLE_TRAY, 4);

// Class 0x05, code 5.
typedef struct IML_PACKED _evtCpuUncorrectableTray {
  uint8_t bPhysicalProcessor;  // within the tray
  uint8_t bTray;               // 1 upper, 2 lower
  uint8_t bType;               // not shown
  uint8_t bLogicalProcessor;   // within the system
} EVT_CPU_UNCORRECTABLE_TRAY;
IML_ASSERT_SIZE(EVT_CPU_UNCORRECTABLE_TRAY, 4);

// Class 0x05, code 6.
typedef struct IML_PACKED _evtCpuUncorrectableMceTray {
  uint8_t bTray;               // 1 upper, 2 lower
  uint8_t bPhysicalProcessor;  // within the tray
  uint32_t dwApicID;
  uint32_t dwBank;
  uint32_t dwMCiStatusLow, dwMCiStatusHigh;
  uint32_t dwMCiAddrLow, dwMCiAddrHigh;
  uint32_t dwMCiMiscLow, dwMCiMiscHigh;
  uint8_t bLogicalProcessor;  // within the system
} EVT_CPU_UNCORRECTABLE_MCE_TRAY;
IML_ASSERT_SIZE(EVT_CPU_UNCORRECTABLE_MCE_TRAY, 35);
IML_ASSERT_OFFSET(EVT_CPU_UNCORRECTABLE_MCE_TRAY, dwApicID, 2);

// Class 0x06, code 1.
typedef struct IML_PACKED _evtHostBusUncorrectable {
  uint8_t bError;  // 0 address parity, 1 data parity
} EVT_HOST_BUS_UNCORRECTABLE;
IML_ASSERT_SIZE(EVT_HOST_BUS_UNCORRECTABLE, 1);

// Class 0x06, code 2.
typedef struct IML_PACKED _evtIntermoduleBusUncorrectable {
  uint32_t ulError;
} EVT_INTERMODULE_BUS_UNCORRECTABLE;
IML_ASSERT_SIZE(EVT_INTERMODULE_BUS_UNCORRECTABLE, 4);

// Class 0x06, code 3.
typedef struct IML_PACKED _evtQuickpathError {
  uint32_t dwLocalInterfaceError;
  uint32_t dwProtocolError;
} EVT_QUICKPATH_ERROR;
IML_ASSERT_SIZE(EVT_QUICKPATH_ERROR, 8);

// Class 0x06, code 4, and class 0x14, code 4.
typedef struct IML_PACKED _evtUncorrectableChipsetError {
  uint32_t dwErrorStatus1;
  uint32_t dwErrorStatus2;
} EVT_UNCORRECTABLE_CHIPSET_ERROR;
IML_ASSERT_SIZE(EVT_UNCORRECTABLE_CHIPSET_ERROR, 8);

// Class 0x07, codes 1 and 3.
typedef struct IML_PACKED _evtEisaBus {
  uint8_t bSlot;
} EVT_EISA_BUS;
IML_ASSERT_SIZE(EVT_EISA_BUS, 1);
