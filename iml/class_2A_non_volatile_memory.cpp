#include "iml/class_decoders.h"

namespace iml {

void TranslateClass2A(std::uint16_t /*wEventCode*/, const EVT_FREE_FORM * /*pEventData*/,
                      EventText & /*szString*/) {}

}  // namespace iml
