#include "imlog/text.h"

#include <algorithm>

#include "util/printable.h"

namespace {

bool is_between(char byte, unsigned low, unsigned high) {
  const auto value = static_cast<unsigned char>(byte);
  return value >= low && value <= high;
}

// The length in bytes of the UTF-8 character at the start of `text`, which is not empty; 0 if it is not
// valid.
size_t character_length(std::string_view text) {
  const auto lead = static_cast<unsigned char>(text[0]);
  if (lead < 0x80) {
    return 1;
  }
  const size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
  if (lead < 0xC2 || lead > 0xF4 || text.size() < length) {
    return 0;
  }
  // Overlong forms, surrogates and values above U+10FFFF are not valid.
  const unsigned low = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
  const unsigned high = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
  if (!is_between(text[1], low, high)) {
    return 0;
  }
  for (const char byte : text.substr(2, length - 2)) {
    if (!is_between(byte, 0x80, 0xBF)) {
      return 0;
    }
  }
  return length;
}

}  // namespace

std::string_view TextCleaner::clean(std::string_view text) {
  size_t done = printable_length(text);
  if (done == text.size()) {
    return text;
  }
  cleaned_.assign(text.substr(0, done));
  while (done < text.size()) {
    done += clean_character(text.substr(done));
  }
  return cleaned_;
}

// Appends the first character of `rest`, cleaned. Returns the number of bytes that it took.
size_t TextCleaner::clean_character(std::string_view rest) {
  const size_t length = character_length(rest);
  if (length == 0) {
    cleaned_ += invalid_;
    return 1;
  }
  const bool is_control = is_between(rest[0], 0, 0x1F) || rest[0] == '\x7F' ||
                          (rest[0] == '\xC2' && is_between(rest[1], 0x80, 0x9F));
  if (is_control && controls_ == Controls::kBlank) {
    cleaned_ += ' ';
  } else {
    cleaned_ += rest.substr(0, length);
  }
  return length;
}

size_t count_characters(std::string_view text) {
  return static_cast<size_t>(
      std::count_if(text.begin(), text.end(), [](char byte) { return !is_between(byte, 0x80, 0xBF); }));
}
