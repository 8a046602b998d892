// The decoders, one for each class. Each appends the line that describes the event to `szString`, or nothing
// for an unknown code or value. Texts in the payload are terminated.
#pragma once

#include <cstdint>

#include "iml/event_text.h"
#include "iml/iml_record.h"

namespace iml {

void TranslateClass02(uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString);
void TranslateClass03(uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString);
void TranslateClass04(uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString);
void TranslateClass05(uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString);
void TranslateClass06(uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString);
void TranslateClass07(uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString);
void TranslateClass08(uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString);
void TranslateClass09(uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString);
void TranslateClass0A(uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString);
// `bDataLength` is the record's length without its header, as a signed byte.
void TranslateClass0B(uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString,
                      int8_t bDataLength);
void TranslateClass0D(uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString);
void TranslateClass0E(uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString);
void TranslateClass11(uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString);
void TranslateClass12(uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString);
void TranslateClass13(uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString);
void TranslateClass14(uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString);
void TranslateClass20(uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString);
void TranslateClass21(uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString);
void TranslateClass22(uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString);
void TranslateClass25(uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString);
void TranslateClass26(uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString);
void TranslateClass27(uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString);
void TranslateClass28(uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString);
void TranslateClass29(uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString);
void TranslateClass2A(uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString);

// Parts of two classes: codes 0x20 to 0x41 of class 0x03, and codes 0x15 to 0x27 of class 0x0B but 0x1A.
void translate_memory_configuration(EventText &text, uint16_t event_code, const EVT_FREE_FORM &data);
void translate_server_power(EventText &text, uint16_t event_code, const EVT_FREE_FORM &data);

}  // namespace iml
