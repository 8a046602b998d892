// One fingerprint for each known code over its lines, so that a wording, code or field that changes fails
// with the code and a line of it. After a change on purpose, write the file again, see that no other code has
// changed, and commit it with the change:
//
//     ORVLOG_WRITE_FINGERPRINTS=1 build/release/tests/iml/iml_test --gtest_filter='Vocabulary.*'
#include <cstdlib>
#include <fstream>
#include <iomanip>
#include <iterator>
#include <random>
#include <set>
#include <sstream>
#include <string_view>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include "tests/iml/event_record.h"
#include "util/hash.h"

namespace {

constexpr unsigned kClasses = 0x2C;  // the known ones and the next
constexpr unsigned kOther = 0x10F;   // a code that no decoder knows; some before it look like known ones
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

std::string to_hex(uint64_t number) {
  std::ostringstream text;
  text << std::hex << std::uppercase << std::setw(2) << std::setfill('0') << number;
  return text.str();
}

struct Fingerprint {
  uint16_t hash = 0;    // over the lines of a code
  std::string example;  // the first line of a known event
};

// The number of the code is left out of the lines, so that all codes without a line of their own have the
// same fingerprint.
Fingerprint fingerprint_of(unsigned event_class, unsigned code, const std::vector<std::string> &payloads) {
  const std::string number = ", Code 0x" + to_hex(code);
  Fingerprint fingerprint;
  uint64_t hash = kHashStart;
  uint64_t first = 0;
  bool depends_on_payload = false;
  for (size_t i = 0; i < payloads.size() && (i < kProbes || depends_on_payload); ++i) {
    EVT_LOG_ENTRY record = record_of(event_class, code, payloads[i]);
    record.Hdr.wEvtLength = static_cast<uint16_t>(i);
    char text[kLineSize];
    const bool is_known = TranslateEventLogMessage(&record, text, sizeof(text)) != 0;
    if (is_known && fingerprint.example.empty()) {
      fingerprint.example = text;
    }
    const std::string_view line = text;
    const size_t at = line.find(number);
    uint64_t own = hash_bytes(line.substr(0, at), kHashStart + (is_known ? 1 : 0));
    own = hash_bytes(line.substr(at == line.npos ? line.size() : at + number.size()), own);
    hash = 31 * hash + own;
    first = i == 0 ? own : first;
    depends_on_payload = depends_on_payload || own != first;
  }
  fingerprint.hash = static_cast<uint16_t>(hash >> 48);
  return fingerprint;
}

// The words of a class's line in the file, each with an example: its number and name, then CODE:FINGERPRINT
// for each code that differs from kOther, and for kOther itself. Numbers are hexadecimal.
std::vector<std::pair<std::string, std::string>> words_of(unsigned event_class,
                                                          const std::vector<std::string> &payloads) {
  char name[32];
  TranslateEventLogClass(static_cast<uint16_t>(event_class), name, sizeof(name));
  std::istringstream names(to_hex(event_class) + ' ' + name);
  std::vector<std::pair<std::string, std::string>> words;
  for (std::string word; names >> word;) {
    words.emplace_back(word, "");
  }
  const Fingerprint other = fingerprint_of(event_class, kOther, payloads);
  for (unsigned code = 0; code <= kOther; ++code) {
    const Fingerprint own = code == kOther ? other : fingerprint_of(event_class, code, payloads);
    if (code == kOther || own.hash != other.hash) {
      words.emplace_back(to_hex(code) + ':' + to_hex(own.hash), own.example);
    }
  }
  return words;
}

TEST(Vocabulary, ChangesOnPurposeAlone) {
  const std::vector<std::string> payloads = fixed_payloads();
  std::ifstream file(VOCABULARY_FINGERPRINTS);
  std::ostringstream now;
  std::string line;
  for (unsigned event_class = 0; event_class < kClasses; ++event_class) {
    line.clear();
    std::getline(file, line);
    std::istringstream words(line);
    std::set<std::string> wanted{std::istream_iterator<std::string>(words), {}};
    for (const auto &[word, example] : words_of(event_class, payloads)) {
      EXPECT_EQ(wanted.erase(word), 1U) << "class " << to_hex(event_class) << ' ' << word << ' ' << example;
      now << (word == to_hex(event_class) ? "" : " ") << word;
    }
    EXPECT_THAT(wanted, testing::IsEmpty()) << "class " << to_hex(event_class);
    now << '\n';
  }
  EXPECT_FALSE(std::getline(file, line)) << line;
  if (getenv("ORVLOG_WRITE_FINGERPRINTS") != nullptr) {
    std::ofstream(VOCABULARY_FINGERPRINTS) << now.str();
  }
}

}  // namespace
