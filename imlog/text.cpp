#include "imlog/text.h"

#include <algorithm>

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

// The code point of a valid UTF-8 character.
char32_t code_point(std::string_view character) {
  const auto lead = static_cast<unsigned char>(character[0]);
  char32_t code = character.size() == 1 ? lead : lead & (0x7FU >> character.size());
  for (const char byte : character.substr(1)) {
    code = code << 6 | (static_cast<unsigned char>(byte) & 0x3FU);
  }
  return code;
}

// C0, DEL and C1, and what breaks a line, changes its direction or cannot be seen.
bool is_control(char32_t code) {
  return code < 0x20 || (code >= 0x7F && code <= 0x9F) || code == 0x200B ||
         (code >= 0x2028 && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069) || code == 0xFEFF;
}

}  // namespace

std::string_view TextCleaner::clean(std::string_view text) {
  const auto is_printable = [](char byte) { return is_between(byte, 0x20, 0x7E); };
  const auto first = std::find_if_not(text.begin(), text.end(), is_printable);
  if (first == text.end()) {
    return text;
  }
  auto done = static_cast<size_t>(first - text.begin());
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
  const std::string_view character = rest.substr(0, length);
  if (controls_ == Controls::kBlank && is_control(code_point(character))) {
    cleaned_ += ' ';
  } else {
    cleaned_ += character;
  }
  return length;
}

size_t count_characters(std::string_view text) {
  return static_cast<size_t>(
      std::count_if(text.begin(), text.end(), [](char byte) { return !is_between(byte, 0x80, 0xBF); }));
}
