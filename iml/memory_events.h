// What the decoders of memory events share.
#pragma once

#include <cstdint>

#include "iml/class_decoders.h"
#include "iml/eventstr_helpers.h"

namespace iml {

// What a board or processor number counts: bCPUBoardFlag 0 boards, 1 processors.
inline const char *GetCPUBoard(uint8_t bCPUBoardFlag) {
  static constexpr const char *kUnits[] = {"Board", "Processor"};
  return Lookup(kUnits, bCPUBoardFlag, "Board/CPU");
}

// Codes 0x20 to 0x41 of the main memory class, under the contract of its decoder.
void TranslateMemoryConfiguration(uint16_t wEventCode, const EVT_FREE_FORM *pEventData, EventText &szString);

}  // namespace iml
