// Machine environment (class 0x02). Ids and temperatures: 255 unknown. Zone types are location numbers.
#pragma once

#include "iml/records/common.h"

// Codes 0x01, 0x0A.
typedef struct IML_PACKED _evtMachOverheat {
  EVT_CHASSIS Chassis;
  uint8_t bZoneId;  // temperature sensor
  uint8_t bZoneType;
  uint8_t bTemp;         // degrees Celsius
  char cChassisName[1];  // code 0x0A: the slot description follows
} EVT_MACH_OVERHEAT;
IML_ASSERT_SIZE(EVT_MACH_OVERHEAT, 7);

// Codes 0x02, 0x08.
typedef struct IML_PACKED _evtMachFanFail {
  EVT_CHASSIS Chassis;
  uint8_t bFanId;
  uint8_t bFanZoneType;
  char cChassisName[1];  // code 0x08: the slot description follows
} EVT_MACH_FAN_FAIL;
IML_ASSERT_SIZE(EVT_MACH_FAN_FAIL, 6);

// Codes 0x03, 0x09.
typedef struct IML_PACKED _evtMachDoorOpen {
  EVT_CHASSIS Chassis;
  uint8_t bDoorId;        // not shown
  uint8_t bDoorZoneType;  // not shown
  char cChassisName[1];   // code 0x09: the slot description follows
} EVT_MACH_DOOR_OPEN;
IML_ASSERT_SIZE(EVT_MACH_DOOR_OPEN, 6);

// Code 0x04.
typedef struct IML_PACKED _evtMachFanRemoved {
  EVT_CHASSIS Chassis;
  uint8_t bFanId;
  uint8_t bFanZoneType;
  char cChassisName[1];
} EVT_MACH_FAN_REMOVED;
IML_ASSERT_SIZE(EVT_MACH_FAN_REMOVED, 6);

// Code 0x05.
typedef struct IML_PACKED _evtMachFanInserted {
  EVT_CHASSIS Chassis;
  uint8_t bFanId;
  uint8_t bFanZoneType;
  char cChassisName[1];
} EVT_MACH_FAN_INSERTED;
IML_ASSERT_SIZE(EVT_MACH_FAN_INSERTED, 6);

// Code 0x06.
typedef struct IML_PACKED _evtMachFanNotRedundant {
  EVT_CHASSIS Chassis;
  uint8_t bFanZoneType;
  char cChassisName[1];
} EVT_MACH_FAN_NOT_REDUNDANT;
IML_ASSERT_SIZE(EVT_MACH_FAN_NOT_REDUNDANT, 5);

// Code 0x07.
typedef struct IML_PACKED _evtMachFanNotRedundantShared {
  EVT_CHASSIS Chassis;   // not read
  uint8_t bFanZoneType;  // not shown
  uint8_t bSharedFanZoneType;
  char cChassisName[1];  // not shown
} EVT_MACH_FAN_NOT_REDUNDANT_SHARED;
IML_ASSERT_SIZE(EVT_MACH_FAN_NOT_REDUNDANT_SHARED, 6);

// Code 0x0B.
typedef struct IML_PACKED _evtMachSASFanFail {
  EVT_CHASSIS Chassis;
  uint8_t bFanId;
  uint8_t bFanZoneType;
  char szPortID[2];
  uint8_t bBox;
  char szChassis_Sun[1];
} EVT_MACH_SAS_FAN_FAIL;
IML_ASSERT_SIZE(EVT_MACH_SAS_FAN_FAIL, 9);
IML_ASSERT_OFFSET(EVT_MACH_SAS_FAN_FAIL, szPortID, 5);

// Code 0x0C.
typedef struct IML_PACKED _evtMachSASOverheat {
  EVT_CHASSIS Chassis;
  uint8_t bSensorId;
  uint8_t bZoneType;
  char szPortID[2];
  uint8_t bBox;
  char szChassis_Sun[1];
} EVT_MACH_SAS_OVERHEAT;
IML_ASSERT_SIZE(EVT_MACH_SAS_OVERHEAT, 9);
IML_ASSERT_OFFSET(EVT_MACH_SAS_OVERHEAT, szPortID, 5);

// Code 0x0D.
typedef struct IML_PACKED _evtMachExtSASFanFail {
  EVT_CHASSIS Chassis;
  uint8_t bFanId;      // 0 none given
  uint8_t bFanModule;  // 0 none given
  uint8_t bFanZoneType;
  char szPortID[2];
  uint8_t bBox;
  char szChassis_Sun[1];
} EVT_MACH_EXT_SAS_FAN_FAIL;
IML_ASSERT_SIZE(EVT_MACH_EXT_SAS_FAN_FAIL, 10);
IML_ASSERT_OFFSET(EVT_MACH_EXT_SAS_FAN_FAIL, szPortID, 6);

// Code 0x0E.
typedef struct IML_PACKED _evtMachCritOverheat {
  EVT_CHASSIS Chassis;
  uint8_t bZoneId;  // temperature sensor
  uint8_t bZoneType;
  uint8_t bTemp;  // degrees Celsius
  char szChassis_Sun[1];
} EVT_MACH_CRIT_OVERHEAT;
IML_ASSERT_SIZE(EVT_MACH_CRIT_OVERHEAT, 7);

// Code 0x0F.
typedef struct IML_PACKED _evtMachSASControllerOverheat {
  EVT_CHASSIS Chassis;
  uint8_t bSensorId;
  uint8_t bZoneType;
  char szChassis_Sun[1];
} EVT_MACH_SAS_CONTROLLER_OVERHEAT;
IML_ASSERT_SIZE(EVT_MACH_SAS_CONTROLLER_OVERHEAT, 6);

// Code 0x10.
typedef struct IML_PACKED _evtMachCritOverheatText {
  char cText[1];
} EVT_MACH_CRIT_OVERHEAT_TEXT;
IML_ASSERT_SIZE(EVT_MACH_CRIT_OVERHEAT_TEXT, 1);

// Codes 0x11, 0x12.
typedef struct IML_PACKED _evtMachSensorReports {
  uint8_t bSensorId;
} EVT_MACH_SENSOR_REPORTS;
IML_ASSERT_SIZE(EVT_MACH_SENSOR_REPORTS, 1);
