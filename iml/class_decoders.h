// The decoders, one for each class. Each appends the one line that describes the event to `szString`, or
// nothing when it does not know the code or what the payload says; texts in the payload are terminated.
#pragma once

#include <cstdint>

#include "iml/event_text.h"
#include "iml/iml_record.h"

namespace iml {

void TranslateClass02(std::uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString);
void TranslateClass03(std::uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString);
void TranslateClass04(std::uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString);
void TranslateClass05(std::uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString);
void TranslateClass06(std::uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString);
void TranslateClass07(std::uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString);
void TranslateClass08(std::uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString);
void TranslateClass09(std::uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString);
void TranslateClass0A(std::uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString);
/// `bDataLength` is the record's length without its header, as a signed byte.
void TranslateClass0B(std::uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString,
                      std::int8_t bDataLength);
void TranslateClass0D(std::uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString);
void TranslateClass0E(std::uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString);
void TranslateClass11(std::uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString);
void TranslateClass12(std::uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString);
void TranslateClass13(std::uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString);
void TranslateClass14(std::uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString);
void TranslateClass20(std::uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString);
void TranslateClass21(std::uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString);
void TranslateClass22(std::uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString);
void TranslateClass25(std::uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString);
void TranslateClass26(std::uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString);
void TranslateClass27(std::uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString);
void TranslateClass28(std::uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString);
void TranslateClass29(std::uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString);
void TranslateClass2A(std::uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString);

/// The event that classes 0x06 and 0x14 share.
void TranslateChipsetError(EventText &szString, const EVT_UNCORRECTABLE_CHIPSET_ERROR &record);

}  // namespace iml
