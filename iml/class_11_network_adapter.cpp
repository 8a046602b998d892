// Network adapters.
#include "iml/class_decoders.h"
#include "iml/eventstr_helpers.h"

namespace iml {
namespace {

struct NicWordings {
  Wording<2> WithoutChassis;
  Wording<3> WithChassis;
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
void TranslateNic(EventText &szString, const NicWordings &wordings, const Record &record) {
  if (record.Chassis.bId == 0) {
    szString.format(wordings.WithoutChassis, {Byte2Str(record.bSlot), Byte2Str(record.Chassis.bPort)});
  } else {
    szString.format(wordings.WithChassis, {GetSysChassis(record.Chassis.bId, record.cChassisName),
                                           Byte2Str(record.bSlot), Byte2Str(record.Chassis.bPort)});
  }
}

}  // namespace

void TranslateClass11(uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString) {
  switch (wEventCode) {
    case 1: TranslateNic(szString, kFault, pEventData->NicErr); break;
    case 2: TranslateNic(szString, kLinkDown, pEventData->NicErr); break;
    case 3: TranslateNic(szString, kTransmitTimeout, pEventData->NicErr); break;
    case 4: TranslateNic(szString, kNoLongerRedundant, pEventData->NicNotRed); break;
    case 5: TranslateNic(szString, kRedundancyReduced, pEventData->NicNotRed); break;
    // Two of these events with a detail text.
    case 6:
      TranslateNic(szString, kLinkDown, pEventData->NicErr);
      AppendDetail(szString, NextText(pEventData->NicErr.cChassisName));
      break;
    case 7:
      TranslateNic(szString, kRedundancyReduced, pEventData->NicNotRed);
      AppendDetail(szString, NextText(pEventData->NicNotRed.cChassisName));
      break;
    default: break;
  }
}

}  // namespace iml
