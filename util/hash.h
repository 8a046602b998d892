// A hash of bytes that is the same in every run, on every machine and in every version.
#pragma once

#include <cstdint>
#include <string_view>

// 64 bits of FNV-1a over `bytes`, from `hash` on.
inline constexpr uint64_t kHashStart = 0xCBF29CE484222325;
inline uint64_t hash_bytes(std::string_view bytes, uint64_t hash = kHashStart) {
  for (const char byte : bytes) {
    hash = (hash ^ static_cast<unsigned char>(byte)) * 0x100000001B3;
  }
  return hash;
}
