#include "iml/eventstr.h"

#include <cstring>

#include "iml/class_decoders.h"
#include "iml/class_names.h"
#include "iml/eventstr_helpers.h"
#include "iml/severities.h"

namespace iml {
namespace {

// The payload and two zero bytes. They terminate every text that a record can hold, and make the text after
// the last one empty. Decoders read texts through this and need no lengths.
struct GuardedPayload {
  EVT_FREE_FORM Data;
  char ends[2];
};
static_assert(sizeof(GuardedPayload) == sizeof(EVT_FREE_FORM) + 2);

void TranslateEventToMessage(uint16_t wEventClass, uint16_t wEventCode, const EVT_FREE_FORM *pEventData,
                             EventText &szString, int8_t bDataLength) {
  switch (wEventClass) {
    case IML_CLASS_EMPTY: szString.append("Empty"); break;
    case IML_CLASS_TEST: szString.append("Reserved"); break;
    case IML_CLASS_MACHINE_ENVIRONMENT: TranslateClass02(wEventCode, pEventData, szString); break;
    case IML_CLASS_MAIN_MEMORY: TranslateClass03(wEventCode, pEventData, szString); break;
    case IML_CLASS_CACHE_MEMORY: TranslateClass04(wEventCode, pEventData, szString); break;
    case IML_CLASS_CPU: TranslateClass05(wEventCode, pEventData, szString); break;
    case IML_CLASS_HOST_BUS: TranslateClass06(wEventCode, pEventData, szString); break;
    case IML_CLASS_EISA_BUS: TranslateClass07(wEventCode, pEventData, szString); break;
    case IML_CLASS_PCI_BUS: TranslateClass08(wEventCode, pEventData, szString); break;
    case IML_CLASS_EXPANSION_SLOT: TranslateClass09(wEventCode, pEventData, szString); break;
    case IML_CLASS_POST_MESSAGES: TranslateClass0A(wEventCode, pEventData, szString); break;
    case IML_CLASS_POWER_SUBSYSTEM: TranslateClass0B(wEventCode, pEventData, szString, bDataLength); break;
    case IML_CLASS_ASR: TranslateClass0D(wEventCode, pEventData, szString); break;
    case IML_CLASS_OPERATING_SYSTEM: TranslateClass0E(wEventCode, pEventData, szString); break;
    case IML_CLASS_NETWORK_ADAPTER: TranslateClass11(wEventCode, pEventData, szString); break;
    case IML_CLASS_SCSI: TranslateClass12(wEventCode, pEventData, szString); break;
    case IML_CLASS_DRIVE_ARRAY: TranslateClass13(wEventCode, pEventData, szString); break;
    case IML_CLASS_UNRECOVERABLE_SYSTEM_ERROR: TranslateClass14(wEventCode, pEventData, szString); break;
    case IML_CLASS_SYSTEM_REVISION: TranslateClass20(wEventCode, pEventData, szString); break;
    case IML_CLASS_MAINTENANCE: TranslateClass21(wEventCode, pEventData, szString); break;
    case IML_CLASS_INFRASTRUCTURE: TranslateClass22(wEventCode, pEventData, szString); break;
    case IML_CLASS_KRX: TranslateClass25(wEventCode, pEventData, szString); break;
    case IML_CLASS_PELLORY: TranslateClass26(wEventCode, pEventData, szString); break;
    case IML_CLASS_POWER_CAPPING: TranslateClass27(wEventCode, pEventData, szString); break;
    case IML_CLASS_FLASH_MEDIA: TranslateClass28(wEventCode, pEventData, szString); break;
    case IML_CLASS_INTERLOCK: TranslateClass29(wEventCode, pEventData, szString); break;
    case IML_CLASS_NON_VOLATILE_MEMORY: TranslateClass2A(wEventCode, pEventData, szString); break;
    default: break;
  }
}

// Sets the whole of a caller's buffer to zero.
void clear(char *text, uint32_t size) {
  if (size != 0) {  // with a size of 0 there may be no buffer
    memset(text, 0, size);
  }
}

// Writes a name, or "Unknown" for null. Returns what the public functions return.
uint8_t write_name(const char *name, char *text, uint32_t size) {
  clear(text, size);
  EventText(text, size).append(name != nullptr ? name : szUnknown);
  return name != nullptr ? 1 : 0;
}

}  // namespace
}  // namespace iml

uint8_t TranslateEventLogMessage(const EVT_LOG_ENTRY *pEvtLogEntry, char *szString, uint32_t ulSize) {
  iml::clear(szString, ulSize);
  const EVT_HEADER &header = pEvtLogEntry->Hdr;
  const iml::GuardedPayload payload = {pEvtLogEntry->Data, {}};
  iml::EventText text(szString, ulSize);
  // No read depends on the length that the record states. Only class 0x0B gets it, as a signed byte.
  const auto data_length = static_cast<int8_t>(header.wEvtLength - sizeof(EVT_HEADER));
  iml::TranslateEventToMessage(header.wClass, header.wCode, &payload.Data, text, data_length);
  if (!text.empty()) {
    return 1;
  }
  text.format("Unknown Event (Class 0x%02X, Code 0x%02X)", header.wClass, header.wCode);
  return 0;
}

uint8_t TranslateEventLogClass(uint16_t wClass, char *szString, uint32_t ulSize) {
  return iml::write_name(iml::class_name(wClass, nullptr), szString, ulSize);
}

uint8_t TranslateEventLogSeverity(uint8_t bSeverity, char *szString, uint32_t ulSize) {
  const iml::SeverityRank rank = iml::severity_rank(bSeverity);
  const char *const name = rank != iml::kUnknown ? iml::kSeverityNames[rank].in_library : nullptr;
  return iml::write_name(name, szString, ulSize);
}
