// Main memory (class 0x03). Boards, slots and modules: 255 unknown.
#pragma once

#include "iml/records/common.h"

// Codes 0x01, 0x02, 0x0A.
typedef struct IML_PACKED _evtMainMemory {
  uint8_t bSlot;    // board; 0 system memory
  uint8_t bModule;  // code 0x0A: the bank as a character
  char cSerialNumber[1];
} EVT_MAIN_MEMORY;
IML_ASSERT_SIZE(EVT_MAIN_MEMORY, 3);

typedef struct IML_PACKED _evtSingleEntry {
  uint8_t bModule;
  uint8_t bSlot;  // board; codes 0x14, 0x17, 0x19: processor
} EVT_MEM_SINGLE;
IML_ASSERT_SIZE(EVT_MEM_SINGLE, 2);

// Codes 0x03, 0x13, 0x14, 0x17, 0x18, 0x19: the modules that may have failed.
typedef struct IML_PACKED _evtMainMemoryMulti {
  uint8_t bResolution;  // number of modules listed
  EVT_MEM_SINGLE mm[4];
  char cSerialNumber[1];  // one for each module in the same order, separated by commas
} EVT_MAIN_MEMORY_MULTI;
IML_ASSERT_SIZE(EVT_MAIN_MEMORY_MULTI, 10);
IML_ASSERT_OFFSET(EVT_MAIN_MEMORY_MULTI, mm, 1);

// Code 0x04.
typedef struct IML_PACKED _evtMainMemoryUserAction {
  uint8_t bSlot;
  uint8_t bAction;            // 0 removed, 1 inserted, 2 unlocked, 3 locked
  uint8_t bCartridgeOrBoard;  // 1 cartridge, 0 board
} EVT_MAIN_MEMORY_USER_ACTION;
IML_ASSERT_SIZE(EVT_MAIN_MEMORY_USER_ACTION, 3);

// Code 0x05.
typedef struct IML_PACKED _evtMainMemoryHwStat {
  uint8_t bSlot;
  uint8_t bStatus;  // 0 bus fault, 1 power fault, 2 not redundant, 3 online
} EVT_MAIN_MEMORY_HW_STATUS;
IML_ASSERT_SIZE(EVT_MAIN_MEMORY_HW_STATUS, 2);

// Code 0x06.
typedef struct IML_PACKED _evtMainMemoryConfigErr {
  uint8_t bSlot;
  uint8_t bModule;
  uint8_t bCartridgeOrBoard;  // 1 cartridge, 0 board
} EVT_MAIN_MEMORY_CONFIG_ERR;
IML_ASSERT_SIZE(EVT_MAIN_MEMORY_CONFIG_ERR, 3);

// Code 0x07.
typedef struct IML_PACKED _evtMainMemoryConfigChg {
  uint8_t bSlot;    // not shown
  uint8_t bAction;  // 0 added, 1 removed
  uint32_t ulSize;  // MB; 0xFFFFFFFF unknown
} EVT_MAIN_MEMORY_CONFIG_CHG;
IML_ASSERT_SIZE(EVT_MAIN_MEMORY_CONFIG_CHG, 6);
IML_ASSERT_OFFSET(EVT_MAIN_MEMORY_CONFIG_CHG, ulSize, 2);

// Codes 0x08, 0x0B.
typedef struct IML_PACKED _evtMainMemorySpareEngaged {
  uint8_t bSlot;    // board; 0 system memory
  uint8_t bModule;  // code 0x0B: the bank as a character
} EVT_MAIN_MEMORY_SPARE_ENGAGED;
IML_ASSERT_SIZE(EVT_MAIN_MEMORY_SPARE_ENGAGED, 2);

// Codes 0x09, 0x0C.
typedef struct IML_PACKED _evtMainMemoryMirrorEngaged {
  uint8_t bSlot;    // board; 0 system memory
  uint8_t bModule;  // code 0x0C: the bank as a character
} EVT_MAIN_MEMORY_MIRROR_ENGAGED;
IML_ASSERT_SIZE(EVT_MAIN_MEMORY_MIRROR_ENGAGED, 2);

// Not shown by any code.
typedef struct IML_PACKED _evtMainMemoryConfiguration {
  uint8_t bConfig;
} EVT_MAIN_MEMORY_CONFIGURATION;
IML_ASSERT_SIZE(EVT_MAIN_MEMORY_CONFIGURATION, 1);

// Code 0x11.
typedef struct IML_PACKED _evtMainMemoryBoardFailure {
  uint8_t bSlot;
} EVT_MAIN_MEMORY_BOARD_FAILURE;
IML_ASSERT_SIZE(EVT_MAIN_MEMORY_BOARD_FAILURE, 1);

// Code 0x12.
typedef struct IML_PACKED _evtMainMemoryFailureInRomDiags {
  uint8_t bBoard;  // 0 not on a board
  uint8_t bModule;
  uint8_t bBank;  // not shown
  struct IML_PACKED {
    unsigned int bNotIsolated : 1;  // the error was not isolated to a single module
    unsigned int bReserved : 7;
  } flags;
  char szSerialNumber[1];  // the spare number, a second text, follows
} EVT_MAIN_MEMORY_FAIL_IN_ROM_DIAG;
IML_ASSERT_SIZE(EVT_MAIN_MEMORY_FAIL_IN_ROM_DIAG, 5);
IML_ASSERT_OFFSET(EVT_MAIN_MEMORY_FAIL_IN_ROM_DIAG, flags, 3);

// Code 0x15.
typedef struct IML_PACKED _evtMainMemorySpareEngagedProc {
  uint8_t bSlot;  // processor
  uint8_t bModule;
  char cSerialNumber[1];
} EVT_MAIN_MEMORY_SPARE_ENGAGED_PROC;
IML_ASSERT_SIZE(EVT_MAIN_MEMORY_SPARE_ENGAGED_PROC, 3);

// Code 0x16.
typedef struct IML_PACKED _evtMainMemoryMirrorEngagedProc {
  uint8_t bSlot;  // processor
  uint8_t bModule;
  char cSerialNumber[1];
} EVT_MAIN_MEMORY_MIRROR_ENGAGED_PROC;
IML_ASSERT_SIZE(EVT_MAIN_MEMORY_MIRROR_ENGAGED_PROC, 3);

// Codes 0x21 to 0x40.
typedef struct IML_PACKED _evtMainMemoryDimmConfig {
  uint8_t bBoard;
  uint8_t bModule;
} EVT_MAIN_MEMORY_DIMM_CONFIG;
IML_ASSERT_SIZE(EVT_MAIN_MEMORY_DIMM_CONFIG, 2);

// Code 0x41.
typedef struct IML_PACKED _evtMainMemoryRateReseat {
  uint8_t bCPUBoardFlag;  // what bCPUBoardId numbers: 0 boards, 1 processors, other either
  uint8_t bCPUBoardId;
  uint8_t bMemModuleId;
} EVT_MAIN_MEMORY_HIGH_ECC_RATE_RESEAT;
IML_ASSERT_SIZE(EVT_MAIN_MEMORY_HIGH_ECC_RATE_RESEAT, 3);
