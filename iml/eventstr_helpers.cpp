#include "iml/eventstr_helpers.h"

#include <cstring>

namespace iml {

namespace {

// ASCII only. The C library's predicates would depend on the locale of the program that uses this library.
bool is_space(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

bool is_letter_or_digit(char c) {
  return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

}  // namespace

const char *next_text(const char *text) {
  return text + strlen(text) + 1;
}

void append_detail(EventText &text, const char *detail) {
  if (*detail != '\0') {
    text.format(", %s", detail);
  }
}

const char *Byte2Str(uint8_t bValue, EventText &szDest) {
  return Dword2Str(bValue == 0xFF ? 0xFFFFFFFF : bValue, szDest);
}

const char *Char2Str(char bValue, EventText &szDest) {
  if (static_cast<unsigned char>(bValue) == 0xFF) {
    return szUnknown;
  }
  szDest.append({&bValue, bValue == '\0' ? 0U : 1U});  // a zero character would end the text early
  return szDest.c_str();
}

const char *Dword2Str(uint32_t dwValue, EventText &szDest) {
  if (dwValue == 0xFFFFFFFF) {
    return szUnknown;
  }
  szDest.format("%u", dwValue);
  return szDest.c_str();
}

const char *Dword2HexStr(uint32_t dwValue, EventText &szDest) {
  szDest.format("0x%08X", dwValue);
  return szDest.c_str();
}

const char *GetTemp(uint8_t bTemp, EventText &szDest) {
  if (bTemp == 0xFF) {
    return szUnknown;
  }
  szDest.format("%uC", bTemp);
  return szDest.c_str();
}

const char *GetBCDString(uint8_t bBCD, EventText &pszString) {
  pszString.format("%02x", bBCD);
  return pszString.c_str();
}

const char *GetLocation(uint8_t bLocation) {
  return Lookup(szLocations, bLocation);
}

const char *GetTrayType(uint8_t bTray) {
  static constexpr const char *kTrays[] = {szUnknown, "Upper", "Lower"};
  return Lookup(kTrays, bTray);
}

const char *get_cpu_board(uint8_t cpu_board_flag) {
  static constexpr const char *kUnits[] = {"Board", "Processor"};
  return Lookup(kUnits, cpu_board_flag, "Board/CPU");
}

const char *GetInterlockType(uint8_t interType) {
  static constexpr const char *kTypes[] = {"Unknown interlock type, ", "Standby fault, ", "Runtime fault, ",
                                           "Power on fault, "};
  return Lookup(kTypes, interType, "");
}

const char *GetInternalExternal(const EVT_CHASSIS &Chassis) {
  static constexpr const char *kKinds[] = {"", "", "External", "Internal"};
  return Lookup(kKinds, Chassis.bType, "");
}

const char *GetSASPort(const char (&szPortID)[2], EventText &szString) {
  // A zero character ends the name, even if it is the first.
  szString.append({szPortID, strnlen(szPortID, sizeof(szPortID))});
  return szString.c_str();
}

const char *GetSysChassis(uint8_t bChassisId, const char *szChassisName, EventText &szDest) {
  if (szChassisName != nullptr && *szChassisName != '\0') {
    return szChassisName;
  }
  return Byte2Str(bChassisId, szDest);
}

const char *GetChassisEx(const char *pszName, const EVT_CHASSIS &Chassis, EventText &pszString) {
  if (pszName != nullptr && is_letter_or_digit(*pszName)) {
    pszString.format("Enclosure Serial Number %.16s", pszName);
  } else {
    pszString.format("Enclosure Address %04X", Chassis.bId * 256U + Chassis.bPort);
  }
  return pszString.c_str();
}

const char *GetStorChassis(const char *szChassisName, EventText &szDest) {
  if (*szChassisName == '\0') {
    return "";
  }
  szDest.format("Chassis %s, ", szChassisName);
  return szDest.c_str();
}

const char *GetSlotChassisSun(const char *szChassis_Sun, uint8_t bSlotNumber, EventText &szString) {
  szString.append(GetStorChassis(szChassis_Sun));
  const char *const slot = next_text(szChassis_Sun);
  if (*slot != '\0') {
    szString.append(slot);
  } else {
    szString.format("Slot %s", Byte2Str(bSlotNumber));
  }
  return szString.c_str();
}

const char *CopyAndReformat(std::string_view szSrc, EventText &szDest) {
  while (!szSrc.empty()) {
    if (is_space(szSrc.front())) {
      szSrc.remove_prefix(1);
      continue;
    }
    size_t word = 1;
    while (word < szSrc.size() && !is_space(szSrc[word])) {
      ++word;
    }
    if (!szDest.empty()) {
      szDest.append(" ");
    }
    szDest.append(szSrc.substr(0, word));
    szSrc.remove_prefix(word);
  }
  return szDest.c_str();
}

uint32_t GetBigEndianValue(const uint8_t *pointer, uint8_t size) {
  uint32_t value = 0;
  for (uint8_t i = 0; i < size; ++i) {
    value = value << 8 | pointer[i];
  }
  return value;
}

}  // namespace iml
