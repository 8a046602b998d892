// Automatic Server Recovery, operating system, network adapter and SCSI subsystem (classes 0x0D, 0x0E, 0x11,
// 0x12). Slots, ports, buses and bays: 255 unknown.
#pragma once

#include "iml/records/common.h"

// Class 0x0D, code 2.
typedef struct IML_PACKED _evtAsrLockup {
  char cMessage[1];
} EVT_ASR_LOCKUP;
IML_ASSERT_SIZE(EVT_ASR_LOCKUP, 1);

// Class 0x0E, code 1.
typedef struct IML_PACKED _evtOsCrash {
  char cMessage[1];
} EVT_OS_CRASH;
IML_ASSERT_SIZE(EVT_OS_CRASH, 1);

// Class 0x0E, code 2.
typedef struct IML_PACKED _evtAutoShutdown {
  uint8_t bCause;
} EVT_AUTO_SHUTDOWN;
IML_ASSERT_SIZE(EVT_AUTO_SHUTDOWN, 1);

// Class 0x0E, code 3.
typedef struct IML_PACKED _evtOsFatalException {
  uint8_t bException;  // 255 unknown
  char cCause[1];
} EVT_OS_FATAL_EXCEPTION;
IML_ASSERT_SIZE(EVT_OS_FATAL_EXCEPTION, 2);

// Class 0x0E, code 5.
typedef struct IML_PACKED _evtOsPwrShed {
  EVT_CHASSIS Chassis;   // not read
  uint8_t bZoneId;       // slot of the component
  uint8_t bZoneType;     // 13 network component, 14 blade
  char cChassisName[1];  // not read
} EVT_OS_PWR_SHED;
IML_ASSERT_SIZE(EVT_OS_PWR_SHED, 6);

// Class 0x11.
typedef struct IML_PACKED _evtNicError {
  EVT_CHASSIS Chassis;  // bPort: the adapter's port
  uint8_t bSlot;
  char cChassisName[1];  // codes 6 and 7: a detail text follows
} EVT_NIC_ERROR;
IML_ASSERT_SIZE(EVT_NIC_ERROR, 5);

// Class 0x11; the layout of EVT_NIC_ERROR.
typedef struct IML_PACKED _evtNicsNotRedundant {
  EVT_CHASSIS Chassis;  // bPort: the adapter's port
  uint8_t bSlot;
  char cChassisName[1];  // codes 6 and 7: a detail text follows
} EVT_NICS_NOT_REDUNDANT;
IML_ASSERT_SIZE(EVT_NICS_NOT_REDUNDANT, 5);

// Class 0x12, code 1.
typedef struct IML_PACKED _evtScsiCtrlFailure {
  EVT_CHASSIS Chassis;
  uint8_t bSlot;
  char cChassisName[1];
} EVT_SCSI_CTRL_FAILURE;
IML_ASSERT_SIZE(EVT_SCSI_CTRL_FAILURE, 5);

// Class 0x12, code 2.
typedef struct IML_PACKED _evtScsiDeviceFailure {
  EVT_CHASSIS Chassis;  // bId: the controller's slot, bPort: the SCSI bus
  uint8_t bBay;
  char cChassisName[1];
} EVT_SCSI_DEVICE_FAILURE;
IML_ASSERT_SIZE(EVT_SCSI_DEVICE_FAILURE, 5);

// Class 0x12, code 3.
typedef struct IML_PACKED _evtScsiCtrlsNotRedundant {
  EVT_CHASSIS Chassis;
  char cChassisName[1];
} EVT_SCSI_CTRLS_NOT_REDUNDANT;
IML_ASSERT_SIZE(EVT_SCSI_CTRLS_NOT_REDUNDANT, 4);
