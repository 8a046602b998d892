#include "iml/class_decoders.h"

namespace iml {

void TranslateClass03(std::uint16_t /*wEventCode*/, const EVT_FREE_FORM * /*pEventData*/,
                      EventText & /*szString*/) {}

}  // namespace iml
