#include "iml/class_decoders.h"

namespace iml {

void TranslateClass06(std::uint16_t /*wEventCode*/, const EVT_FREE_FORM * /*pEventData*/,
                      EventText & /*szString*/) {}

}  // namespace iml
