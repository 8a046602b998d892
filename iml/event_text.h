// Texts of bounded size, the only place where the translator writes.
#pragma once

#include <algorithm>
#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <type_traits>

#include "iml/digits.h"
#include "iml/format.h"

namespace iml {

// An argument of any kind. Only the directive knows which kind it is.
class Argument {
 public:
  constexpr Argument() : text_(nullptr) {}
  constexpr Argument(const char *text) : text_(text) {}
  template <std::integral T>
  constexpr Argument(T number) : number_(static_cast<uint32_t>(number)) {}

  [[nodiscard]] constexpr const char *text() const {
    return text_;
  }
  // Also a character, and a negative number in two's complement.
  [[nodiscard]] constexpr uint32_t number() const {
    return number_;
  }

 private:
  union {
    const char *text_;
    uint32_t number_;
  };
};

// A text that grows inside a buffer of fixed size. It is terminated after every call; what does not fit is
// dropped, so a text is cut once, at the buffer's size - 1 characters.
class EventText {
 public:
  // Starts an empty text in the `size` bytes at `buffer`. With a size of 0 nothing is written.
  EventText(char *buffer, uint32_t size) : buffer_(buffer), length_(0), size_(size) {
    if (size != 0) {
      *buffer = '\0';
    }
  }

  EventText(const EventText &) = delete;
  EventText &operator=(const EventText &) = delete;

  // Appends the formatted text.
  template <class... Args>
  void format(FormatString<std::type_identity_t<Args>...> checked, Args... args) {
    const Argument arguments[] = {args..., Argument()};
    write(checked.literal, arguments);
  }

  // Appends a table's format, filled with `texts` in order.
  template <size_t Texts>
  void format(const Wording<Texts> &wording, const std::array<const char *, Texts> &texts) {
    Argument arguments[Texts + 1];
    std::copy(texts.begin(), texts.end(), arguments);
    write(wording.literal, arguments);
  }

  // Appends a text as it is.
  void append(std::string_view text);

  // Whether no character has been stored; always true when there is no room for one.
  [[nodiscard]] bool empty() const {
    return length_ == 0;
  }

  // The text so far; null when there is no buffer.
  [[nodiscard]] const char *c_str() const {
    return buffer_;
  }

  [[nodiscard]] std::string_view view() const {
    return {buffer_, length_};
  }

 private:
  void write(const char *format, const Argument *argument);
  void append_number(const Directive &directive, uint32_t magnitude, bool negative);
  void append_padded(const Directive &directive, std::string_view text);

  char *buffer_;
  uint32_t length_;
  uint32_t size_;
};

// A text with its own buffer of `Size` bytes, terminator included.
template <size_t Size>
class OwnText : public EventText {
 public:
  OwnText() : EventText(room_, Size) {}

  // The same object. It lets a temporary be passed as a text to write to; the temporary lives until the end
  // of the full expression.
  EventText &here() {
    return *this;
  }

 private:
  char room_[Size];  // left uninitialised
};

// A part of a message. It holds the longest text that a payload can yield, with the words around it.
using Scratch = OwnText<320>;

}  // namespace iml
