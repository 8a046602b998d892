#include "iml/class_decoders.h"

namespace iml {

void TranslateClass07(std::uint16_t /*wEventCode*/, const EVT_FREE_FORM * /*pEventData*/,
                      EventText & /*szString*/) {}

}  // namespace iml
