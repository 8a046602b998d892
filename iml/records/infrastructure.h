// Infrastructure environment (class 0x22). Chassis names the enclosure. Slots and buses: 255 unknown.
#pragma once

#include "iml/records/common.h"

// Code 0x01.
typedef struct IML_PACKED _evtInfEnvInadequatePwrToPwrOn {
  EVT_CHASSIS Chassis;
  uint8_t bBlade;  // slot
  uint8_t bReason;
  char cChassisName[1];
} EVT_INF_ENV_INADEQUATE_PWR_TO_PWR_ON;
IML_ASSERT_SIZE(EVT_INF_ENV_INADEQUATE_PWR_TO_PWR_ON, 6);

// Code 0x02.
typedef struct IML_PACKED _evtInfEnvManualOverride {
  EVT_CHASSIS Chassis;
  uint8_t bBlade;  // slot
  char cChassisName[1];
} EVT_INF_ENV_MANUAL_OVERRIDE;
IML_ASSERT_SIZE(EVT_INF_ENV_MANUAL_OVERRIDE, 5);

// Code 0x03.
typedef struct IML_PACKED _evtInfEnvFuseOpen {
  EVT_CHASSIS Chassis;
  uint8_t bZoneId;    // bits 0 to 3: slot or side; bit 4: fuse B
  uint8_t bZoneType;  // 13 network component, 14 blade
  char cChassisName[1];
} EVT_INF_ENV_FUSE_OPEN;
IML_ASSERT_SIZE(EVT_INF_ENV_FUSE_OPEN, 6);

// Code 0x04.
typedef struct IML_PACKED _evtInfEnvI2cFault {
  EVT_CHASSIS Chassis;
  uint8_t bBus;
  char cChassisName[1];
} EVT_INF_ENV_I2C_FAULT;
IML_ASSERT_SIZE(EVT_INF_ENV_I2C_FAULT, 5);

// Code 0x05.
typedef struct IML_PACKED _evtInfEnvBladeInsRem {
  EVT_CHASSIS Chassis;
  uint8_t bBlade;    // slot
  uint8_t bPresent;  // 0 removed, other inserted
  char cChassisName[1];
} EVT_INF_ENV_BLADE_INS_REM;
IML_ASSERT_SIZE(EVT_INF_ENV_BLADE_INS_REM, 6);

// Code 0x06.
typedef struct IML_PACKED _evtInfEnvPwrLoadBalancing {
  EVT_CHASSIS Chassis;
  char cSide;         // 1 power bus A, other B
  uint16_t wAddress;  // not shown
  char cChassisName[1];
} EVT_INF_ENV_PWR_LOAD_BALANCING;
IML_ASSERT_SIZE(EVT_INF_ENV_PWR_LOAD_BALANCING, 7);

// Code 0x07.
typedef struct IML_PACKED _evtInfEnvDcPwrProblem {
  EVT_CHASSIS Chassis;
  char cSide;         // 0 power bus A, other B
  uint16_t wVoltage;  // millivolts
  char cChassisName[1];
} EVT_INF_ENV_DC_PWR_PROBLEM;
IML_ASSERT_SIZE(EVT_INF_ENV_DC_PWR_PROBLEM, 7);

// Code 0x08.
typedef struct IML_PACKED _evtInfEnvAcInputPwrExceeded {
  EVT_CHASSIS Chassis;
  char cChassisName[1];
} EVT_INF_ENV_AC_INPUT_PWR_EXCEEDED;
IML_ASSERT_SIZE(EVT_INF_ENV_AC_INPUT_PWR_EXCEEDED, 4);

// Code 0x09.
typedef struct IML_PACKED _evtInfEnvLossOfChassisConnectivity {
  EVT_CHASSIS Chassis;
  uint16_t wAddress;  // not shown
  char cChassisName[1];
} EVT_INF_ENV_LOSS_OF_CHASSIS_CONNECTIVITY;
IML_ASSERT_SIZE(EVT_INF_ENV_LOSS_OF_CHASSIS_CONNECTIVITY, 6);
IML_ASSERT_OFFSET(EVT_INF_ENV_LOSS_OF_CHASSIS_CONNECTIVITY, wAddress, 3);

// Code 0x0A.
typedef struct IML_PACKED _evtInfEnvNewChassisConnectivity {
  EVT_CHASSIS Chassis;
  uint16_t wAddress;  // not shown
  char cChassisName[1];
} EVT_INF_ENV_NEW_CHASSIS_CONNECTIVITY;
IML_ASSERT_SIZE(EVT_INF_ENV_NEW_CHASSIS_CONNECTIVITY, 6);
IML_ASSERT_OFFSET(EVT_INF_ENV_NEW_CHASSIS_CONNECTIVITY, wAddress, 3);

// Code 0x0B.
typedef struct IML_PACKED _evtInfEnvRackInfrastructureChg {
  EVT_CHASSIS Chassis;
  uint8_t bType;  // kind of change
  char cChassisName[1];
} EVT_INF_ENV_RACK_INFRASTRUCTURE_CHG;
IML_ASSERT_SIZE(EVT_INF_ENV_RACK_INFRASTRUCTURE_CHG, 5);

// Code 0x0C.
typedef struct IML_PACKED _evtInfEnvUnknownPwrConsumption {
  EVT_CHASSIS Chassis;
  char cChassisName[1];
} EVT_INF_ENV_UNKNOWN_PWR_CONSUMPTION;
IML_ASSERT_SIZE(EVT_INF_ENV_UNKNOWN_PWR_CONSUMPTION, 4);

// Code 0x0D.
typedef struct IML_PACKED _evtInfEnvPwrSubsysMisconfigured {
  EVT_CHASSIS Chassis;
  uint8_t bError;
  uint8_t bLocation;  // rack side; 0 none
  uint16_t wAddress;  // not shown
  char cChassisName[1];
} EVT_INF_ENV_PWR_SUBSYS_MISCONFIGURED;
IML_ASSERT_SIZE(EVT_INF_ENV_PWR_SUBSYS_MISCONFIGURED, 8);
IML_ASSERT_OFFSET(EVT_INF_ENV_PWR_SUBSYS_MISCONFIGURED, wAddress, 5);

// Code 0x0E.
typedef struct IML_PACKED _evtInfEnvEnclosureMgrStatus {
  EVT_CHASSIS Chassis;
  char cChassisName[1];
} EVT_INF_ENV_ENCLOSURE_MGR_STATUS;
IML_ASSERT_SIZE(EVT_INF_ENV_ENCLOSURE_MGR_STATUS, 4);

// Code 0x0F.
typedef struct IML_PACKED _evtInfEnvBlowerFault {
  EVT_CHASSIS Chassis;
  uint8_t bProblem;  // shown as the blower's number; 255 unknown
  uint8_t bSide;     // rack side
  char cChassisName[1];
} EVT_INF_ENV_BLOWER_FAULT;
IML_ASSERT_SIZE(EVT_INF_ENV_BLOWER_FAULT, 6);

// Code 0x10.
typedef struct IML_PACKED _evtInfEnvBlowerRemoved {
  EVT_CHASSIS Chassis;
  uint8_t bProblem;  // shown as the blower's number; 255 unknown
  uint8_t bSide;     // rack side
  char cChassisName[1];
} EVT_INF_ENV_BLOWER_REMOVED;
IML_ASSERT_SIZE(EVT_INF_ENV_BLOWER_REMOVED, 6);

// Code 0x11.
typedef struct IML_PACKED _evtInfEnvEthernetSwitchFault {
  EVT_CHASSIS Chassis;
  uint8_t bProblem;
  uint8_t bSide;  // rack side
  char cChassisName[1];
} EVT_INF_ENV_ETHERNET_SWITCH_FAULT;
IML_ASSERT_SIZE(EVT_INF_ENV_ETHERNET_SWITCH_FAULT, 6);

// Code 0x12.
typedef struct IML_PACKED _evtInfEnvInputPwrSenseErr {
  EVT_CHASSIS Chassis;
  uint8_t bSide;  // power bus
  char cChassisName[1];
} EVT_INF_ENV_INPUT_PWR_SENSE_ERR;
IML_ASSERT_SIZE(EVT_INF_ENV_INPUT_PWR_SENSE_ERR, 5);

// Codes 0x13, 0x14.
typedef struct IML_PACKED _evtInfEnvBladeInsRem2 {
  EVT_CHASSIS Chassis;
  uint8_t bZoneId;    // slot of a blade, rack side of a network component
  uint8_t bZoneType;  // 13 network component, 14 blade
  char cChassisName[1];
} EVT_INF_ENV_BLADE_INS_REM_2;
IML_ASSERT_SIZE(EVT_INF_ENV_BLADE_INS_REM_2, 6);

// Code 0x15.
typedef struct IML_PACKED _evtInfEnvRackTopologyErr {
  EVT_CHASSIS Chassis;
  uint8_t bReason;  // not shown
} EVT_INF_ENV_RACK_TOPOLOGY_ERR;
IML_ASSERT_SIZE(EVT_INF_ENV_RACK_TOPOLOGY_ERR, 4);

// Code 0x18.
typedef struct IML_PACKED _evtInfEnvChassisErr {
  EVT_CHASSIS Chassis;
  uint8_t bLocation;
  uint8_t bSubLocation;
  uint8_t bError;
} EVT_INF_ENV_CHASSIS_ERR;
IML_ASSERT_SIZE(EVT_INF_ENV_CHASSIS_ERR, 6);

// Code 0x19. Revisions are BCD.
typedef struct IML_PACKED _evtInfFirmwareMismatch {
  EVT_CHASSIS Chassis;
  uint8_t bCurrentMajor;
  uint8_t bCurrentMinor;
  uint8_t bRequiredMajor;
  uint8_t bRequiredMinor;
  uint16_t wICMB_Number;  // not shown
  char cChassisName[1];
} EVT_INF_FIRMWARE_MISMATCH;
IML_ASSERT_SIZE(EVT_INF_FIRMWARE_MISMATCH, 10);
IML_ASSERT_OFFSET(EVT_INF_FIRMWARE_MISMATCH, wICMB_Number, 7);

// Code 0x1A.
typedef struct IML_PACKED _evtInfEnvPowerRequestDenied {
  EVT_CHASSIS Chassis;
  uint8_t bBlade;  // slot
  uint8_t bReason;
  char cChassisName[1];
} EVT_INF_ENV_POWER_REQUEST_DENIED;
IML_ASSERT_SIZE(EVT_INF_ENV_POWER_REQUEST_DENIED, 6);
