// Texts of any bytes, as they are cleaned for printing.
#include "imlog/text.h"

#include <gtest/gtest.h>

namespace {

TEST(TextCleaner, KeepsWhatIsValid) {
  static const std::pair<std::string, std::string> kRows[] = {
      {"12345678\"\\ | ~'%s'", "12345678\"\\ | ~'%s'"},
      {"a\tb\x1F\x7F\nc", "a b   c"},
      {"\xC2\x80\xC2\x9F\xC2\xA0\xE2\x82\xAC\xF0\x9F\x98\x80", "  \xC2\xA0\xE2\x82\xAC\xF0\x9F\x98\x80"},
      {"\u200A\u200B\u200C|\u2027\u2028\u2029|\u202A\u202E\u202F", "\u200A \u200C|\u2027  |  \u202F"},
      {"\u2065\u2066\u2069\u206A|\uFEFE\uFEFF\uFF00", "\u2065  \u206A|\uFEFE \uFF00"},
      {"\U0001F600\U00102028\U0001FEFF", "\U0001F600\U00102028\U0001FEFF"},
      {"\xFF\xC3(\xE2\x82 \xC0\x80 \xC1\xBF \xE0\x9F\x80 \xED\xA0\x80", "##(## ## ## ### ###"},
      {"\xF0\x8F\x80\x80 \xF4\x90\x80\x80 \xF5\x80 \xC2", "#### #### ## #"},
      {"\xED\x9F\xBF\xEE\x80\x80\xF4\x8F\xBF\xBF\xE0\xA0\x80",
       "\xED\x9F\xBF\xEE\x80\x80\xF4\x8F\xBF\xBF\xE0\xA0\x80"},
  };
  TextCleaner cleaner(Controls::kBlank, "#");
  for (const auto &[text, cleaned] : kRows) {
    EXPECT_EQ(cleaner.clean(text), cleaned);
  }
  EXPECT_EQ(TextCleaner(Controls::kKeep, kReplacementCharacter).clean("\x1B\xFF\xC2\x9F"),
            "\x1B\xEF\xBF\xBD\xC2\x9F");
  EXPECT_EQ(count_characters("a\xC2\xA0\xE2\x82\xAC"), 3U);
}

}  // namespace
