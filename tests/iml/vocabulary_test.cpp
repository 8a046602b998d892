// One fingerprint for each known code over its lines, so that a wording, code or field that changes fails
// with the code and a line of it. After a change on purpose, write the file again, see that no other code has
// changed, and commit it with the change:
//
//     ORVLOG_WRITE_FINGERPRINTS=1 build/release/tests/iml/iml_test --gtest_filter='Vocabulary.*'
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <random>
#include <set>
#include <sstream>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include "iml/eventstr.h"
#include "util/hash.h"

namespace {

constexpr unsigned kClasses = 0x2C;   // the known ones and the next
constexpr unsigned kOther = 0x10F;    // a code that no decoder knows; some before it look like known ones
constexpr size_t kProbes = 64;        // payloads that show whether the line of a code depends on the payload
constexpr size_t kFieldBytes = 14;    // that come before the texts in most records
constexpr uint32_t kLineSize = 2048;  // bytes that hold any line; the longest list every byte of the payload

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

struct Fingerprint {
  uint64_t hash = kHashStart;  // over the lines of a code
  std::string example;         // the first line of a known event
};

Fingerprint fingerprint_of(unsigned event_class, unsigned code, const std::vector<std::string> &payloads) {
  Fingerprint fingerprint;
  std::string first;
  bool depends_on_payload = false;
  for (size_t i = 0; i < payloads.size() && (i < kProbes || depends_on_payload); ++i) {
    EVT_LOG_ENTRY record = {};
    record.Hdr.wEvtLength = static_cast<uint16_t>(i);
    record.Hdr.wClass = static_cast<uint16_t>(event_class);
    record.Hdr.wCode = static_cast<uint16_t>(code);
    memcpy(&record.Data, payloads[i].data(), payloads[i].size());
    char text[kLineSize];
    if (TranslateEventLogMessage(&record, text, sizeof(text)) != 0 && fingerprint.example.empty()) {
      fingerprint.example = text;
    }
    const std::string line = text;
    EXPECT_LT(line.size(), kLineSize - 1);
    if (i < kProbes) {  // A shorter buffer gets the same line, cut where it ends.
      const std::unique_ptr<char[]> exact(new char[i + 1]);  // in which sanitizers find an overrun
      TranslateEventLogMessage(&record, exact.get(), static_cast<uint32_t>(i + 1));
      EXPECT_EQ(exact.get(), line.substr(0, i));
    }
    const std::string without_code = line.substr(0, line.find(", Code 0x"));
    fingerprint.hash = hash_bytes(without_code, fingerprint.hash);
    first = i == 0 ? line : first;
    depends_on_payload = depends_on_payload || line != first;
  }
  return fingerprint;
}

// The words of a class, each with an example: CLASS:NAME, then CLASS.CODE:FINGERPRINT for each known code
// that differs from kOther, and for kOther where it is known. Numbers are hexadecimal.
std::vector<std::pair<std::string, std::string>> words_of(unsigned event_class,
                                                          const std::vector<std::string> &payloads) {
  std::vector<std::pair<std::string, std::string>> words;
  std::ostringstream word;
  word << std::hex << std::uppercase;
  std::string name(32, '\0');
  if (TranslateEventLogClass(static_cast<uint16_t>(event_class), name.data(), 32) != 0) {
    std::replace(name.begin(), name.end(), ' ', '_');
    word << event_class << ':' << name.c_str();
    words.emplace_back(word.str(), "");
  }
  const Fingerprint other = fingerprint_of(event_class, kOther, payloads);
  for (unsigned code = 0; code <= kOther; ++code) {
    const Fingerprint own = code == kOther ? other : fingerprint_of(event_class, code, payloads);
    if (!own.example.empty() && (code == kOther || own.hash != other.hash)) {
      word.str("");
      word << event_class << '.' << code << ':' << own.hash % 0xFFF1;  // a prime
      words.emplace_back(word.str(), own.example);
    }
  }
  return words;
}

TEST(Vocabulary, ChangesOnPurposeAlone) {
  const std::vector<std::string> payloads = fixed_payloads();
  std::ifstream file(VOCABULARY_FINGERPRINTS);
  std::set<std::string> wanted{std::istream_iterator<std::string>(file), {}};
  std::ostringstream now;
  for (unsigned event_class = 0; event_class < kClasses; ++event_class) {
    const auto words = words_of(event_class, payloads);
    for (const auto &[word, example] : words) {
      EXPECT_EQ(wanted.erase(word), 1U) << word << ' ' << example;
      now << word << (&word == &words.back().first ? '\n' : ' ');
    }
  }
  EXPECT_THAT(wanted, testing::IsEmpty());
  if (getenv("ORVLOG_WRITE_FINGERPRINTS") != nullptr) {
    std::ofstream(VOCABULARY_FINGERPRINTS) << now.str();
  }
}

}  // namespace
