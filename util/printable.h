// Printable ASCII.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

// The length of the printable ASCII, 0x20 to 0x7E, at the start of `text`. Nearly all texts are printable to
// their end, so eight bytes are tested at a time, and one by one what is left or holds another byte.
inline size_t printable_length(std::string_view text) {
  constexpr uint64_t kEachByte = 0x0101010101010101;
  size_t length = 0;
  for (uint64_t word; text.size() - length >= sizeof(word); length += sizeof(word)) {
    memcpy(&word, text.data() + length, sizeof(word));
    // A printable byte has its top bit clear after 0x20 is subtracted and after 1 is added. The first byte
    // that is not printable has it set after one of the two; nothing is carried into it.
    if ((((word - kEachByte * 0x20) | (word + kEachByte)) & kEachByte * 0x80) != 0) {
      break;
    }
  }
  while (length < text.size() && text[length] >= 0x20 && text[length] <= 0x7E) {
    ++length;
  }
  return length;
}
