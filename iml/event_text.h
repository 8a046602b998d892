// The one place where the translator writes: a caller's
// buffer with its bound, and the formats that tables hold.
#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <string_view>

namespace iml {

/// Stops the compilation of a table whose format does not show as many texts as its place demands.
void WordingHasWrongPlaceholders();

/// A format kept in a table: exactly `Texts` directives, each "%s".
template <std::size_t Texts>
struct Wording {
  consteval Wording(const char *szWording) : szFormat(szWording) {
    std::size_t directives = 0;
    for (const char *p = szWording; *p != '\0'; ++p) {
      if (*p != '%') {
        continue;
      }
      ++directives;
      if (*++p != 's') {
        WordingHasWrongPlaceholders();
      }
    }
    if (directives != Texts) {
      WordingHasWrongPlaceholders();
    }
  }

  const char *szFormat;
};

/// Room for one text while a message is put together: a temporary in the call
/// that fills it lives until the message is written. It holds the longest
/// text that a record can yield, with its frame, and is left uninitialised.
class Scratch {
 public:
  static constexpr std::size_t kSize = 320;

  Scratch() {}  // not defaulted: `Scratch()` would clear the buffer

  char *Buffer() {
    return sz_;
  }

 private:
  char sz_[kSize];
};

/// A scratch buffer as the helpers take it, named or temporary.
class ScratchRef {
 public:
  ScratchRef(Scratch &scratch) : sz_(scratch.Buffer()) {}
  ScratchRef(Scratch &&scratch) : sz_(scratch.Buffer()) {}

  [[nodiscard]] char *Buffer() const {
    return sz_;
  }

 private:
  char *sz_;  // Scratch::kSize bytes
};

/// A text that grows inside a buffer of fixed size. It is terminated after every call; what does not fit is
/// dropped, so a text is cut once, at the buffer's size - 1 characters.
class EventText {
 public:
  /// Starts an empty text in `ulSize` bytes at `szString`. With a size of 0 nothing is ever written.
  EventText(char *szString, std::size_t ulSize);

  /// Starts an empty text in a scratch buffer.
  explicit EventText(ScratchRef scratch) : EventText(scratch.Buffer(), Scratch::kSize) {}

  EventText(const EventText &) = delete;
  EventText &operator=(const EventText &) = delete;

  /// Appends the formatted text. Of printf's directives it knows those that event texts use: %s with a
  /// precision, %c, %d and %u, %x and %X with a width padded by zeros, and %%.
  [[gnu::format(printf, 2, 3)]] void Format(const char *szFormat, ...);

  /// Appends a table's format, filled with `texts` in order.
  template <std::size_t Texts>
  void FormatWording(const Wording<Texts> &wording, const std::array<const char *, Texts> &texts) {
    FormatTexts(wording.szFormat, texts);
  }

  /// Appends a text as it is.
  void Append(std::string_view text);

  /// True as long as nothing has been stored.
  [[nodiscard]] bool Empty() const {
    return next_ == begin_;
  }

 private:
  void FormatTexts(const char *szFormat, std::span<const char *const> texts);
  void AppendNumber(unsigned value, bool negative, unsigned base, bool upper_case, unsigned width);

  char *begin_;
  char *next_;
  char *last_;  // where the terminator of a full text goes; null when there is no buffer
};

}  // namespace iml
