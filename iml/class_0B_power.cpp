#include "iml/class_decoders.h"

namespace iml {

void TranslateClass0B(std::uint16_t /*wEventCode*/, const EVT_FREE_FORM * /*pEventData*/,
                      EventText & /*szString*/, std::int8_t /*bDataLength*/) {}

}  // namespace iml
