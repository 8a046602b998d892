// Arithmetic on values of 1, 2 or 4 bytes, and the operations by their numbers in the encoding. For the
// interpreter's own files.
#pragma once

#include <cstdint>

#include "pci/x86_interpreter.h"

namespace x86 {

enum AluOperation : uint32_t { kAdd, kOr, kAdc, kSbb, kAnd, kSub, kXor, kCmp };
enum ShiftOperation : uint32_t { kRol, kRor, kRcl, kRcr, kShl, kShr, kSal, kSar };
enum BitOperation : uint32_t { kBt, kBts, kBtr, kBtc };

inline constexpr uint32_t kAh = 4;  // as a byte register's number

// The flags that LAHF and SAHF move.
inline constexpr uint32_t kLowFlags = kCarry | kParity | kAdjust | kZero | kSign;

constexpr uint32_t bits(uint32_t size) {
  return size * 8;
}

constexpr uint32_t mask(uint32_t size) {
  return 0xFFFFFFFF >> (32 - bits(size));
}

constexpr bool sign(uint32_t value, uint32_t size) {
  return (value >> (bits(size) - 1) & 1) != 0;
}

constexpr int64_t as_signed(uint64_t value, uint32_t size) {
  const uint32_t unused = 64 - bits(size);
  return static_cast<int64_t>(value << unused) >> unused;
}

constexpr uint32_t sign_extend(uint32_t value, uint32_t size) {
  return static_cast<uint32_t>(as_signed(value, size));
}

// `flag` if `on`.
constexpr uint32_t flag_if(bool on, uint32_t flag) {
  return on ? flag : 0;
}

// ZF, SF and PF of a result.
inline constexpr uint32_t kResultFlags = kZero | kSign | kParity;
constexpr uint32_t result_flags(uint32_t result, uint32_t size) {
  // Bit n of the constant: whether n has an even number of ones.
  const bool even = (0x9669 >> ((result ^ result >> 4) & 0xF) & 1) != 0;
  return flag_if((result & mask(size)) == 0, kZero) | flag_if(sign(result, size), kSign) |
         flag_if(even, kParity);
}

}  // namespace x86
