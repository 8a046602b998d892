// Many events read differently by the chassis that raised them. Such an event is one row of six wordings.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>

#include "iml/event_text.h"
#include "iml/eventstr_helpers.h"

namespace iml {

// The six wordings of one event. All show the event's `Details` texts in order; an
// external chassis puts its name in front of them, a storage system its chassis
// and its slot. An enclosure shows `EnclosureTexts` texts: the details alone, the
// details and the enclosure, or the details, a text of its own and the enclosure.
template <size_t Details, size_t EnclosureTexts = Details + 1>
struct ChassisWordings {
  static_assert(EnclosureTexts >= Details && EnclosureTexts <= Details + 2);

  Wording<Details> System;
  Wording<Details + 1> ExternalChassis;
  Wording<Details + 2> ExternalStorage;
  Wording<Details + 2> InternalStorage;
  Wording<EnclosureTexts> BladeEnclosure;
  Wording<EnclosureTexts> PowerEnclosure;
};

// Writes the wording for `Chassis`; nothing for a type that has none. `szEnclosureDetail` is the text of
// their own that enclosures show.
template <size_t Details, size_t EnclosureTexts>
void FormatByChassis(EventText &szString, const ChassisWordings<Details, EnclosureTexts> &wordings,
                     const EVT_CHASSIS &Chassis, const char *cChassisName,
                     const std::array<const char *, Details> &details, const char *szEnclosureDetail = "") {
  Scratch number;
  Scratch chassis_name;
  const auto behind = [&details](auto... front) {
    std::array<const char *, sizeof...(front) + Details> texts = {front...};
    std::copy(details.begin(), details.end(), texts.begin() + sizeof...(front));
    return texts;
  };
  const auto storage = [&] {
    return behind(GetStorChassis(cChassisName, chassis_name), Byte2Str(Chassis.bId, number));
  };
  const auto enclosure = [&] {
    std::array<const char *, EnclosureTexts> texts{};
    std::copy(details.begin(), details.end(), texts.begin());
    if constexpr (EnclosureTexts == Details + 2) {
      texts[Details] = szEnclosureDetail;
    }
    if constexpr (EnclosureTexts > Details) {
      texts[EnclosureTexts - 1] = GetChassisEx(cChassisName, Chassis, chassis_name);
    }
    return texts;
  };

  switch (Chassis.bType) {
    case kChassisSystem:
      if (Chassis.bId == 0) {
        szString.format(wordings.System, details);
      } else {
        szString.format(wordings.ExternalChassis, behind(GetSysChassis(Chassis.bId, cChassisName)));
      }
      break;
    case kChassisExternalStorage: szString.format(wordings.ExternalStorage, storage()); break;
    case kChassisInternalStorage: szString.format(wordings.InternalStorage, storage()); break;
    case kChassisServerBladeEnclosure: szString.format(wordings.BladeEnclosure, enclosure()); break;
    case kChassisPowerEnclosure: szString.format(wordings.PowerEnclosure, enclosure()); break;
    default: break;
  }
}

}  // namespace iml
