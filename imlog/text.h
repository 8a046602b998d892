// Cleans texts from records and arguments, which may hold any bytes, before they are printed.
#pragma once

#include <string>
#include <string_view>

// Control characters are kept or become blanks: C0, DEL, C1, and those that break a line, change its
// direction or cannot be seen (U+200B, U+2028 to U+202E, U+2066 to U+2069, U+FEFF).
enum class Controls { kKeep, kBlank };

// The text for a byte that is not part of valid UTF-8.
inline constexpr std::string_view kQuestionMark = "?";
inline constexpr std::string_view kReplacementCharacter = "\xEF\xBF\xBD";  // U+FFFD

class TextCleaner {
 public:
  TextCleaner(Controls controls, std::string_view invalid) : controls_(controls), invalid_(invalid) {}

  // The text as valid UTF-8: `text` itself if it needs no change, else a copy that is valid until the next
  // call.
  std::string_view clean(std::string_view text);

 private:
  size_t clean_character(std::string_view rest);

  Controls controls_;
  std::string_view invalid_;
  std::string cleaned_;
};

// The number of characters of a text in UTF-8.
size_t count_characters(std::string_view text);
