// The entries that a closing note names.
#include <gtest/gtest.h>

#include "imlog/open_entries.h"
#include "tests/imlog/record.h"

namespace {

using Numbers = std::optional<std::vector<uint32_t>>;

TEST(ClosingNote, NamesEntries) {
  const Numbers plain;
  const std::pair<std::string, Numbers> kRows[] = {
      {"PSU 2 replaced", plain},
      {"closes 62, #0063 and 70", {{62, 63, 70}}},
      {"Replaced DIMM 3, CLOSES: #62", {{62}}},
      {"(closes)", {{}}},
      {"closes", {{}}},
      {"closes nothing, 5", {{}}},
      {"closes:62,63\tand , and AND 64", {{62, 63, 64}}},
      {"closes:: 62", {{}}},
      {"closes : 62", {{}}},
      {"closes 62-64", {{62}}},
      {"closes 62#63", {{62}}},
      {"closes 62and 63", {{62}}},
      {"closes 62 and63", {{62}}},
      {"closes 62 band 63", {{62}}},
      {"closes 62; 63", {{62}}},
      {"closes 62\n63", {{62}}},
      {"closes ##62", {{}}},
      {"closes # 62", {{}}},
      {"closes -62", {{}}},
      {"closes +62", {{}}},
      {"closes 6x 7", {{6}}},
      {"closes 1, closes 2. It Closes 3 closes closes 4", {{1, 2, 3, 4}}},
      {"closes 4294967295 4294967296 18446744073709551616 5", {{4294967295, 5}}},
      {"closes " + std::string(100, '0') + "7 " + std::string(90, '9') + " 8", {{7, 8}}},
      {"discloses 1, closes2, closes_3, closes-4, -closes 5, 6closes 7, closesclosed 8", plain},
      {"closes\xC3\xA9 1, \xFF"
       "closes 2",
       plain},
      {std::string("x\0closes 1", 10), plain},
      {std::string("closes 1\0 2, closes 3", 21), {{1}}},
      {std::string(203, ' ') + "closes 62345", {{62}}},  // beyond the end of the record nothing is read
      {std::string(207, ' ') + "closes 1", plain},
      {std::string(206, ' ') + "closes", {{}}},
  };
  for (const auto &[text, numbers] : kRows) {
    EXPECT_EQ(named_entries(make_record({.payload = text})), numbers) << text;
  }
}

}  // namespace
