// One entry of the Integrated Management Log as the firmware keeps it: a header and a payload whose record
// depends on the event's class and code. C99 and C++11, GCC or Clang.
#pragma once

#include "iml/records/common.h"
#include "iml/records/drive_array.h"
#include "iml/records/infrastructure.h"
#include "iml/records/krx.h"
#include "iml/records/machine_environment.h"
#include "iml/records/main_memory.h"
#include "iml/records/non_volatile_memory.h"
#include "iml/records/pci_slots.h"
#include "iml/records/platform.h"
#include "iml/records/post_nmi.h"
#include "iml/records/power.h"
#include "iml/records/processor_buses.h"
#include "iml/records/system_network_scsi.h"
#include "iml/records/undecoded.h"

typedef struct IML_PACKED _evtLogHdr {
  uint16_t wEvtLength;   // size in bytes; the payload's first wEvtLength - 28 bytes are in use
  uint32_t dwEvtNumber;  // the entry's number in the log
  uint8_t bHdrRev;
  uint8_t bSeverity;          // EvtSeverity
  uint16_t wClass;            // EvtClass
  uint16_t wCode;             // event within the class
  EVT_TIME_STAMP InitTime;    // first occurrence
  EVT_TIME_STAMP UpdateTime;  // latest occurrence
  uint32_t dwCount;           // occurrences folded into this entry
} EVT_HEADER;
IML_ASSERT_SIZE(EVT_HEADER, 28);
IML_ASSERT_OFFSET(EVT_HEADER, dwEvtNumber, 2);
IML_ASSERT_OFFSET(EVT_HEADER, wClass, 8);
IML_ASSERT_OFFSET(EVT_HEADER, InitTime, 12);
IML_ASSERT_OFFSET(EVT_HEADER, dwCount, 24);

enum EvtClass {
  IML_CLASS_EMPTY = 0x00,
  IML_CLASS_TEST = 0x01,
  IML_CLASS_MACHINE_ENVIRONMENT = 0x02,
  IML_CLASS_MAIN_MEMORY = 0x03,
  IML_CLASS_CACHE_MEMORY = 0x04,
  IML_CLASS_CPU = 0x05,
  IML_CLASS_HOST_BUS = 0x06,
  IML_CLASS_EISA_BUS = 0x07,
  IML_CLASS_PCI_BUS = 0x08,
  IML_CLASS_EXPANSION_SLOT = 0x09,
  IML_CLASS_POST_MESSAGES = 0x0A,
  IML_CLASS_POWER_SUBSYSTEM = 0x0B,
  IML_CLASS_UPS = 0x0C,
  IML_CLASS_ASR = 0x0D,
  IML_CLASS_OPERATING_SYSTEM = 0x0E,
  IML_CLASS_DIAGNOSTICS = 0x0F,
  IML_CLASS_NETWORK_ADAPTER = 0x11,
  IML_CLASS_SCSI = 0x12,
  IML_CLASS_DRIVE_ARRAY = 0x13,
  IML_CLASS_UNRECOVERABLE_SYSTEM_ERROR = 0x14,
  IML_CLASS_SYSTEM_REVISION = 0x20,
  IML_CLASS_MAINTENANCE = 0x21,
  IML_CLASS_INFRASTRUCTURE = 0x22,
  IML_CLASS_KRX = 0x25,
  IML_CLASS_PELLORY = 0x26,
  IML_CLASS_POWER_CAPPING = 0x27,
  IML_CLASS_FLASH_MEDIA = 0x28,
  IML_CLASS_INTERLOCK = 0x29,
  IML_CLASS_NON_VOLATILE_MEMORY = 0x2A,
};

enum EvtMaintenanceCode {  // of IML_CLASS_MAINTENANCE
  IML_MAINTENANCE_CLEARED = 1,
  IML_MAINTENANCE_NOTE = 2,
};

enum EvtSeverity {
  IML_SEVERITY_INFORMATIONAL = 2,
  IML_SEVERITY_INFORMATIONAL_ALTERNATE = 3,  // reads the same
  IML_SEVERITY_REPAIRED = 6,
  IML_SEVERITY_CAUTION = 9,
  IML_SEVERITY_CRITICAL = 15,
};

typedef union IML_PACKED _evtFreeForm {
  uint8_t ExtendDataSize[212];  // the whole payload

  // Machine environment (class 0x02)
  EVT_MACH_OVERHEAT MachHeat;
  EVT_MACH_FAN_FAIL MachFan;
  EVT_MACH_DOOR_OPEN MachDoor;
  EVT_MACH_FAN_REMOVED MachFanRem;
  EVT_MACH_FAN_INSERTED MachFanIns;
  EVT_MACH_FAN_NOT_REDUNDANT MachFanNotRed;
  EVT_MACH_FAN_NOT_REDUNDANT_SHARED MachFanNotRedShared;
  EVT_MACH_SAS_FAN_FAIL MachFanSas;
  EVT_MACH_SAS_OVERHEAT MachHeatSas;
  EVT_MACH_EXT_SAS_FAN_FAIL MachExtFanSas;
  EVT_MACH_CRIT_OVERHEAT MachCritOverheat;
  EVT_MACH_SAS_CONTROLLER_OVERHEAT MachHeatSasController;
  EVT_MACH_CRIT_OVERHEAT_TEXT MachCritOverheatText;
  EVT_MACH_SENSOR_REPORTS MachSensorReports;

  // Main memory (class 0x03)
  EVT_MAIN_MEMORY MainMem;
  EVT_MAIN_MEMORY_MULTI MainMemMulti;
  EVT_MAIN_MEMORY_USER_ACTION MainMemAction;
  EVT_MAIN_MEMORY_HW_STATUS MainMemHwStat;
  EVT_MAIN_MEMORY_CONFIG_ERR MainMemCfErr;
  EVT_MAIN_MEMORY_CONFIG_CHG MainMemCfChg;
  EVT_MAIN_MEMORY_SPARE_ENGAGED MainMemSpare;
  EVT_MAIN_MEMORY_MIRROR_ENGAGED MainMemMirror;
  EVT_MAIN_MEMORY_CONFIGURATION MainMemConfig;
  EVT_MAIN_MEMORY_BOARD_FAILURE MainMemBoardFailure;
  EVT_MAIN_MEMORY_FAIL_IN_ROM_DIAG MainMemFailInRomDiag;
  EVT_MAIN_MEMORY_SPARE_ENGAGED_PROC MainMemSpareProc;
  EVT_MAIN_MEMORY_MIRROR_ENGAGED_PROC MainMemMirrorProc;
  EVT_MAIN_MEMORY_DIMM_CONFIG MainMemDimmConfig;
  EVT_MAIN_MEMORY_HIGH_ECC_RATE_RESEAT MainMemHighEccRate;

  // Cache, processor, host bus, EISA bus (classes 0x04 to 0x07)
  EVT_CACHE_ACCEL_PARITY_ERROR CacheAccelError;
  EVT_CPU_CORRECTABLE CpuCorr;
  EVT_CPU_UNCORRECTABLE CpuUncorr;
  EVT_CPU_UNCORRECTABLE_MCE CpuUncorrMCE;
  EVT_CPU_CORRECTABLE_TRAY CpuCorrTray;
  EVT_CPU_UNCORRECTABLE_TRAY CpuUncorrTray;
  EVT_CPU_UNCORRECTABLE_MCE_TRAY CpuUncorrMCETray;
  EVT_HOST_BUS_UNCORRECTABLE HbUncorr;
  EVT_INTERMODULE_BUS_UNCORRECTABLE IntModUncorr;
  EVT_QUICKPATH_ERROR QPIError;
  EVT_UNCORRECTABLE_CHIPSET_ERROR ChipsetUncorr;
  EVT_EISA_BUS EisaBus;

  // PCI bus, expansion slot (classes 0x08, 0x09)
  EVT_PCI_BUS PciBus;
  EVT_PCI_EXPRESS PciExpress;
  EVT_EXPANSION_SLOT Slot;

  // POST messages, unrecoverable system error (classes 0x0A, 0x14)
  EVT_POST_MESSAGE PostMsg;
  EVT_POST_INFORMATION PostInformation;
  EVT_OPTION_ROM_POST_MESSAGE OptRomPostMsg;
  EVT_OPTION_ROM_POST_INFORMATION OptRomPostInformation;
  EVT_UNRECOV_NMI_OR_BINIT_PLUS_DATA NmiPlusData;
  EVT_UNCORRECTABLE_CRITICAL_FAULT ServerCriticalFault;

  // Power subsystem (class 0x0B)
  EVT_POWER_SUPPLY_FAILURE PsFail;
  EVT_BATTERY_LOW BatLow;
  EVT_POWER_MODULE_FAILURE PowerMod;
  EVT_POWER_SUPPLY_REMOVED PsRem;
  EVT_POWER_SUPPLY_INSERTED PsIns;
  EVT_POWER_NOT_REDUNDANT PsNotRed;
  EVT_INF_POWER_NOT_REDUNDANT PsInfNotRed;
  EVT_POWER_MODULES_NOT_REDUNDANT PowerModNotRed;
  EVT_POWER_AC_VOLTAGE PsAcVolt;
  EVT_POWER_AC_OVERLOAD PsAcOverload;
  EVT_POWER_SUPPLY_UNPOWERED PsUnpowered;
  EVT_POWER_SUPPLY_POWERED PsPowered;
  EVT_SYS_POWER_MODULE_FAILURE PsModFail;
  EVT_SYS_POWER_MODULE_REMOVED PsModRem;
  EVT_SYS_POWER_MODULE_INSERTED PsModIns;
  EVT_SYS_POWER_MODULE_NOT_REDUNDANT PsModNotRed;
  EVT_SYS_POWER_MODULE_OVERLOAD PsModOverload;
  EVT_SAS_POWER_SUPPLY_FAILURE PsFailSas;
  EVT_SYS_POWER_FAULT PsSysPowerFault;
  EVT_POWER_SUPPLY_STORBAT_REMOVED PsStorBatRemoved;
  EVT_POWER_SUPPLY_STORBAT_FAILED PsStorBatFailed;
  EVT_POWER_SUPPLY_STORBAT_I2C_FAULT PsStorBatI2CFault;
  EVT_POWER_SUPPLY_POWER_ON_DENIED PsPowerOnDenied;
  EVT_POWER_SUPPLY_BBU_FAILURE PsBBUFailure;
  EVT_POWER_SUPPLY_BBU_INS_REM PsBBUInsRem;

  // ASR, operating system, network adapter, SCSI (classes 0x0D, 0x0E, 0x11, 0x12)
  EVT_ASR_LOCKUP AsrLockup;
  EVT_OS_CRASH OsCrash;
  EVT_AUTO_SHUTDOWN Shutdown;
  EVT_OS_FATAL_EXCEPTION OsExcept;
  EVT_OS_PWR_SHED OsPwrShed;
  EVT_NIC_ERROR NicErr;
  EVT_NICS_NOT_REDUNDANT NicNotRed;
  EVT_SCSI_CTRL_FAILURE ScsiCtrl;
  EVT_SCSI_DEVICE_FAILURE ScsiDev;
  EVT_SCSI_CTRLS_NOT_REDUNDANT ScsiNotRed;

  // Drive array (class 0x13; ArrayDevSas also class 0x26)
  EVT_ARRAY_CTRL_FAILURE ArrayCtrl;
  EVT_ARRAY_DEV_FAILURE ArrayDev;
  EVT_ARRAY_ACCEL_FAILURE ArrayAccel;
  EVT_ARRAY_CTRLS_NOT_REDUNDANT ArrayNotRed;
  EVT_SAS_ARRAY_DEV_FAILURE ArrayDevSas;
  EVT_SAS_ARRAY_PHY_ERROR ArraySasPHY;
  EVT_ARRAY_CTRLS_NOT_REDUNDANT_SUN ArrayNotRedSun;
  EVT_SAS_ARRAY_PHY_ERROR_EXTENDED ArraySasPHYExtended;
  EVT_SAS_ARRAY_SEP_FAILURE ArraySasSEPFailure;
  EVT_ARRAY_CACHE_NOT_INSTALLED ArrayCacheNotInstalled;
  EVT_SAS_ARRAY_PHY_DISABLED ArraySasPHYDisabled;
  EVT_ARRAY_CACHE_NOT_COMPATIBLE ArrayCacheNotCompatible;
  EVT_SAS_ARRAY_PHY_ERROR_GENERIC ArraySasPHYErrorGeneric;

  // System revision, maintenance, platform (classes 0x20, 0x21, 0x27 to 0x29)
  EVT_ROM_FLASH_OCCURRED RomFlash;
  EVT_FIRMWARE_FLASH_OCCURRED FirmwareFlash;
  EVT_MAINTENANCE_INFO Maint;
  EVT_PCAP_UNREACHABLE_VALUE PowerCapUnreachableValue;
  EVT_FM_BOOT_FROM_FLASH_ERR FmBootFromFlashErr;
  EVT_INTERLOCK_DEV_NOT_SEATED InterlockDevNotSeated;

  // Infrastructure environment (class 0x22)
  EVT_INF_ENV_INADEQUATE_PWR_TO_PWR_ON InfCantPwrOn;
  EVT_INF_ENV_MANUAL_OVERRIDE InfManOverride;
  EVT_INF_ENV_FUSE_OPEN InfFuseOpen;
  EVT_INF_ENV_I2C_FAULT InfI2cFlt;
  EVT_INF_ENV_BLADE_INS_REM InfBladeInsRem;
  EVT_INF_ENV_PWR_LOAD_BALANCING InfPwrLoadBal;
  EVT_INF_ENV_DC_PWR_PROBLEM InfDcPwrProblem;
  EVT_INF_ENV_AC_INPUT_PWR_EXCEEDED InfAcPwrProblem;
  EVT_INF_ENV_LOSS_OF_CHASSIS_CONNECTIVITY InfLostCon;
  EVT_INF_ENV_NEW_CHASSIS_CONNECTIVITY InfNewCon;
  EVT_INF_ENV_RACK_INFRASTRUCTURE_CHG InfRackChange;
  EVT_INF_ENV_UNKNOWN_PWR_CONSUMPTION InfUnknownPwrUse;
  EVT_INF_ENV_PWR_SUBSYS_MISCONFIGURED InfPwrMisconfig;
  EVT_INF_ENV_ENCLOSURE_MGR_STATUS InfEnclMgrStatus;
  EVT_INF_ENV_BLOWER_FAULT InfBlwrFault;
  EVT_INF_ENV_BLOWER_REMOVED InfBlwrRem;
  EVT_INF_ENV_ETHERNET_SWITCH_FAULT InfEthSwFlt;
  EVT_INF_ENV_INPUT_PWR_SENSE_ERR InfInPwrSenseErr;
  EVT_INF_ENV_BLADE_INS_REM_2 InfBladeInsRem2;
  EVT_INF_ENV_RACK_TOPOLOGY_ERR InfTopErr;
  EVT_INF_ENV_CHASSIS_ERR InfChassisError;
  EVT_INF_FIRMWARE_MISMATCH InfFirmwareMismatch;
  EVT_INF_ENV_POWER_REQUEST_DENIED InfPowerRequestDenied;

  // Node controller (class 0x25)
  EVT_KRX_GENERIC KRX_Generic;
  EVT_PECI_ACCESS_TYPE KRX_Peci_Access;
  EVT_DS2_ACCESS_TYPE KRX_DS2_Access;
  EVT_KRX_CPU_SKU_ERROR KRX_SKU_Error;
  EVT_KRX_LINK_TRAINING_ERROR KRX_Link_Error;
  EVT_KRX_SYS_SOCKET KRX_Socket;
  EVT_KRX_SOCKET_DISABLEMENT KRX_Socket_Disable;
  EVT_KRX_IO_DISABLEMENT KRX_IO_Disable;
  EVT_KRX_FAULT KRX_Fault;
  EVT_KRX_ROM_ERROR KRX_Rom_Error;

  // Non-volatile memory (class 0x2A)
  EVT_NVM_REC NVMRec;
  EVT_NVM_REC_RETRY NVMRecRetry;

  // Without event text
  EVT_EXPANSION_SLOT_CONFIG_ERR SlotConfig;
  EVT_HEALTHREQUEST HealthRequest;
  EVT_EMBEDDED_HEALTH EmbeddedHealth;
} EVT_FREE_FORM, *PEVT_FREE_FORM;
IML_ASSERT_SIZE(EVT_FREE_FORM, 212);

typedef struct IML_PACKED _evtLogEntry {
  EVT_HEADER Hdr;
  EVT_FREE_FORM Data;
} EVT_LOG_ENTRY, *PEVT_LOG_ENTRY;
IML_ASSERT_SIZE(EVT_LOG_ENTRY, 240);
IML_ASSERT_OFFSET(EVT_LOG_ENTRY, Data, 28);
