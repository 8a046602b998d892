// Common parts of the payload records. All records are packed and little-endian. C99 and C++11, GCC or Clang.
//
// A last field with a single element (cMessage, cText, cChassisName, cSerialNumber, cCause, szSerialNumber,
// szChassis_Sun, and the byte arrays bMIDChain and data) stands for the rest of the payload. Read it through
// its address, but never past the payload's 212 bytes. Write it through ExtendDataSize, which is the whole
// payload. Texts end with NUL. szChassis_Sun holds two texts, the chassis name and the slot description;
// either may be empty. szPortID is two characters without a NUL.
#pragma once

#if __BYTE_ORDER__ != __ORDER_LITTLE_ENDIAN__
#  error "The records are little-endian and are read in place: they need a little-endian machine"
#endif

#include <assert.h>
#include <stddef.h>
#include <stdint.h>

#define IML_PACKED __attribute__((packed))

// C99 has no assertions at compile time; there the macros declare a function that nobody calls.
#if defined(__cplusplus) || __STDC_VERSION__ >= 201112L
#  define IML_ASSERT(condition, what) static_assert(condition, what)
#else
#  define IML_ASSERT(condition, what) void iml_assert_nothing(void)
#endif
// Records have no padding: their size also asserts the offset of a last field of one byte.
#define IML_ASSERT_SIZE(record, size) IML_ASSERT(sizeof(record) == (size), "size of " #record)
#define IML_ASSERT_OFFSET(record, field, offset) \
  IML_ASSERT(offsetof(record, field) == (offset), "offset of " #record "." #field)

// Binary numbers, not BCD.
typedef struct IML_PACKED _evtTimeStamp {
  uint8_t bCentury;  // 20 for 2014
  uint8_t bYear;     // 0 to 99
  uint8_t bMonth;
  uint8_t bDay;
  uint8_t bHour;
  uint8_t bMinute;
} EVT_TIME_STAMP;
IML_ASSERT_SIZE(EVT_TIME_STAMP, 6);

// In enclosure records bId and bPort together are the enclosure's address, bId being the high byte.
typedef struct IML_PACKED _evtChassis {
  uint8_t bType;  // EvtChassisType
  uint8_t bId;    // 0 the system unit, 255 unknown; in SAS storage records the controller's slot
  uint8_t bPort;  // network adapter port or storage bus
} EVT_CHASSIS;
IML_ASSERT_SIZE(EVT_CHASSIS, 3);

enum EvtZoneType {  // locations that distinguish an enclosure's blades from its network components
  IML_ZONE_NETWORK_COMPONENT = 13,
  IML_ZONE_BLADE = 14,
};

enum EvtChassisType {
  IML_CHASSIS_SYSTEM = 1,  // the server itself when bId is 0, else a chassis attached to it
  IML_CHASSIS_EXTERNAL_STORAGE = 2,
  IML_CHASSIS_INTERNAL_STORAGE = 3,
  IML_CHASSIS_SERVER_BLADE_ENCLOSURE = 4,
  IML_CHASSIS_POWER_ENCLOSURE = 5,
};
