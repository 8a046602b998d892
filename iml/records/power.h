// Power subsystem (class 0x0B). Power supply and module numbers: 255 unknown.
#pragma once

#include "iml/records/common.h"

// Codes 0x01, 0x13.
typedef struct IML_PACKED _evtPowerSupplyFailure {
  EVT_CHASSIS Chassis;
  uint8_t bPsId;
  uint8_t bPsErrorId;
  char cChassisName[1];  // code 0x13: a service text follows
} EVT_POWER_SUPPLY_FAILURE;
IML_ASSERT_SIZE(EVT_POWER_SUPPLY_FAILURE, 6);

// Codes 0x02, 0x12.
typedef struct IML_PACKED _evtBatteryLow {
  EVT_CHASSIS Chassis;  // code 0x12: a service text follows
} EVT_BATTERY_LOW;
IML_ASSERT_SIZE(EVT_BATTERY_LOW, 3);

// Code 0x03.
typedef struct IML_PACKED _evtPowerModuleFailure {
  EVT_CHASSIS Chassis;
  uint8_t bSlot;
  uint8_t bConverter;      // shown as the socket
  uint8_t bConverterType;  // 1 CPU, 2 PCI, 3 I/O, other unspecified
} EVT_POWER_MODULE_FAILURE;
IML_ASSERT_SIZE(EVT_POWER_MODULE_FAILURE, 6);

// Code 0x04.
typedef struct IML_PACKED _evtPowerSupplyRemoved {
  EVT_CHASSIS Chassis;
  uint8_t bPsId;
  char cChassisName[1];
} EVT_POWER_SUPPLY_REMOVED;
IML_ASSERT_SIZE(EVT_POWER_SUPPLY_REMOVED, 5);

// Code 0x05.
typedef struct IML_PACKED _evtPowerSupplyInserted {
  EVT_CHASSIS Chassis;
  uint8_t bPsId;
  char cChassisName[1];
} EVT_POWER_SUPPLY_INSERTED;
IML_ASSERT_SIZE(EVT_POWER_SUPPLY_INSERTED, 5);

// Code 0x06, chassis types 1 to 3.
typedef struct IML_PACKED _evtPowerNotRedundant {
  EVT_CHASSIS Chassis;
  char cChassisName[1];
} EVT_POWER_NOT_REDUNDANT;
IML_ASSERT_SIZE(EVT_POWER_NOT_REDUNDANT, 4);

// Code 0x06, chassis types 4 and 5.
typedef struct IML_PACKED _evtInfPowerNotRedundant {
  EVT_CHASSIS Chassis;
  uint8_t bType;  // redundancy domain
  char cChassisName[1];
} EVT_INF_POWER_NOT_REDUNDANT;
IML_ASSERT_SIZE(EVT_INF_POWER_NOT_REDUNDANT, 5);

// Code 0x07.
typedef struct IML_PACKED _evtPowerModulesNotRedundant {
  EVT_CHASSIS Chassis;
  uint8_t bSlot;           // not shown
  uint8_t bConverter;      // not shown
  uint8_t bConverterType;  // not shown
  char cChassisName[1];
} EVT_POWER_MODULES_NOT_REDUNDANT;
IML_ASSERT_SIZE(EVT_POWER_MODULES_NOT_REDUNDANT, 7);

// Codes 0x08, 0x11.
typedef struct IML_PACKED _evtPowerAcVoltage {
  EVT_CHASSIS Chassis;
  uint8_t bPsId;
  uint8_t bError;        // kind of AC problem
  char cChassisName[1];  // code 0x11: a service text follows
} EVT_POWER_AC_VOLTAGE;
IML_ASSERT_SIZE(EVT_POWER_AC_VOLTAGE, 6);

// Code 0x09.
typedef struct IML_PACKED _evtPowerAcOverload {
  EVT_CHASSIS Chassis;
  uint8_t bPsId;
  uint8_t bVoltage;  // 255 unknown
  char cChassisName[1];
} EVT_POWER_AC_OVERLOAD;
IML_ASSERT_SIZE(EVT_POWER_AC_OVERLOAD, 6);

// Code 0x0B.
typedef struct IML_PACKED _evtPowerSupplyUnpowered {
  EVT_CHASSIS Chassis;
  uint8_t bPsId;
  char cChassisName[1];
} EVT_POWER_SUPPLY_UNPOWERED;
IML_ASSERT_SIZE(EVT_POWER_SUPPLY_UNPOWERED, 5);

// Code 0x0A.
typedef struct IML_PACKED _evtPowerSupplyPowered {
  EVT_CHASSIS Chassis;
  uint8_t bPsId;
  char cChassisName[1];
} EVT_POWER_SUPPLY_POWERED;
IML_ASSERT_SIZE(EVT_POWER_SUPPLY_POWERED, 5);

// Code 0x0C.
typedef struct IML_PACKED _evtSysPowerModuleFailure {
  EVT_CHASSIS Chassis;
  uint8_t bId;     // power module
  uint8_t bError;  // not shown
  char cChassisName[1];
} EVT_SYS_POWER_MODULE_FAILURE;
IML_ASSERT_SIZE(EVT_SYS_POWER_MODULE_FAILURE, 6);

// Code 0x0D.
typedef struct IML_PACKED _evtSysPowerModuleRemoved {
  EVT_CHASSIS Chassis;
  uint8_t bId;  // power module
  char cChassisName[1];
} EVT_SYS_POWER_MODULE_REMOVED;
IML_ASSERT_SIZE(EVT_SYS_POWER_MODULE_REMOVED, 5);

// Code 0x0E.
typedef struct IML_PACKED _evtSysPowerModuleInserted {
  EVT_CHASSIS Chassis;
  uint8_t bId;  // power module
  char cChassisName[1];
} EVT_SYS_POWER_MODULE_INSERTED;
IML_ASSERT_SIZE(EVT_SYS_POWER_MODULE_INSERTED, 5);

// Code 0x0F.
typedef struct IML_PACKED _evtSysPowerModuleNotRedundant {
  EVT_CHASSIS Chassis;
  char cChassisName[1];
} EVT_SYS_POWER_MODULE_NOT_REDUNDANT;
IML_ASSERT_SIZE(EVT_SYS_POWER_MODULE_NOT_REDUNDANT, 4);

// Code 0x10.
typedef struct IML_PACKED _evtSysPowerModuleOverload {
  EVT_CHASSIS Chassis;
  uint8_t bId;       // power module
  uint8_t bVoltage;  // not shown
  char cChassisName[1];
} EVT_SYS_POWER_MODULE_OVERLOAD;
IML_ASSERT_SIZE(EVT_SYS_POWER_MODULE_OVERLOAD, 6);

// Code 0x14.
typedef struct IML_PACKED _evtSasPowerSupplyFailure {
  EVT_CHASSIS Chassis;
  uint8_t bPsId;
  char szPortID[2];
  uint8_t bBox;
  char szChassis_Sun[1];
} EVT_SAS_POWER_SUPPLY_FAILURE;
IML_ASSERT_SIZE(EVT_SAS_POWER_SUPPLY_FAILURE, 8);
IML_ASSERT_OFFSET(EVT_SAS_POWER_SUPPLY_FAILURE, szPortID, 4);

// Code 0x1A.
typedef struct IML_PACKED _evtSysPowerFault {
  uint8_t bXRegisters[2];  // power fault registers
  uint8_t bMIDChain[1];    // module identifiers of the fault chain
} EVT_SYS_POWER_FAULT;
IML_ASSERT_SIZE(EVT_SYS_POWER_FAULT, 3);

// Code 0x1E.
typedef struct IML_PACKED _evtPowerSupplyStorbatRemoved {
  uint8_t bBatteryId;
} EVT_POWER_SUPPLY_STORBAT_REMOVED;
IML_ASSERT_SIZE(EVT_POWER_SUPPLY_STORBAT_REMOVED, 1);

// Code 0x1F.
typedef struct IML_PACKED _evtPowerSupplyStorbatFailed {
  uint8_t bBatteryId;
  uint32_t dwErrorCode;
} EVT_POWER_SUPPLY_STORBAT_FAILED;
IML_ASSERT_SIZE(EVT_POWER_SUPPLY_STORBAT_FAILED, 5);
IML_ASSERT_OFFSET(EVT_POWER_SUPPLY_STORBAT_FAILED, dwErrorCode, 1);

// Code 0x20.
typedef struct IML_PACKED _evtPowerSupplyStorbatI2cFault {
  uint8_t bBatteryId;
} EVT_POWER_SUPPLY_STORBAT_I2C_FAULT;
IML_ASSERT_SIZE(EVT_POWER_SUPPLY_STORBAT_I2C_FAULT, 1);

// Code 0x24.
typedef struct IML_PACKED _evtPowerSupplyPowerOnDenied {
  char cText[1];  // service information
} EVT_POWER_SUPPLY_POWER_ON_DENIED;
IML_ASSERT_SIZE(EVT_POWER_SUPPLY_POWER_ON_DENIED, 1);

// Code 0x25.
typedef struct IML_PACKED _evtPowerSupplyBbuFailure {
  uint8_t bBayNumber;
  char cText[1];
} EVT_POWER_SUPPLY_BBU_FAILURE;
IML_ASSERT_SIZE(EVT_POWER_SUPPLY_BBU_FAILURE, 2);

// Codes 0x26, 0x27.
typedef struct IML_PACKED _evtPowerSupplyBbuInsRem {
  uint8_t bBayNumber;
} EVT_POWER_SUPPLY_BBU_INS_REM;
IML_ASSERT_SIZE(EVT_POWER_SUPPLY_BBU_INS_REM, 1);
