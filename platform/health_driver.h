// The health driver's interface: its nodes, request codes, statuses and records. Records are packed and
// little-endian, laid out byte for byte as the driver expects them.
#pragma once

#include <cstddef>
#include <cstdint>

#include "iml/iml_record.h"

// The driver's nodes.
inline constexpr char kNodeDataTables[] = "/dev/zythealth/cdt";
inline constexpr char kNodeEvents[] = "/dev/zythealth/cevt";
inline constexpr char kNodeAsr[] = "/dev/zythealth/casr";
inline constexpr char kNodeReports[] = "/dev/zythealth/proc";

// Requests on the reports' node. The code is the number of the report. The buffer takes a text of at most
// kReportSize bytes, which may fill it without a terminator. The length to pass is kReportRequestLength.
enum ReportRequest : unsigned int {
  kReportThermal = 1,
  kReportFan = 2,
  kReportPower = 3,
  kReportPciRouting = 4,
  kReportDebug = 5,
};
inline constexpr unsigned int kReportSize = 4608;
inline constexpr unsigned int kReportRequestLength = 1;

// Requests on the other nodes.
enum DriverRequest : unsigned int {
  kRequestDisableAsr = 3,   // ASR node, no buffer
  kRequestEnableAsr = 4,    // ASR node, no buffer
  kRequestAsrState = 6,     // ASR node, a 4-byte signed integer: 1 enabled, 0 disabled
  kRequestDataTable = 69,   // data-table node, DT_IOCTL
  kRequestEventEntry = 81,  // event node, _ioctlEntry
};

// Answers of the event node to a read.
enum EventStatus : int {
  kEventRead = 0,
  kEventEndOfLog = 1,
  kEventNoEntry = 3,  // nothing to return under this number; ask for the next
};

typedef struct [[gnu::packed]] _dtIoctlHeader {
  uint32_t size;     // size in bytes of the buffer that pData points to
  uint16_t DT_Type;  // which table
  uint8_t Index;     // table instance
  uint8_t Index2;
  uint8_t CRUFunction;
  uint8_t CRUSubfunction;
} DT_IOCTL_HEADER;
static_assert(sizeof(DT_IOCTL_HEADER) == 10);

typedef struct [[gnu::packed]] _dtIoctl {
  DT_IOCTL_HEADER DtHdr;
  void *pData;  // the buffer that the driver fills
  uint32_t pad;
} DT_IOCTL;
static_assert(sizeof(DT_IOCTL) == 22 && offsetof(DT_IOCTL, pData) == 10 && offsetof(DT_IOCTL, pad) == 18);

// Data tables.
inline constexpr uint16_t kTableBmcDeviceId = 5002;
inline constexpr uint16_t kTableEventLogHeader = 51;

// Table 5002: the response data of the IPMI Get Device ID command without its completion code. A byte that
// holds groups of bits can also be read whole.
struct BmcDeviceRevision {
  uint8_t bits_DeviceRev : 4, bits_Reserved : 3, bit_SupportsSDR : 1;
};
struct BmcFirmwareRevision {
  uint8_t bits_MajorRev : 7, bit_DevAvailable : 1;
};
struct BmcIpmiVersion {
  uint8_t bits_MajorRev : 4, bits_MinorRev : 4;
};
struct BmcDeviceSupport {
  uint8_t bit_SensorDevice : 1, bit_SdrRepDevice : 1, bit_SelDevice : 1, bit_FruDevice : 1,
      bit_EventReceiver : 1, bit_EventGenerator : 1, bit_Bridge : 1, bit_Chassis : 1;
};
typedef struct [[gnu::packed]] _bmcDeviceId {
  uint8_t ucDeviceID;
  union {
    uint8_t ucDeviceRev;
    BmcDeviceRevision DeviceRevsion;
  };
  union {
    uint8_t ucFirmwareRev;
    BmcFirmwareRevision FirmwareRevMajor;
  };
  uint8_t ucFirmwareRevMinor;
  union {
    uint8_t ucIpmiVer;
    BmcIpmiVersion IpmiVersion;
  };
  union {
    uint8_t ucOptionalDevSupport;
    BmcDeviceSupport OptionalDevSupport;
  };
  uint8_t ucManufacturerId[3];
  uint8_t ucProductId[2];
  uint8_t ucVendorSpecific[4];
} BMC_DEVICE_ID;
static_assert(sizeof(BMC_DEVICE_ID) == 15 && offsetof(BMC_DEVICE_ID, ucManufacturerId) == 6);

// Table 51: what the server's event log can do.
struct [[gnu::packed]] _EVENTLOGHEADER {
  uint8_t ucLogType;
  uint8_t ucDataAvailable;  // 0: the server keeps no IML
  uint8_t ucNumSupportedByChassis;
};
using PEVENTLOGHEADER = _EVENTLOGHEADER *;
static_assert(sizeof(_EVENTLOGHEADER) == 3);

// The lengths in a read request on the event node, in bytes: LOG_INFO's, which is the size of the caller's
// buffer, and the record's.
inline constexpr uint32_t kReadLength = 512;
inline constexpr uint16_t kReadEvtLength = 284;

// The requests of LOG_INFO to the event node.
enum EventChoice : int32_t {
  kChoiceAdd = 1,   // append the record that follows
  kChoiceRead = 2,  // read entry EvtNumber into the record that follows
};

typedef struct [[gnu::packed]] _logInfo {
  uint32_t length;
  int32_t choice;      // EventChoice
  int32_t match_code;  // 0
  int32_t EvtNumber;   // entry wanted (read); 0 (add)
} LOG_INFO;
static_assert(sizeof(LOG_INFO) == 16);

struct [[gnu::packed]] _ioctlEntry {
  LOG_INFO info;
  EVT_LOG_ENTRY Evt;
};
using PEVT_IOCTL_ENTRY = _ioctlEntry *;
static_assert(sizeof(_ioctlEntry) == 256 && offsetof(_ioctlEntry, Evt) == 16);
