// ROM images with code and directory headers put where a test wants them.
#pragma once

#include <cstdlib>
#include <numeric>
#include <string>

#include "pci/romaccess.h"

// Bytes written in hexadecimal.
inline std::string from_hex(const std::string &text) {
  std::string bytes;
  const char *at = text.c_str();
  char *end = nullptr;
  for (unsigned long byte = strtoul(at, &end, 16); end != at; byte = strtoul(at = end, &end, 16)) {
    bytes += static_cast<char>(byte);
  }
  return bytes;
}

inline std::string little_endian(uint32_t value) {
  return {reinterpret_cast<const char *>(&value), sizeof(value)};
}

struct Image {
  std::string bytes = std::string(kRomSize, '\0');

  Image() {
    put(0xFFFEA, "VELDRA");
  }

  Image &put(uint32_t address, const std::string &code) {
    bytes.replace(address - kRomBase, code.size(), code);
    return *this;
  }

  // `error` spoils the checksum.
  Image &header(uint32_t address, uint32_t entry, char length = 1, char revision = 0, char error = 0) {
    std::string header = "_32_" + little_endian(entry) + revision + length;
    header += static_cast<char>(error - std::accumulate(header.begin(), header.end(), 0));
    return put(address, header);
  }

  // A directory with `code`, 256 bytes after its header.
  Image &directory(uint32_t address, const std::string &code) {
    return put(address + 0x100, code).header(address, address + 0x100);
  }

  // A directory whose code answers AL 0, EBX `base` and EDX `offset`.
  Image &answer(uint32_t base, uint32_t offset, uint32_t address = 0xC0000) {
    return directory(address,
                     from_hex("B0 00 BB") + little_endian(base) + "\xBA" + little_endian(offset) + "\xCB");
  }
};
