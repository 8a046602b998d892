// One fingerprint for each class over the lines of all its codes and of their neighbours, so that a wording,
// code or field that changes fails with the class's name. After a change on purpose, write the file again,
// and commit it with the change:
//
//     ORVLOG_WRITE_FINGERPRINTS=1 build/release/tests/iml/iml_test --gtest_filter='Vocabulary.*'
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <random>
#include <sstream>
#include <vector>

#include <gtest/gtest.h>

#include "tests/iml/event_record.h"
#include "util/hash.h"

namespace {

constexpr unsigned kClasses = 0x2C;  // the known ones and the next
constexpr unsigned kCodes = 0x110;   // the known ones, and some that differ from them in the high byte alone
constexpr size_t kProbes = 64;       // payloads that show whether the line of a code depends on the payload
constexpr size_t kFieldBytes = 14;   // that come before the texts in most records

// First payloads of mixed values, among them those that decoders compare with, before texts of each kind.
// Then some that have every value in each of the first bytes.
std::vector<std::string> fixed_payloads() {
  static constexpr uint8_t kValues[] = {0, 0xFF, 1,  0,  1,    2,    3,    4,    5,
                                        6, 7,    13, 14, 0x8A, 0x8A, 0x8B, 0x8C, 0xFE};
  constexpr size_t kExtremes = 3;  // at the beginning of these
  static const std::string kTexts[] = {{"A\0Slot 5\0", 9},
                                       {"\0S\0", 3},
                                       "",
                                       "5CZ1234567ABCDEFXYZ",
                                       " S  1 ,X\t,, Y,Z",
                                       "-",
                                       std::string(212, 'n'),
                                       std::string(212, '\xFF')};
  std::vector<std::string> payloads(1500);
  std::minstd_rand random;
  const auto below = [&random](size_t end) { return random() / 16 % end; };
  for (std::string &payload : payloads) {
    const size_t values = below(2) != 0 ? std::size(kValues) : kExtremes;
    for (size_t i = below(kFieldBytes) + 1; i > 0; --i) {
      payload += static_cast<char>(below(8) != 0 ? kValues[below(values)] : below(256));
    }
    payload += kTexts[below(std::size(kTexts))];
    payload.resize(sizeof(EVT_FREE_FORM), below(8) != 0 ? '\0' : 'x');
  }
  for (const char *const start : {"\1\0\0\0", "\2\0\1\0", "\4\1\2\1", "\x8A\0\0\3"}) {
    for (size_t i = 0; i < kFieldBytes * 256; ++i) {
      std::string &payload = payloads.emplace_back(start, 4);
      payload.resize(sizeof(EVT_FREE_FORM));
      payload[i / 256] = static_cast<char>(i % 256);
    }
  }
  for (unsigned i = 0; i < 9 * 9 * 4; ++i) {  // the links of a node controller: chip, port, status
    payloads.push_back(
        {'\x8A', static_cast<char>(i / 36), static_cast<char>(i / 4 % 9), static_cast<char>(i % 4 + 1)});
  }
  return payloads;
}

uint64_t add_lines(uint64_t hash, unsigned event_class, unsigned code,
                   const std::vector<std::string> &payloads) {
  std::string first;
  bool depends_on_payload = false;
  for (size_t i = 0; i < payloads.size() && (i < kProbes || depends_on_payload); ++i) {
    EVT_LOG_ENTRY record = record_of(event_class, code, payloads[i]);
    record.Hdr.wEvtLength = static_cast<uint16_t>(i);
    char line[kLineSize];
    const bool is_known = TranslateEventLogMessage(&record, line, sizeof(line)) != 0;
    hash = hash_bytes(std::string(is_known ? "known" : "unknown") + '\0' + line + '\0', hash);
    if (i == 0) {
      first = line;
    }
    depends_on_payload = depends_on_payload || first != line;
  }
  return hash;
}

TEST(Vocabulary, ChangesOnPurposeAlone) {
  const std::vector<std::string> payloads = fixed_payloads();
  uint64_t unnamed = kHashStart;
  std::ostringstream fingerprints;
  for (unsigned event_class = 0; event_class < kClasses; ++event_class) {
    char name[32];
    const bool is_named = TranslateEventLogClass(static_cast<uint16_t>(event_class), name, sizeof(name)) != 0;
    uint64_t hash = is_named ? kHashStart : unnamed;
    for (unsigned code = 0; code < kCodes; ++code) {
      hash = add_lines(hash, event_class, code, payloads);
    }
    if (is_named) {
      fingerprints << std::hex << std::uppercase << hash << ' ' << event_class << ' ' << name << '\n';
    } else {
      unnamed = hash;
    }
  }
  fingerprints << unnamed << " - all others\n";
  if (getenv("ORVLOG_WRITE_FINGERPRINTS") != nullptr) {
    std::ofstream(VOCABULARY_FINGERPRINTS) << fingerprints.str();
  }
  std::ifstream file(VOCABULARY_FINGERPRINTS);
  std::istringstream now(fingerprints.str());
  for (std::string line, wanted; std::getline(now, line);) {
    std::getline(file, wanted);
    EXPECT_EQ(line, wanted) << "The lines of this class have changed.";
  }
}

}  // namespace
