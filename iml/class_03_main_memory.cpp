// Errors of memory modules, banks, boards and cartridges.
#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>

#include "iml/class_decoders.h"
#include "iml/eventstr_helpers.h"

namespace iml {
namespace {

constexpr uint8_t kSystemMemory = 0;  // in place of a board: memory on no board
constexpr uint8_t kUnknownNumber = 0xFF;

// The two wordings of one place, without and with the serial number.
template <size_t Texts>
struct SerialWordings {
  Wording<Texts> plain;
  Wording<Texts + 1> serial;
};

// The last one of `texts` is the serial number, which may be empty.
template <size_t Texts>
void format_with_serial(EventText &text, const SerialWordings<Texts> &wordings,
                        const std::array<const char *, Texts + 1> &texts) {
  if (*texts.back() != '\0') {
    text.format(wordings.serial, texts);
  } else {
    std::array<const char *, Texts> place{};
    std::copy_n(texts.begin(), Texts, place.begin());
    text.format(wordings.plain, place);
  }
}

// The wordings of one event for the place of a module, or of a bank.
struct LocationWordings {
  SerialWordings<0> system_memory;
  SerialWordings<1> system_memory_module;
  SerialWordings<0> unknown;
  SerialWordings<2> board;
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

// Every listed module after the first.
constexpr LocationWordings kFurtherCandidate = {
    {" or (System Memory)", " or (System Memory, Serial Number %s)"},
    {" or (System Memory, Memory Module %s)", " or (System Memory, Memory Module %s, Serial Number %s)"},
    {" or (Module Unknown)", " or (Module Unknown, Serial Number %s)"},
    {" or (Board %s, Memory Module %s)", " or (Board %s, Memory Module %s, Serial Number %s)"},
};

// `module` is the text of `bModule`, a module's number or a bank's letter.
void format_location(EventText &text, const LocationWordings &wordings, uint8_t slot, uint8_t module_number,
                     const char *module, const char *serial) {
  if (slot == kSystemMemory && module_number == kUnknownNumber) {
    format_with_serial(text, wordings.system_memory, {serial});
  } else if (slot == kSystemMemory) {
    format_with_serial(text, wordings.system_memory_module, {module, serial});
  } else if (slot == kUnknownNumber && module_number == kUnknownNumber) {
    format_with_serial(text, wordings.unknown, {serial});
  } else {
    format_with_serial(text, wordings.board, {Byte2Str(slot), module, serial});
  }
}

void translate_module_error(EventText &text, const LocationWordings &wordings,
                            const EVT_MAIN_MEMORY &record) {
  format_location(text, wordings, record.bSlot, record.bModule, Byte2Str(record.bModule),
                  record.cSerialNumber);
}

// The letter of a bank, which is stored in place of a module's number.
const char *get_bank(uint8_t bank, EventText &text = Scratch().here()) {
  return Char2Str(static_cast<char>(bank), text);
}

// Reads the serial numbers of listed modules from a text in which commas separate them.
class SerialNumbers {
 public:
  explicit SerialNumbers(const char *list) : next_(list) {}

  // The next serial number. It is empty if it was not recorded, and after the last one.
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

// The number of listed modules to show: at least one, at most what the record has room for.
size_t count_candidates(const EVT_MAIN_MEMORY_MULTI &record) {
  return std::clamp<size_t>(record.bResolution, 1, std::size(record.mm));
}

void translate_candidates(EventText &text, const LocationWordings &first,
                          const EVT_MAIN_MEMORY_MULTI &record) {
  SerialNumbers serials(record.cSerialNumber);
  for (size_t i = 0; i < count_candidates(record); ++i) {
    const EVT_MEM_SINGLE &entry = record.mm[i];
    format_location(text, i == 0 ? first : kFurtherCandidate, entry.bSlot, entry.bModule,
                    Byte2Str(entry.bModule), serials.next());
  }
}

void append_serial_number(EventText &text, const char *serial) {
  if (*serial != '\0') {
    text.format(", Serial Number %s", serial);
  }
}

constexpr Wording<3> kProcessorEntry = "(Processor %s, Memory Module %s%s)";
constexpr Wording<3> kBoardEntry = "(Board %s, Memory Module %s%s)";

// Four entries at their longest. Together their serial numbers are no longer than a payload.
constexpr size_t kCandidateListSize =
    4 * sizeof(", or (Processor Unknown, Memory Module Unknown, Serial Number )") + sizeof(EVT_FREE_FORM);

// Appends `event` with the listed modules as its text. Serial numbers are shown only if the record counts its
// modules.
void translate_candidate_list(EventText &text, const Wording<1> &event, const Wording<3> &entry,
                              const EVT_MAIN_MEMORY_MULTI &record) {
  OwnText<kCandidateListSize> list;
  SerialNumbers serials(record.bResolution != 0 ? record.cSerialNumber : "");
  for (size_t i = 0; i < count_candidates(record); ++i) {
    Scratch suffix;
    append_serial_number(suffix, serials.next());
    if (i != 0) {
      list.append(", or ");
    }
    list.format(entry, {Byte2Str(record.mm[i].bSlot), Byte2Str(record.mm[i].bModule), suffix.c_str()});
  }
  text.format(event, {list.c_str()});
}

// A spare or mirror that takes over from a faulty module or bank.
struct TakeOverWordings {
  Wording<1> system_memory;
  Wording<2> board;
  const char *unlocated;  // for an unknown board and bank; null where `board` is used for these too
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

// The records of a spare and of a mirror are laid out alike. `module` as for format_location.
template <class Record>
void translate_takeover(EventText &text, const TakeOverWordings &wordings, const Record &record,
                        const char *module) {
  if (record.bSlot == kSystemMemory) {
    text.format(wordings.system_memory, {module});
  } else if (wordings.unlocated != nullptr && record.bSlot == kUnknownNumber &&
             record.bModule == kUnknownNumber) {
    text.append(wordings.unlocated);
  } else {
    text.format(wordings.board, {Byte2Str(record.bSlot), module});
  }
}

constexpr Wording<3> kProcessorSpareEngaged =
    "Online Spare Memory Copy Process Started for Faulty Module (Processor %s, Memory Module %s%s)";
constexpr Wording<3> kProcessorMirrorEngaged =
    "Mirrored Memory Engaged for Faulty Module (Processor %s, Memory Module %s%s)";

// A spare or mirror that takes over from a faulty module of a processor.
template <class Record>
void translate_processor_takeover(EventText &text, const Wording<3> &wording, const Record &record) {
  Scratch suffix;
  append_serial_number(suffix, record.cSerialNumber);
  text.format(wording, {Byte2Str(record.bSlot), Byte2Str(record.bModule), suffix.c_str()});
}

void translate_main_memory_action(EventText &text, const EVT_MAIN_MEMORY_USER_ACTION &record) {
  Scratch number;
  const char *const slot = Byte2Str(record.bSlot, number);
  const bool board = record.bCartridgeOrBoard == 0;
  const bool cartridge = record.bCartridgeOrBoard == 1;
  if (record.bAction == 0 && cartridge) {
    text.format("Memory Cartridge Removed (Slot %s)", slot);
  } else if (record.bAction == 0 && board) {
    text.format("Memory Board Removed (Slot %s)", slot);
  } else if (record.bAction == 1 && cartridge) {
    text.format("Memory Cartridge Inserted (Slot %s)", slot);
  } else if (record.bAction == 1 && board) {
    text.format("Memory Board Inserted (Slot %s)", slot);
  } else if (record.bAction == 2) {
    text.format("Memory Cartridge Unlocked (Slot %s)", slot);
  } else if (record.bAction == 3) {
    text.format("Memory Cartridge Locked (Slot %s)", slot);
  }
}

void translate_main_memory_hardware_status(EventText &text, const EVT_MAIN_MEMORY_HW_STATUS &record) {
  Scratch number;
  const char *const slot = Byte2Str(record.bSlot, number);
  switch (record.bStatus) {
    case 0: text.format("Memory Cartridge Bus Fault (Slot %s)", slot); break;
    case 1: text.format("Memory Cartridge Power Fault (Slot %s)", slot); break;
    case 2: text.format("Memory Cartridge Not Redundant (Slot %s)", slot); break;
    case 3: text.format("Memory Cartridge Online (Slot %s)", slot); break;
    default: break;
  }
}

void translate_main_memory_config_error(EventText &text, const EVT_MAIN_MEMORY_CONFIG_ERR &record) {
  if (record.bCartridgeOrBoard == 1) {
    text.format("Memory Cartridge Configuration Error (Slot %s, Memory Module %s)", Byte2Str(record.bSlot),
                Byte2Str(record.bModule));
  } else if (record.bCartridgeOrBoard == 0) {
    text.format("Memory Board Configuration Error (Slot %s, Memory Module %s)", Byte2Str(record.bSlot),
                Byte2Str(record.bModule));
  }
}

void translate_main_memory_config_change(EventText &text, const EVT_MAIN_MEMORY_CONFIG_CHG &record) {
  if (record.bAction == 0) {
    text.format("Memory Added (Size %s MB)", Dword2Str(record.ulSize));
  } else if (record.bAction == 1) {
    text.append("Memory Successfully Removed");
  }
}

void TranslateMainMemRomDiagFail(EventText &szString, const EVT_MAIN_MEMORY_FAIL_IN_ROM_DIAG &record) {
  Scratch prefix;
  if (record.bBoard != 0) {
    prefix.format("Board %d, ", record.bBoard);
  }
  Scratch suffix;
  append_serial_number(suffix, record.szSerialNumber);
  const char *const spare_number = next_text(record.szSerialNumber);
  if (*spare_number != '\0') {
    suffix.format(", Spare Number %s", spare_number);
  }
  if (record.flags.bNotIsolated != 0) {
    szString.format(
        "Uncorrectable Memory Error detected by ROM-based memory validation (unable to isolate to single module) (%sMemory Module %d%s)",
        prefix.c_str(), record.bModule, suffix.c_str());
  } else {
    szString.format(
        "Uncorrectable Memory Error detected by ROM-based memory validation (%sMemory Module %d%s)",
        prefix.c_str(), record.bModule, suffix.c_str());
  }
}

}  // namespace

void TranslateClass03(uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString) {
  const EVT_FREE_FORM &data = *pEventData;
  switch (wEventCode) {
    case 0x01: translate_module_error(szString, kCorrectedModuleError, data.MainMem); break;
    case 0x02: translate_module_error(szString, kUncorrectableModuleError, data.MainMem); break;
    case 0x03: translate_candidates(szString, kUncorrectableModuleError, data.MainMemMulti); break;
    case 0x04: translate_main_memory_action(szString, data.MainMemAction); break;
    case 0x05: translate_main_memory_hardware_status(szString, data.MainMemHwStat); break;
    case 0x06: translate_main_memory_config_error(szString, data.MainMemCfErr); break;
    case 0x07: translate_main_memory_config_change(szString, data.MainMemCfChg); break;
    case 0x08:
      translate_takeover(szString, kModuleSpareEngaged, data.MainMemSpare,
                         Byte2Str(data.MainMemSpare.bModule));
      break;
    case 0x09:
      translate_takeover(szString, kModuleMirrorEngaged, data.MainMemMirror,
                         Byte2Str(data.MainMemMirror.bModule));
      break;
    case 0x0A:
      format_location(szString, kCorrectedBankError, data.MainMem.bSlot, data.MainMem.bModule,
                      get_bank(data.MainMem.bModule), data.MainMem.cSerialNumber);
      break;
    case 0x0B:
      translate_takeover(szString, kBankSpareEngaged, data.MainMemSpare, get_bank(data.MainMemSpare.bModule));
      break;
    case 0x0C:
      translate_takeover(szString, kBankMirrorEngaged, data.MainMemMirror,
                         get_bank(data.MainMemMirror.bModule));
      break;
    case 0x0D: szString.append("Loss of Mirroring in Memory Subsystem"); break;
    case 0x0E: szString.append("Online Spare Memory Disabled"); break;
    case 0x0F: szString.append("Memory Subsystem Not In RAID Mode"); break;
    case 0x10: szString.append("Online Spare Memory Switchover Complete"); break;
    case 0x11:
      szString.format("Memory Board Failure (Board %s)", Byte2Str(data.MainMemBoardFailure.bSlot));
      break;
    case 0x12: TranslateMainMemRomDiagFail(szString, data.MainMemFailInRomDiag); break;
    case 0x13: translate_candidates(szString, kCorrectedModuleError, data.MainMemMulti); break;
    case 0x14:
      translate_candidate_list(szString, "Corrected Memory Error threshold exceeded (%s)", kProcessorEntry,
                               data.MainMemMulti);
      break;
    case 0x15: translate_processor_takeover(szString, kProcessorSpareEngaged, data.MainMemSpareProc); break;
    case 0x16: translate_processor_takeover(szString, kProcessorMirrorEngaged, data.MainMemMirrorProc); break;
    case 0x17:
      translate_candidate_list(szString, "Uncorrectable Memory Error (%s)", kProcessorEntry,
                               data.MainMemMulti);
      break;
    case 0x18:
      translate_candidate_list(szString, "Mirrored Memory Engaged by Uncorrectable Memory Error (%s)",
                               kBoardEntry, data.MainMemMulti);
      break;
    case 0x19:
      translate_candidate_list(szString, "Mirrored Memory Engaged by Uncorrectable Memory Error (%s)",
                               kProcessorEntry, data.MainMemMulti);
      break;
    default: translate_memory_configuration(szString, wEventCode, data); break;
  }
}

}  // namespace iml
