// Chief header of the front end: what it exchanges with the health driver and with the firmware.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/health_driver.h"

// Firmware variable "VXHCPR": the ASR timer's settings.
typedef struct [[gnu::packed]] _ASREVSTRUCT {
  uint8_t ucMajor_version;
  uint8_t ucMinor_version;
  uint8_t ucTimeoutValue;  // minutes
  uint8_t ucReserved;
  uint16_t usBaseAddr;
  uint16_t usScaleValue;
} ASREVSTRUCT;
static_assert(sizeof(ASREVSTRUCT) == 8 && offsetof(ASREVSTRUCT, usScaleValue) == 6);

inline constexpr char kAsrVariable[] = "VXHCPR";
