// What all class decoders share, so that each of them prints numbers, unknown
// values, chassis, enclosures and slots the same way. Texts taken from a payload
// are terminated: see TranslateEventLogMessage, the one place that sees to it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "iml/event_text.h"
#include "iml/iml_record.h"

namespace iml {

inline constexpr char szUnknown[] = "Unknown";

// Names of locations (zone types), by location code.
inline constexpr const char *szLocations[] = {
    "System",          "System Board", "I/O Board",  "CPU",     "Memory",       "Storage",
    "Removable Media", "Power Supply", "Ambient",    "Chassis", "Bridge Board", "Management Board",
    "Backplane",       "Network Slot", "Blade Slot", "Virtual",
};

// The one way in which a number from a record indexes a table: outside the table it gives the fallback.
template <size_t N>
constexpr const char *Lookup(const char *const (&table)[N], size_t index,
                             const char *szFallback = szUnknown) {
  return index < N ? table[index] : szFallback;
}

// The text stored directly behind a payload text; empty when the payload ends there.
const char *NextText(const char *szText);

// Appends a text that may follow a description, behind ", "; nothing when it is empty.
void AppendDetail(EventText &szString, const char *szDetail);

// Each of the following returns the text to print: a constant, or what it wrote into an empty text. Without a
// text of the caller's that one lives until the end of the full expression, so a helper's result can be an
// argument of the call that prints it, and must not be kept.

// A number, "Unknown" for 255.
const char *Byte2Str(uint8_t bValue, EventText &szDest = Scratch().here());
// A character, "Unknown" for 0xFF.
const char *Char2Str(char bValue, EventText &szDest = Scratch().here());
// A number, "Unknown" for 0xFFFFFFFF.
const char *Dword2Str(uint32_t dwValue, EventText &szDest = Scratch().here());
// Eight hexadecimal digits behind "0x".
const char *Dword2HexStr(uint32_t dwValue, EventText &szDest = Scratch().here());
// Degrees Celsius, "Unknown" for 255.
const char *GetTemp(uint8_t bTemp, EventText &szDest = Scratch().here());
// The two hexadecimal digits of a byte, which are the decimal digits of a BCD byte.
const char *GetBCDString(uint8_t bBCD, EventText &pszString = Scratch().here());
// An entry of szLocations.
const char *GetLocation(uint8_t bLocation);
// The tray of a processor: 1 upper, 2 lower.
const char *GetTrayType(uint8_t bTray);
// The kind of an interlock fault, as the prefix of the device that it concerns.
const char *GetInterlockType(uint8_t interType);
// "External" or "Internal" for a storage chassis, empty for any other.
const char *GetInternalExternal(const EVT_CHASSIS &Chassis);
// The two characters of a SAS port's name.
const char *GetSASPort(const char (&szPortID)[2], EventText &szString = Scratch().here());
// The chassis name, or the chassis number where the name is null or empty.
const char *GetSysChassis(uint8_t bChassisId, const char *szChassisName,
                          EventText &szDest = Scratch().here());
// The enclosure's serial number where the name begins with a letter or digit, else its address.
const char *GetChassisEx(const char *pszName, const EVT_CHASSIS &Chassis,
                         EventText &pszString = Scratch().here());
// The chassis name as the front of a slot; empty for an empty name.
const char *GetStorChassis(const char *szChassisName, EventText &szDest = Scratch().here());
// Chassis and slot of a storage device: the texts of
// szChassis_Sun, the slot by number where it has no description.
const char *GetSlotChassisSun(const char *szChassis_Sun, uint8_t bSlotNumber,
                              EventText &szString = Scratch().here());
// A copy of a text without leading and trailing white space, each run of it inside folded to one blank.
const char *CopyAndReformat(std::string_view szSrc, EventText &szDest = Scratch().here());

// The value of `size` bytes, most significant first; of more than four bytes the last four.
uint32_t GetBigEndianValue(const uint8_t *pointer, uint8_t size);

}  // namespace iml
