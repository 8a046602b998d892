// Records that have a layout but no event text.
#pragma once

#include "iml/records/common.h"

typedef struct IML_PACKED _evtExpansionSlotConfigErr {
  EVT_CHASSIS Chassis;
  uint8_t bSlot;
  uint8_t bError;
} EVT_EXPANSION_SLOT_CONFIG_ERR;
IML_ASSERT_SIZE(EVT_EXPANSION_SLOT_CONFIG_ERR, 5);

typedef struct IML_PACKED _evtHealthrequest {
  EVT_CHASSIS Chassis;
  char cChassisName[1];
} EVT_HEALTHREQUEST;
IML_ASSERT_SIZE(EVT_HEALTHREQUEST, 4);

typedef struct IML_PACKED _evtEmbeddedHealth {
  uint16_t wAlertID;
  uint16_t wFlags;
  uint16_t wDataValue;
} EVT_EMBEDDED_HEALTH;
IML_ASSERT_SIZE(EVT_EMBEDDED_HEALTH, 6);
