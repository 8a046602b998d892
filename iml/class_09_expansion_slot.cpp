// Expansion slots and the adapters in them.
#include <iterator>

#include "iml/class_decoders.h"
#include "iml/eventstr_helpers.h"

namespace iml {
namespace {

struct SlotWordings {
  Wording<1> without_chassis;
  Wording<2> with_chassis;
};

// By event code, from 1.
constexpr SlotWordings kSlotEvents[] = {
    {"Slot Release Lever Opened (Slot %s)", "Slot Release Lever Opened (Chassis %s, Slot %s)"},
    {"Slot Release Lever Closed (Slot %s)", "Slot Release Lever Closed (Chassis %s, Slot %s)"},
    {"Slot Power On (Slot %s)", "Slot Power On (Chassis %s, Slot %s)"},
    {"Slot Power Off (Slot %s)", "Slot Power Off (Chassis %s, Slot %s)"},
    {"Slot Power Fault (Slot %s)", "Slot Power Fault (Chassis %s, Slot %s)"},
    {"Slot Power Up Fault (Slot %s)", "Slot Power Up Fault (Chassis %s, Slot %s)"},
    {"Unexpected Slot Power Loss (Slot %s)", "Unexpected Slot Power Loss (Chassis %s, Slot %s)"},
    {"Adapter Initialization Failure (Slot %s)", "Adapter Initialization Failure (Chassis %s, Slot %s)"},
    {"Adapter Failure (Slot %s)", "Adapter Failure (Chassis %s, Slot %s)"},
};

void translate_slot_event(EventText &text, const SlotWordings &wordings, const EVT_EXPANSION_SLOT &record) {
  if (record.Chassis.bId == 0) {
    text.format(wordings.without_chassis, {Byte2Str(record.bSlot)});
  } else {
    text.format(wordings.with_chassis, {Byte2Str(record.Chassis.bId), Byte2Str(record.bSlot)});
  }
}

}  // namespace

void TranslateClass09(uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString) {
  if (wEventCode >= 1 && wEventCode <= std::size(kSlotEvents)) {
    translate_slot_event(szString, kSlotEvents[wEventCode - 1], pEventData->Slot);
  }
}

}  // namespace iml
