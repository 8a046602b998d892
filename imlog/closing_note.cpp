#include "imlog/closing_note.h"

#include <charconv>
#include <cstring>
#include <string_view>
#include <strings.h>
#include <system_error>

namespace {

constexpr std::string_view kCloses = "closes";
constexpr std::string_view kAnd = "and";
constexpr std::string_view kBlanks = " \t,";

// True for a byte that would belong to the word beside it.
bool is_of_word(char c) {
  return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == '-' ||
         static_cast<unsigned char>(c) > 0x7F;
}

// True if `word` begins at `at`, in upper or lower case.
bool has_word(std::string_view text, size_t at, std::string_view word) {
  const size_t end = at + word.size();
  return end <= text.size() && strncasecmp(text.data() + at, word.data(), word.size()) == 0 &&
         (at == 0 || !is_of_word(text[at - 1])) && (end == text.size() || !is_of_word(text[end]));
}

// The end of the blanks, tabs, commas and words "and" that begin at `at`.
size_t skip_separators(std::string_view text, size_t at) {
  for (;;) {
    if (at < text.size() && kBlanks.find(text[at]) != kBlanks.npos) {
      ++at;
    } else if (has_word(text, at, kAnd)) {
      at += kAnd.size();
    } else {
      return at;
    }
  }
}

// Adds the numbers of the list that begins at `at`, right after its word.
void read_list(std::string_view text, size_t at, std::vector<uint32_t> &numbers) {
  if (at < text.size() && text[at] == ':') {
    ++at;
  }
  for (bool is_first = true;; is_first = false) {
    const size_t start = skip_separators(text, at);
    if (start == at && !is_first) {
      return;
    }
    const size_t digits = start < text.size() && text[start] == '#' ? start + 1 : start;
    uint32_t number = 0;
    const auto [end, error] = std::from_chars(text.data() + digits, text.data() + text.size(), number);
    if (error == std::errc::invalid_argument) {
      return;
    }
    if (error == std::errc()) {  // else it is too large for an entry
      numbers.push_back(number);
    }
    at = static_cast<size_t>(end - text.data());
  }
}

}  // namespace

bool is_closing_note(const EVT_HEADER &header) {
  return header.wClass == IML_CLASS_MAINTENANCE && header.wCode == IML_MAINTENANCE_NOTE &&
         header.bSeverity == IML_SEVERITY_REPAIRED;
}

std::optional<std::vector<uint32_t>> named_entries(const EVT_LOG_ENTRY &note) {
  const char *const start = reinterpret_cast<const char *>(&note.Data);
  const std::string_view text(start, strnlen(start, sizeof(note.Data)));
  std::optional<std::vector<uint32_t>> numbers;
  for (size_t at = 0; at < text.size(); ++at) {
    if (has_word(text, at, kCloses)) {
      at += kCloses.size();
      read_list(text, at, numbers ? *numbers : numbers.emplace());
    }
  }
  return numbers;
}
