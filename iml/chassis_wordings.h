// The wording of many events depends on the type of the chassis that raised them. Such an event is one row of
// six wordings.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>

#include "iml/event_text.h"
#include "iml/eventstr_helpers.h"

namespace iml {

// The six wordings of one event. All show the event's `Details` texts in order. An external chassis puts its
// name before them, a storage system its chassis and its slot. An enclosure shows `EnclosureTexts` texts: the
// details alone, the details and the enclosure, or the details, a further text and the enclosure.
template <size_t Details, size_t EnclosureTexts = Details + 1>
struct ChassisWordings {
  static_assert(EnclosureTexts >= Details && EnclosureTexts <= Details + 2);

  Wording<Details> system;
  Wording<Details + 1> external_chassis;
  Wording<Details + 2> external_storage;
  Wording<Details + 2> internal_storage;
  Wording<EnclosureTexts> blade_enclosure;
  Wording<EnclosureTexts> power_enclosure;
};

// Appends the wording for `chassis`, or nothing for a type without one. `enclosure_detail` is the further
// text of enclosures.
template <size_t Details, size_t EnclosureTexts>
void format_by_chassis(EventText &text, const ChassisWordings<Details, EnclosureTexts> &wordings,
                       const EVT_CHASSIS &chassis, const char *name,
                       const std::array<const char *, Details> &details, const char *enclosure_detail = "") {
  Scratch number;
  Scratch name_buffer;
  const auto with_details = [&details](auto... front) {
    std::array<const char *, sizeof...(front) + Details> texts = {front...};
    std::copy(details.begin(), details.end(), texts.begin() + sizeof...(front));
    return texts;
  };
  const auto storage = [&] {
    return with_details(GetStorChassis(name, name_buffer), Byte2Str(chassis.bId, number));
  };
  const auto enclosure = [&] {
    std::array<const char *, EnclosureTexts> texts{};
    std::copy(details.begin(), details.end(), texts.begin());
    if constexpr (EnclosureTexts == Details + 2) {
      texts[Details] = enclosure_detail;
    }
    if constexpr (EnclosureTexts > Details) {
      texts[EnclosureTexts - 1] = GetChassisEx(name, chassis, name_buffer);
    }
    return texts;
  };

  switch (chassis.bType) {
    case IML_CHASSIS_SYSTEM:
      if (chassis.bId == 0) {
        text.format(wordings.system, details);
      } else {
        text.format(wordings.external_chassis, with_details(GetSysChassis(chassis.bId, name)));
      }
      break;
    case IML_CHASSIS_EXTERNAL_STORAGE: text.format(wordings.external_storage, storage()); break;
    case IML_CHASSIS_INTERNAL_STORAGE: text.format(wordings.internal_storage, storage()); break;
    case IML_CHASSIS_SERVER_BLADE_ENCLOSURE: text.format(wordings.blade_enclosure, enclosure()); break;
    case IML_CHASSIS_POWER_ENCLOSURE: text.format(wordings.power_enclosure, enclosure()); break;
    default: break;
  }
}

}  // namespace iml
