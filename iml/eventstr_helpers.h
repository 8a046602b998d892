// Texts of numbers, unknown values, chassis, enclosures and slots, for all class decoders. Texts in a payload
// are terminated; TranslateEventLogMessage ensures it.
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

// The entry of a table, or the fallback if the index is outside of it. Numbers from a record must not index a
// table in any other way.
template <size_t N>
constexpr const char *Lookup(const char *const (&table)[N], size_t index, const char *fallback = szUnknown) {
  return index < N ? table[index] : fallback;
}

// The text that follows a text in the payload. It is empty if the payload ends there.
const char *next_text(const char *text);

// Appends ", " and the text; nothing if the text is empty.
void append_detail(EventText &text, const char *detail);

// Each of the following returns the text to print: a constant, or what it wrote into the last argument, which
// has to be an empty text. By default that is a temporary, which lives until the end of the full expression:
// the result can be an argument of the call that prints it, but must not be kept.

// A number, "Unknown" for 255.
const char *Byte2Str(uint8_t bValue, EventText &szDest = Scratch().here());
// A character, "Unknown" for 0xFF.
const char *Char2Str(char bValue, EventText &szDest = Scratch().here());
// A number, "Unknown" for 0xFFFFFFFF.
const char *Dword2Str(uint32_t dwValue, EventText &szDest = Scratch().here());
// "0x" and eight hexadecimal digits.
const char *Dword2HexStr(uint32_t dwValue, EventText &szDest = Scratch().here());
// Degrees Celsius, "Unknown" for 255.
const char *GetTemp(uint8_t bTemp, EventText &szDest = Scratch().here());
// The two hexadecimal digits of a byte, which are the decimal digits of a BCD byte.
const char *GetBCDString(uint8_t bBCD, EventText &pszString = Scratch().here());
// An entry of szLocations.
const char *GetLocation(uint8_t bLocation);
// The tray of a processor: 1 upper, 2 lower.
const char *GetTrayType(uint8_t bTray);
// The unit that a memory module is on: 0 a board, 1 a processor.
const char *get_cpu_board(uint8_t cpu_board_flag);
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
// "Chassis NAME, ", which goes before a slot. Empty for an empty name.
const char *GetStorChassis(const char *szChassisName, EventText &szDest = Scratch().here());
// Chassis and slot of a storage device, from the two texts of szChassis_Sun. A slot without a description is
// shown by number.
const char *GetSlotChassisSun(const char *szChassis_Sun, uint8_t bSlotNumber,
                              EventText &szString = Scratch().here());
// A copy of a text without leading and trailing white space. Inside, each run of white space becomes one
// blank.
const char *CopyAndReformat(std::string_view szSrc, EventText &szDest = Scratch().here());

// The value of `size` bytes, the most significant one first. Of more than four bytes only the last four
// count.
uint32_t GetBigEndianValue(const uint8_t *pointer, uint8_t size);

}  // namespace iml
