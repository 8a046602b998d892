// Drive array (class 0x13; class 0x26 carries EVT_SAS_ARRAY_DEV_FAILURE too). Slots and bays: 255 unknown.
#pragma once

#include "iml/records/common.h"

// Code 0x01.
typedef struct IML_PACKED _evtArrayCtrlFailure {
  EVT_CHASSIS Chassis;
  uint8_t bSlot;
  char cChassisName[1];
} EVT_ARRAY_CTRL_FAILURE;
IML_ASSERT_SIZE(EVT_ARRAY_CTRL_FAILURE, 5);

// Code 0x02.
typedef struct IML_PACKED _evtArrayDevFailure {
  EVT_CHASSIS Chassis;  // bId: the controller's slot, bPort: the bus
  uint8_t bBay;
  char cChassisName[1];
} EVT_ARRAY_DEV_FAILURE;
IML_ASSERT_SIZE(EVT_ARRAY_DEV_FAILURE, 5);

// Code 0x03.
typedef struct IML_PACKED _evtArrayAccelFailure {
  EVT_CHASSIS Chassis;  // bPort: the bus
  uint8_t bSlot;
  char cChassisName[1];
} EVT_ARRAY_ACCEL_FAILURE;
IML_ASSERT_SIZE(EVT_ARRAY_ACCEL_FAILURE, 5);

// Code 0x04.
typedef struct IML_PACKED _evtArrayCtrlsNotRedundant {
  EVT_CHASSIS Chassis;
  char cChassisName[1];
} EVT_ARRAY_CTRLS_NOT_REDUNDANT;
IML_ASSERT_SIZE(EVT_ARRAY_CTRLS_NOT_REDUNDANT, 4);

// Codes 0x07, 0x0C, 0x0D.
typedef struct IML_PACKED _evtSasArrayDevFailure {
  EVT_CHASSIS Chassis;
  uint8_t bBay;
  char szPortID[2];
  uint8_t bBox;
  char szChassis_Sun[1];
} EVT_SAS_ARRAY_DEV_FAILURE;
IML_ASSERT_SIZE(EVT_SAS_ARRAY_DEV_FAILURE, 8);
IML_ASSERT_OFFSET(EVT_SAS_ARRAY_DEV_FAILURE, szPortID, 4);

// Code 0x08.
typedef struct IML_PACKED _evtSasArrayPhyError {
  EVT_CHASSIS Chassis;
  char szPortID[2];
  uint8_t bBox;
  uint8_t bExpanderNumber;
  uint8_t bExpanderPhyNumber;
  char szChassis_Sun[1];
} EVT_SAS_ARRAY_PHY_ERROR;
IML_ASSERT_SIZE(EVT_SAS_ARRAY_PHY_ERROR, 9);
IML_ASSERT_OFFSET(EVT_SAS_ARRAY_PHY_ERROR, szPortID, 3);

// Code 0x09.
typedef struct IML_PACKED _evtArrayCtrlsNotRedundantSun {
  EVT_CHASSIS Chassis;
  char szChassis_Sun[1];
} EVT_ARRAY_CTRLS_NOT_REDUNDANT_SUN;
IML_ASSERT_SIZE(EVT_ARRAY_CTRLS_NOT_REDUNDANT_SUN, 4);

// Code 0x0A.
typedef struct IML_PACKED _evtSasArrayPhyErrorExtended {
  EVT_CHASSIS Chassis;
  char szPortID[2];
  uint8_t bBoxNumber;
  uint8_t bErrorPath;
  char szChassis_Sun[1];
} EVT_SAS_ARRAY_PHY_ERROR_EXTENDED;
IML_ASSERT_SIZE(EVT_SAS_ARRAY_PHY_ERROR_EXTENDED, 8);
IML_ASSERT_OFFSET(EVT_SAS_ARRAY_PHY_ERROR_EXTENDED, szPortID, 3);

// Code 0x0B.
typedef struct IML_PACKED _evtSasArraySepFailure {
  EVT_CHASSIS Chassis;
  char szPortID[2];
  uint8_t bBox;
  char szChassis_Sun[1];
} EVT_SAS_ARRAY_SEP_FAILURE;
IML_ASSERT_SIZE(EVT_SAS_ARRAY_SEP_FAILURE, 7);
IML_ASSERT_OFFSET(EVT_SAS_ARRAY_SEP_FAILURE, szPortID, 3);

// Code 0x0E.
typedef struct IML_PACKED _evtArrayCacheNotInstalled {
  EVT_CHASSIS Chassis;
  uint8_t bSlot;
  char szChassis_Sun[1];
} EVT_ARRAY_CACHE_NOT_INSTALLED;
IML_ASSERT_SIZE(EVT_ARRAY_CACHE_NOT_INSTALLED, 5);

// Code 0x0F.
typedef struct IML_PACKED _evtSasArrayPhyDisabled {
  EVT_CHASSIS Chassis;
  char szPortID[2];
  uint8_t bSourceDeviceType;
  uint8_t bDestDeviceType;
  char szChassis_Sun[1];
} EVT_SAS_ARRAY_PHY_DISABLED;
IML_ASSERT_SIZE(EVT_SAS_ARRAY_PHY_DISABLED, 8);
IML_ASSERT_OFFSET(EVT_SAS_ARRAY_PHY_DISABLED, szPortID, 3);

// Code 0x10.
typedef struct IML_PACKED _evtArrayCacheNotCompatible {
  EVT_CHASSIS Chassis;
  uint8_t bSlot;
  char szChassis_Sun[1];
} EVT_ARRAY_CACHE_NOT_COMPATIBLE;
IML_ASSERT_SIZE(EVT_ARRAY_CACHE_NOT_COMPATIBLE, 5);

// Code 0x11. Its device types are coded differently from code 0x0F's.
typedef struct IML_PACKED _evtSasArrayPhyErrorGeneric {
  EVT_CHASSIS Chassis;
  char szPortID[2];
  uint8_t bDetectingDeviceBoxNumber;
  uint8_t bDetectingDeviceBayNumber;
  uint8_t bDetectingDeviceType;
  uint8_t bAttachedDeviceBoxNumber;
  uint8_t bAttachedDeviceBayNumber;
  uint8_t bAttachedDeviceType;
  char szChassis_Sun[1];
} EVT_SAS_ARRAY_PHY_ERROR_GENERIC;
IML_ASSERT_SIZE(EVT_SAS_ARRAY_PHY_ERROR_GENERIC, 12);
IML_ASSERT_OFFSET(EVT_SAS_ARRAY_PHY_ERROR_GENERIC, szPortID, 3);
