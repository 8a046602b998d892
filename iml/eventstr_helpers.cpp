#include "iml/eventstr_helpers.h"

#include <cstring>

namespace iml {

namespace {

// ASCII alone: what the C library's predicates say depends on the locale of the program that uses the
// library.
bool IsSpace(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

bool IsLetterOrDigit(char c) {
  return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

}  // namespace

const char *NextText(const char *szText) {
  return szText + std::strlen(szText) + 1;
}

void AppendDetail(EventText &szString, const char *szDetail) {
  if (*szDetail != '\0') {
    szString.Format(", %s", szDetail);
  }
}

const char *Byte2Str(std::uint8_t bValue, ScratchRef szDest) {
  if (bValue == 0xFF) {
    return szUnknown;
  }
  EventText(szDest).Format("%u", bValue);
  return szDest.Buffer();
}

const char *Char2Str(char bValue, ScratchRef szDest) {
  if (static_cast<unsigned char>(bValue) == 0xFF) {
    return szUnknown;
  }
  EventText(szDest).Format("%c", bValue);
  return szDest.Buffer();
}

const char *Dword2Str(std::uint32_t dwValue, ScratchRef szDest) {
  if (dwValue == 0xFFFFFFFF) {
    return szUnknown;
  }
  EventText(szDest).Format("%u", dwValue);
  return szDest.Buffer();
}

const char *Dword2HexStr(std::uint32_t dwValue, ScratchRef szDest) {
  EventText(szDest).Format("0x%08X", dwValue);
  return szDest.Buffer();
}

const char *GetTemp(std::uint8_t bTemp, ScratchRef szDest) {
  if (bTemp == 0xFF) {
    return szUnknown;
  }
  EventText(szDest).Format("%uC", bTemp);
  return szDest.Buffer();
}

const char *GetBCDString(std::uint8_t bBCD, ScratchRef pszString) {
  EventText(pszString).Format("%02x", bBCD);
  return pszString.Buffer();
}

const char *GetLocation(std::uint8_t bLocation) {
  return Lookup(szLocations, bLocation);
}

const char *GetTrayType(std::uint8_t bTray) {
  static constexpr const char *kTrays[] = {szUnknown, "Upper", "Lower"};
  return Lookup(kTrays, bTray);
}

const char *GetInterlockType(std::uint8_t interType) {
  static constexpr const char *kTypes[] = {"Unknown interlock type, ", "Standby fault, ", "Runtime fault, ",
                                           "Power on fault, "};
  return Lookup(kTypes, interType, "");
}

const char *GetInternalExternal(const EVT_CHASSIS &Chassis) {
  static constexpr const char *kKinds[] = {"", "", "External", "Internal"};
  return Lookup(kKinds, Chassis.bType, "");
}

const char *GetSASPort(ScratchRef szString, const char (&szPortID)[2]) {
  // Without its first character the name is empty, whatever the second one is.
  EventText(szString).Append({szPortID, strnlen(szPortID, sizeof szPortID)});
  return szString.Buffer();
}

const char *GetSysChassis(std::uint8_t bChassisId, const char *szChassisName, ScratchRef szDest) {
  if (szChassisName != nullptr && *szChassisName != '\0') {
    return szChassisName;
  }
  return Byte2Str(bChassisId, szDest);
}

const char *GetChassisEx(const char *pszName, const EVT_CHASSIS &Chassis, ScratchRef pszString) {
  EventText text(pszString);
  if (pszName != nullptr && IsLetterOrDigit(*pszName)) {
    text.Format("Enclosure Serial Number %.16s", pszName);
  } else {
    text.Format("Enclosure Address %04X", Chassis.bId * 256U + Chassis.bPort);
  }
  return pszString.Buffer();
}

const char *GetStorChassis(const char *szChassisName, ScratchRef szDest) {
  if (*szChassisName == '\0') {
    return "";
  }
  EventText(szDest).Format("Chassis %s, ", szChassisName);
  return szDest.Buffer();
}

const char *GetSlotChassisSun(ScratchRef szString, const char *szChassis_Sun, std::uint8_t bSlotNumber) {
  EventText text(szString);
  text.Append(GetStorChassis(szChassis_Sun, Scratch()));
  const char *const szSlot = NextText(szChassis_Sun);
  if (*szSlot != '\0') {
    text.Append(szSlot);
  } else {
    text.Format("Slot %s", Byte2Str(bSlotNumber, Scratch()));
  }
  return szString.Buffer();
}

const char *CopyAndReformat(ScratchRef szDest, std::string_view szSrc) {
  EventText text(szDest);
  while (!szSrc.empty()) {
    if (IsSpace(szSrc.front())) {
      szSrc.remove_prefix(1);
      continue;
    }
    std::size_t word = 1;
    while (word < szSrc.size() && !IsSpace(szSrc[word])) {
      ++word;
    }
    if (!text.Empty()) {
      text.Append(" ");
    }
    text.Append(szSrc.substr(0, word));
    szSrc.remove_prefix(word);
  }
  return szDest.Buffer();
}

std::uint32_t GetBigEndianValue(const std::uint8_t *pointer, std::uint8_t size) {
  std::uint32_t value = 0;
  for (std::uint8_t i = 0; i < size; ++i) {
    value = value << 8 | pointer[i];
  }
  return value;
}

}  // namespace iml
