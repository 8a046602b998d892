// Network adapters.
#include "iml/class_decoders.h"
#include "iml/eventstr_helpers.h"

namespace iml {
namespace {

struct NicWordings {
  Wording<2> without_chassis;
  Wording<3> with_chassis;
};

constexpr NicWordings kFault = {
    "Network Adapter Fault (Slot %s, Port %s)",
    "Network Adapter Fault (Chassis %s, Slot %s, Port %s)",
};
constexpr NicWordings kLinkDown = {
    "Network Adapter Link Down (Slot %s, Port %s)",
    "Network Adapter Link Down (Chassis %s, Slot %s, Port %s)",
};
constexpr NicWordings kTransmitTimeout = {
    "Network Adapter Transmit Timeout (Slot %s, Port %s)",
    "Network Adapter Transmit Timeout (Chassis %s, Slot %s, Port %s)",
};
constexpr NicWordings kNoLongerRedundant = {
    "Network Adapters No Longer Redundant (Slot %s, Port %s)",
    "Network Adapters No Longer Redundant (Chassis %s, Slot %s, Port %s)",
};
constexpr NicWordings kRedundancyReduced = {
    "Network Adapters Redundancy Reduced (Slot %s, Port %s)",
    "Network Adapters Redundancy Reduced (Chassis %s, Slot %s, Port %s)",
};

// The records of an adapter's error and of lost redundancy are laid out alike.
template <class Record>
void translate_nic(EventText &text, const NicWordings &wordings, const Record &record) {
  if (record.Chassis.bId == 0) {
    text.format(wordings.without_chassis, {Byte2Str(record.bSlot), Byte2Str(record.Chassis.bPort)});
  } else {
    text.format(wordings.with_chassis, {GetSysChassis(record.Chassis.bId, record.cChassisName),
                                        Byte2Str(record.bSlot), Byte2Str(record.Chassis.bPort)});
  }
}

}  // namespace

void TranslateClass11(uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString) {
  switch (wEventCode) {
    case 1: translate_nic(szString, kFault, pEventData->NicErr); break;
    case 2: translate_nic(szString, kLinkDown, pEventData->NicErr); break;
    case 3: translate_nic(szString, kTransmitTimeout, pEventData->NicErr); break;
    case 4: translate_nic(szString, kNoLongerRedundant, pEventData->NicNotRed); break;
    case 5: translate_nic(szString, kRedundancyReduced, pEventData->NicNotRed); break;
    // Codes 2 and 5 with a detail text.
    case 6:
      translate_nic(szString, kLinkDown, pEventData->NicErr);
      append_detail(szString, next_text(pEventData->NicErr.cChassisName));
      break;
    case 7:
      translate_nic(szString, kRedundancyReduced, pEventData->NicNotRed);
      append_detail(szString, next_text(pEventData->NicNotRed.cChassisName));
      break;
    default: break;
  }
}

}  // namespace iml
