// Errors of memory modules, banks, boards and cartridges.
#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>

#include "iml/class_decoders.h"
#include "iml/eventstr_helpers.h"
#include "iml/memory_events.h"

namespace iml {
namespace {

constexpr uint8_t kSystemMemory = 0;  // as a board: memory that is on none
constexpr uint8_t kUnknownNumber = 0xFF;

// The two wordings of one place; the second one closes with the serial number.
template <size_t Texts>
struct SerialWordings {
  Wording<Texts> Plain;
  Wording<Texts + 1> Serial;
};

// The last one of `texts` is the serial number, which may be empty.
template <size_t Texts>
void FormatWithSerial(EventText &szString, const SerialWordings<Texts> &wordings,
                      const std::array<const char *, Texts + 1> &texts) {
  if (*texts.back() != '\0') {
    szString.format(wordings.Serial, texts);
  } else {
    std::array<const char *, Texts> place{};
    std::copy_n(texts.begin(), Texts, place.begin());
    szString.format(wordings.Plain, place);
  }
}

// How one event words the place of a module, or of a bank.
struct LocationWordings {
  SerialWordings<0> SystemMemory;
  SerialWordings<1> SystemMemoryModule;
  SerialWordings<0> Unknown;
  SerialWordings<2> Board;
};

constexpr LocationWordings kCorrectedModuleError = {
    {"Corrected Memory Error threshold exceeded (System Memory)",
     "Corrected Memory Error threshold exceeded (System Memory, Serial Number %s)"},
    {"Corrected Memory Error threshold exceeded (System Memory, Memory Module %s)",
     "Corrected Memory Error threshold exceeded (System Memory, Memory Module %s, Serial Number %s)"},
    {"Corrected Memory Error threshold exceeded (Memory Module Unknown)",
     "Corrected Memory Error threshold exceeded (Memory Module Unknown, Serial Number %s)"},
    {"Corrected Memory Error threshold exceeded (Board %s, Memory Module %s)",
     "Corrected Memory Error threshold exceeded (Board %s, Memory Module %s, Serial Number %s)"},
};

constexpr LocationWordings kUncorrectableModuleError = {
    {"Uncorrectable Memory Error (System Memory)",
     "Uncorrectable Memory Error (System Memory, Serial Number %s)"},
    {"Uncorrectable Memory Error (System Memory, Memory Module %s)",
     "Uncorrectable Memory Error (System Memory, Memory Module %s, Serial Number %s)"},
    {"Uncorrectable Memory Error (Module Unknown)",
     "Uncorrectable Memory Error (Module Unknown, Serial Number %s)"},
    {"Uncorrectable Memory Error (Board %s, Memory Module %s)",
     "Uncorrectable Memory Error (Board %s, Memory Module %s, Serial Number %s)"},
};

constexpr LocationWordings kCorrectedBankError = {
    {"Corrected Memory Error threshold exceeded (System Memory)",
     "Corrected Memory Error threshold exceeded (System Memory, Serial Number %s)"},
    {"Corrected Memory Error threshold exceeded (System Memory, Bank %s)",
     "Corrected Memory Error threshold exceeded (System Memory, Bank %s, Serial Number %s)"},
    {"Corrected Memory Error threshold exceeded (Bank Unknown)",
     "Corrected Memory Error threshold exceeded (Bank Unknown, Serial Number %s)"},
    {"Corrected Memory Error threshold exceeded (Board %s, Bank %s)",
     "Corrected Memory Error threshold exceeded (Board %s, Bank %s, Serial Number %s)"},
};

// Each module but the first one of a list.
constexpr LocationWordings kFurtherCandidate = {
    {" or (System Memory)", " or (System Memory, Serial Number %s)"},
    {" or (System Memory, Memory Module %s)", " or (System Memory, Memory Module %s, Serial Number %s)"},
    {" or (Module Unknown)", " or (Module Unknown, Serial Number %s)"},
    {" or (Board %s, Memory Module %s)", " or (Board %s, Memory Module %s, Serial Number %s)"},
};

// `szModule` is the text of `bModule`, a module's number or a bank's letter.
void FormatLocation(EventText &szString, const LocationWordings &wordings, uint8_t bSlot, uint8_t bModule,
                    const char *szModule, const char *szSerial) {
  if (bSlot == kSystemMemory && bModule == kUnknownNumber) {
    FormatWithSerial(szString, wordings.SystemMemory, {szSerial});
  } else if (bSlot == kSystemMemory) {
    FormatWithSerial(szString, wordings.SystemMemoryModule, {szModule, szSerial});
  } else if (bSlot == kUnknownNumber && bModule == kUnknownNumber) {
    FormatWithSerial(szString, wordings.Unknown, {szSerial});
  } else {
    FormatWithSerial(szString, wordings.Board, {Byte2Str(bSlot), szModule, szSerial});
  }
}

void TranslateModuleError(EventText &szString, const LocationWordings &wordings,
                          const EVT_MAIN_MEMORY &record) {
  FormatLocation(szString, wordings, record.bSlot, record.bModule, Byte2Str(record.bModule),
                 record.cSerialNumber);
}

// The letter of a bank, which is stored in place of a module's number.
const char *GetBank(uint8_t bModule, EventText &szDest = Scratch().here()) {
  return Char2Str(static_cast<char>(bModule), szDest);
}

// The serial numbers of a list's modules, handed out in order.
class SerialNumbers {
 public:
  explicit SerialNumbers(const char *list) : next_(list) {}

  // The next serial number; empty when it was not recorded or there are no more.
  const char *next(EventText &dest = Scratch().here()) {
    const size_t size = strcspn(next_, ",");
    const char *const serial = CopyAndReformat({next_, size}, dest);
    next_ += size;
    if (*next_ == ',') {
      ++next_;
    }
    return serial;
  }

 private:
  const char *next_;
};

// How many modules of a list are shown: the first one always, never more than the record has room for.
size_t CountCandidates(const EVT_MAIN_MEMORY_MULTI &record) {
  return std::clamp<size_t>(record.bResolution, 1, std::size(record.mm));
}

void TranslateCandidates(EventText &szString, const LocationWordings &first,
                         const EVT_MAIN_MEMORY_MULTI &record) {
  SerialNumbers serials(record.cSerialNumber);
  for (size_t i = 0; i < CountCandidates(record); ++i) {
    const EVT_MEM_SINGLE &entry = record.mm[i];
    FormatLocation(szString, i == 0 ? first : kFurtherCandidate, entry.bSlot, entry.bModule,
                   Byte2Str(entry.bModule), serials.next());
  }
}

void AppendSerialNumber(EventText &szString, const char *szSerial) {
  if (*szSerial != '\0') {
    szString.format(", Serial Number %s", szSerial);
  }
}

constexpr Wording<3> kProcessorEntry = "(Processor %s, Memory Module %s%s)";
constexpr Wording<3> kBoardEntry = "(Board %s, Memory Module %s%s)";

// Room for four entries at their longest, which share the serial numbers that a payload has room for.
constexpr size_t kCandidateListSize =
    4 * sizeof(", or (Processor Unknown, Memory Module Unknown, Serial Number )") + sizeof(EVT_FREE_FORM);

// The modules of a list, each in parentheses of its own, make up the text of `event`. Serial numbers are
// shown only where the record counts its modules.
void TranslateCandidateList(EventText &szString, const Wording<1> &event, const Wording<3> &entry,
                            const EVT_MAIN_MEMORY_MULTI &record) {
  OwnText<kCandidateListSize> szList;
  SerialNumbers serials(record.bResolution != 0 ? record.cSerialNumber : "");
  for (size_t i = 0; i < CountCandidates(record); ++i) {
    Scratch szSuffix;
    AppendSerialNumber(szSuffix, serials.next());
    if (i != 0) {
      szList.append(", or ");
    }
    szList.format(entry, {Byte2Str(record.mm[i].bSlot), Byte2Str(record.mm[i].bModule), szSuffix.c_str()});
  }
  szString.format(event, {szList.c_str()});
}

// A spare or a mirror that stands in for a faulty module or bank.
struct TakeOverWordings {
  Wording<1> SystemMemory;
  Wording<2> Board;
  const char *szUnlocated;  // where board and bank are unknown; null when that has no wording of its own
};

constexpr TakeOverWordings kModuleSpareEngaged = {
    "Online Spare Memory Copy Process Started for Faulty Module (System Memory, Memory Module %s)",
    "Online Spare Memory Copy Process Started for Faulty Module (Board %s, Memory Module %s)",
    nullptr,
};
constexpr TakeOverWordings kModuleMirrorEngaged = {
    "Mirrored Memory Engaged for Faulty Module (System Memory, Memory Module %s)",
    "Mirrored Memory Engaged for Faulty Module (Board %s, Memory Module %s)",
    nullptr,
};
constexpr TakeOverWordings kBankSpareEngaged = {
    "Online Spare Memory Copy Process Started for Faulty Module (System Memory, Bank %s)",
    "Online Spare Memory Copy Process Started for Faulty Module (Board %s, Bank %s)",
    "Online Spare Memory Copy Process Started for Faulty Module (Module Unknown)",
};
constexpr TakeOverWordings kBankMirrorEngaged = {
    "Mirrored Memory Engaged for Faulty Module (System Memory, Bank %s)",
    "Mirrored Memory Engaged for Faulty Module (Board %s, Bank %s)",
    "Mirrored Memory Engaged for Faulty Module (Module Unknown)",
};

// The records of a spare and of a mirror are laid out alike. `szModule` as for FormatLocation.
template <class Record>
void TranslateTakeOver(EventText &szString, const TakeOverWordings &wordings, const Record &record,
                       const char *szModule) {
  if (record.bSlot == kSystemMemory) {
    szString.format(wordings.SystemMemory, {szModule});
  } else if (wordings.szUnlocated != nullptr && record.bSlot == kUnknownNumber &&
             record.bModule == kUnknownNumber) {
    szString.append(wordings.szUnlocated);
  } else {
    szString.format(wordings.Board, {Byte2Str(record.bSlot), szModule});
  }
}

constexpr Wording<3> kProcessorSpareEngaged =
    "Online Spare Memory Copy Process Started for Faulty Module (Processor %s, Memory Module %s%s)";
constexpr Wording<3> kProcessorMirrorEngaged =
    "Mirrored Memory Engaged for Faulty Module (Processor %s, Memory Module %s%s)";

// The same by processor.
template <class Record>
void TranslateProcessorTakeOver(EventText &szString, const Wording<3> &wording, const Record &record) {
  Scratch szSuffix;
  AppendSerialNumber(szSuffix, record.cSerialNumber);
  szString.format(wording, {Byte2Str(record.bSlot), Byte2Str(record.bModule), szSuffix.c_str()});
}

void TranslateMainMemAction(EventText &szString, const EVT_MAIN_MEMORY_USER_ACTION &record) {
  Scratch number;
  const char *const szSlot = Byte2Str(record.bSlot, number);
  const bool board = record.bCartridgeOrBoard == 0;
  const bool cartridge = record.bCartridgeOrBoard == 1;
  if (record.bAction == 0 && cartridge) {
    szString.format("Memory Cartridge Removed (Slot %s)", szSlot);
  } else if (record.bAction == 0 && board) {
    szString.format("Memory Board Removed (Slot %s)", szSlot);
  } else if (record.bAction == 1 && cartridge) {
    szString.format("Memory Cartridge Inserted (Slot %s)", szSlot);
  } else if (record.bAction == 1 && board) {
    szString.format("Memory Board Inserted (Slot %s)", szSlot);
  } else if (record.bAction == 2) {
    szString.format("Memory Cartridge Unlocked (Slot %s)", szSlot);
  } else if (record.bAction == 3) {
    szString.format("Memory Cartridge Locked (Slot %s)", szSlot);
  }
}

void TranslateMainMemHwStat(EventText &szString, const EVT_MAIN_MEMORY_HW_STATUS &record) {
  Scratch number;
  const char *const szSlot = Byte2Str(record.bSlot, number);
  switch (record.bStatus) {
    case 0: szString.format("Memory Cartridge Bus Fault (Slot %s)", szSlot); break;
    case 1: szString.format("Memory Cartridge Power Fault (Slot %s)", szSlot); break;
    case 2: szString.format("Memory Cartridge Not Redundant (Slot %s)", szSlot); break;
    case 3: szString.format("Memory Cartridge Online (Slot %s)", szSlot); break;
    default: break;
  }
}

void TranslateMainMemCfErr(EventText &szString, const EVT_MAIN_MEMORY_CONFIG_ERR &record) {
  if (record.bCartridgeOrBoard == 1) {
    szString.format("Memory Cartridge Configuration Error (Slot %s, Memory Module %s)",
                    Byte2Str(record.bSlot), Byte2Str(record.bModule));
  } else if (record.bCartridgeOrBoard == 0) {
    szString.format("Memory Board Configuration Error (Slot %s, Memory Module %s)", Byte2Str(record.bSlot),
                    Byte2Str(record.bModule));
  }
}

void TranslateMainMemCfChg(EventText &szString, const EVT_MAIN_MEMORY_CONFIG_CHG &record) {
  if (record.bAction == 0) {
    szString.format("Memory Added (Size %s MB)", Dword2Str(record.ulSize));
  } else if (record.bAction == 1) {
    szString.append("Memory Successfully Removed");
  }
}

void TranslateMainMemRomDiagFail(EventText &szString, const EVT_MAIN_MEMORY_FAIL_IN_ROM_DIAG &record) {
  Scratch szPrefix;
  if (record.bBoard != 0) {
    szPrefix.format("Board %d, ", record.bBoard);
  }
  Scratch szSuffix;
  AppendSerialNumber(szSuffix, record.szSerialNumber);
  const char *const szSpareNumber = NextText(record.szSerialNumber);
  if (*szSpareNumber != '\0') {
    szSuffix.format(", Spare Number %s", szSpareNumber);
  }
  if (record.flags.bNotIsolated != 0) {
    szString.format(
        "Uncorrectable Memory Error detected by ROM-based memory validation (unable to isolate to single module) (%sMemory Module %d%s)",
        szPrefix.c_str(), record.bModule, szSuffix.c_str());
  } else {
    szString.format(
        "Uncorrectable Memory Error detected by ROM-based memory validation (%sMemory Module %d%s)",
        szPrefix.c_str(), record.bModule, szSuffix.c_str());
  }
}

}  // namespace

void TranslateClass03(uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString) {
  const EVT_FREE_FORM &data = *pEventData;
  switch (wEventCode) {
    case 0x01: TranslateModuleError(szString, kCorrectedModuleError, data.MainMem); break;
    case 0x02: TranslateModuleError(szString, kUncorrectableModuleError, data.MainMem); break;
    case 0x03: TranslateCandidates(szString, kUncorrectableModuleError, data.MainMemMulti); break;
    case 0x04: TranslateMainMemAction(szString, data.MainMemAction); break;
    case 0x05: TranslateMainMemHwStat(szString, data.MainMemHwStat); break;
    case 0x06: TranslateMainMemCfErr(szString, data.MainMemCfErr); break;
    case 0x07: TranslateMainMemCfChg(szString, data.MainMemCfChg); break;
    case 0x08:
      TranslateTakeOver(szString, kModuleSpareEngaged, data.MainMemSpare,
                        Byte2Str(data.MainMemSpare.bModule));
      break;
    case 0x09:
      TranslateTakeOver(szString, kModuleMirrorEngaged, data.MainMemMirror,
                        Byte2Str(data.MainMemMirror.bModule));
      break;
    case 0x0A:
      FormatLocation(szString, kCorrectedBankError, data.MainMem.bSlot, data.MainMem.bModule,
                     GetBank(data.MainMem.bModule), data.MainMem.cSerialNumber);
      break;
    case 0x0B:
      TranslateTakeOver(szString, kBankSpareEngaged, data.MainMemSpare, GetBank(data.MainMemSpare.bModule));
      break;
    case 0x0C:
      TranslateTakeOver(szString, kBankMirrorEngaged, data.MainMemMirror,
                        GetBank(data.MainMemMirror.bModule));
      break;
    case 0x0D: szString.append("Loss of Mirroring in Memory Subsystem"); break;
    case 0x0E: szString.append("Online Spare Memory Disabled"); break;
    case 0x0F: szString.append("Memory Subsystem Not In RAID Mode"); break;
    case 0x10: szString.append("Online Spare Memory Switchover Complete"); break;
    case 0x11:
      szString.format("Memory Board Failure (Board %s)", Byte2Str(data.MainMemBoardFailure.bSlot));
      break;
    case 0x12: TranslateMainMemRomDiagFail(szString, data.MainMemFailInRomDiag); break;
    case 0x13: TranslateCandidates(szString, kCorrectedModuleError, data.MainMemMulti); break;
    case 0x14:
      TranslateCandidateList(szString, "Corrected Memory Error threshold exceeded (%s)", kProcessorEntry,
                             data.MainMemMulti);
      break;
    case 0x15: TranslateProcessorTakeOver(szString, kProcessorSpareEngaged, data.MainMemSpareProc); break;
    case 0x16: TranslateProcessorTakeOver(szString, kProcessorMirrorEngaged, data.MainMemMirrorProc); break;
    case 0x17:
      TranslateCandidateList(szString, "Uncorrectable Memory Error (%s)", kProcessorEntry, data.MainMemMulti);
      break;
    case 0x18:
      TranslateCandidateList(szString, "Mirrored Memory Engaged by Uncorrectable Memory Error (%s)",
                             kBoardEntry, data.MainMemMulti);
      break;
    case 0x19:
      TranslateCandidateList(szString, "Mirrored Memory Engaged by Uncorrectable Memory Error (%s)",
                             kProcessorEntry, data.MainMemMulti);
      break;
    default: TranslateMemoryConfiguration(wEventCode, pEventData, szString); break;
  }
}

}  // namespace iml
