// What the decoders of memory events share.
#pragma once

#include <cstdint>

#include "iml/class_decoders.h"
#include "iml/eventstr_helpers.h"

namespace iml {

// What a module is on: 0 a board, 1 a processor.
inline const char *get_cpu_board(uint8_t cpu_board_flag) {
  static constexpr const char *kUnits[] = {"Board", "Processor"};
  return Lookup(kUnits, cpu_board_flag, "Board/CPU");
}

// Decodes codes 0x20 to 0x41 of the main memory class.
void translate_memory_configuration(uint16_t event_code, const EVT_FREE_FORM *event_data, EventText &text);

}  // namespace iml
