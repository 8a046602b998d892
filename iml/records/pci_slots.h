// PCI bus and expansion slot (classes 0x08 and 0x09). Numbers: 255 unknown.
#pragma once

#include "iml/records/common.h"

// Class 0x08, code 1.
typedef struct IML_PACKED _evtPciBus {
  EVT_CHASSIS Chassis;
  uint8_t bSlot;
  uint8_t bBus;
  uint8_t bDevice;
  uint8_t bFunction;
} EVT_PCI_BUS;
IML_ASSERT_SIZE(EVT_PCI_BUS, 7);

// Class 0x08, code 2.
typedef struct IML_PACKED _evtPciExpress {
  uint8_t bSlot;  // 0 embedded device
  uint8_t bBus;
  uint8_t bDevice;
  uint8_t bFunction;
  uint32_t dwErrorStatus;
} EVT_PCI_EXPRESS;
IML_ASSERT_SIZE(EVT_PCI_EXPRESS, 8);

// Class 0x09.
typedef struct IML_PACKED _evtExpansionSlot {
  EVT_CHASSIS Chassis;
  uint8_t bSlot;
} EVT_EXPANSION_SLOT;
IML_ASSERT_SIZE(EVT_EXPANSION_SLOT, 4);
