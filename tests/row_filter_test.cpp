// What rows of a list are chosen by: patterns, and the words of a filter.
#include "lists/row_filter.h"

#include <gtest/gtest.h>

#include <random>
#include <regex>

#include "tests/support/texts.h"

namespace hivequarry::testing {
namespace {

constexpr PatternForm kPlain;
constexpr PatternForm kCase = {.match_case = true};
constexpr PatternForm kWords = {.whole_words = true};
constexpr PatternForm kRegular = {.regular = true};
constexpr PatternForm kRegularCase = {.match_case = true, .regular = true};
constexpr PatternForm kRegularWords = {.whole_words = true, .regular = true};

bool Holds(std::string_view pattern, const PatternForm& form, std::string_view text) {
  std::string fault;
  const TextPatternPtr made = MakeTextPattern(pattern, form, fault);
  EXPECT_EQ(fault, "");
  return made != nullptr && HoldsPattern(*made, text);
}

TEST(TextPatternTest, Finds) {
  const struct {
    const char* pattern;
    PatternForm form;
    const char* text;
    bool held;
  } cases[] = {
      {"", kPlain, "", true},
      {"run", kPlain, "Software\\RUNonce", true},
      {"run", kCase, "Software\\RUNonce", false},
      {"aab", kPlain, "aaab", true},
      {"a.c", kPlain, "abc", false},
      // By the system's table: one sigma, no dotless i, no long s.
      {"\u0436\u03C3", kPlain, "x\u0416\u03C2y", true},
      {"i", kPlain, "\u0131", false},
      {"s", kPlain, "\u017F", false},
      {"\u0436", kCase, "\u0416", false},
      {"\U0001F600", kPlain, "a\U0001F600", true},
      {"\xED\xA0\x80", kPlain, "a\xED\xA0\x80", true},  // half of a pair
      {"run", kWords, "run\\x", true},
      {"run", kWords, "rerun run2 _run \u00E9run", false},
      {"run", kWords, "rerun run", true},
      {"-x", kWords, "a-x", false},
      {"^run", kRegular, "Runs", true},
      {"^run", kRegular, "Rerun", false},
      {"run$", kRegular, "Rerun", true},
      {"^$", kRegular, "", true},
      {"^$", kRegular, "a", false},
      {"a{3}", kRegular, "aa aaa", true},
      {"^a{2,3}$", kRegular, "aaaa", false},
      {"^(ab|cd)+?e*$", kRegular, "abcdabeee", true},
      {"^a{2,}$", kRegular, "aaaaa", true},
      {"{0000-", kRegular, "CLSID\\{0000-11", true},
      {"x{a}", kRegular, "x{a}", true},
      {"[]a]", kRegular, "]", true},
      {"^[^a-c]$", kRegular, "B", false},
      {"^[^a-c]$", kRegularCase, "B", true},
      {"^[a-]$", kRegular, "-", true},
      {"^[\\w-]+$", kRegular, "a-_\u00E9", true},
      {"^.$", kRegular, "\U0001F600", true},
      {"^..$", kRegular, "\u0436\u0436", true},
      {"^[\u0430-\u044F]+$", kRegular, "\u0416\u0436", true},
      {"^[\\x41\\u0416]{2}$", kRegular, "\u0436a", true},
      {"\\bcat\\b", kRegular, "a cat.", true},
      {"\\bcat\\b", kRegular, "concat", false},
      {"\\Bcat", kRegular, "concat", true},
      {"\\d{2}:\\d\\s", kRegular, "at 10:3 x", true},
      {"a|", kRegular, "x", true},
      {"cat|dog", kRegularWords, "dogs cats", false},
      {"cat|dog", kRegularWords, "dogs cat", true},
      {"(a*)*b", kRegular, "aaab", true},
      {"(^|x)a", kRegular, "ba", false},
      {"a(?:b|(c))\\\\", kRegular, "ac\\", true},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Holds(c.pattern, c.form, c.text), c.held) << c.pattern << " in " << c.text;
  }
  EXPECT_TRUE(Holds(std::string_view("a\0b", 3), kPlain, std::string_view("xa\0b", 4)));
}

TEST(TextPatternTest, SaysWhatIsWrong) {
  const std::string nested = std::string(60, '(') + "a" + std::string(60, ')');
  const struct {
    std::string pattern;
    const char* fault;
  } cases[] = {
      {"a)", "A ) has no (."},
      {"(a", "A ( has no )."},
      {"[a", "A [ has no ]."},
      {"[z-a]", "A range in [ ] ends before it begins."},
      {"*a", "Nothing is before the * to be repeated."},
      {"a|+", "Nothing is before the + to be repeated."},
      {"a**", "Two repeats follow each other."},
      {"a{3,2}", "A repeat { } has its numbers the wrong way round."},
      {"a{5000}", "A repeat is of at most 1000 times."},
      {"(a{1000}){1000}", "The expression is too large."},
      {"(((){1000}){1000}){1000}", "The expression is too large."},
      {nested, "Groups are nested too deep."},
      {"a\\", "The expression ends with a single \\."},
      {"[a\\", "The expression ends with a single \\."},
      {"\\q", "\\q means nothing."},
      {"(a)\\1", "What a group held (\\1) can't be asked for: rows are found in one pass."},
      {"(?=a)", "Of groups that begin with (? only (?: is known."},
      {"\\x4", "\\x wants two and \\u four hexadecimal digits after it."},
  };
  for (const auto& c : cases) {
    std::string fault;
    EXPECT_EQ(MakeTextPattern(c.pattern, kRegular, fault), nullptr) << c.pattern;
    EXPECT_EQ(fault, c.fault) << c.pattern;
  }
}

// Whatever the expression, a text is read once.
TEST(TextPatternTest, HostileTextsTakeNoLonger) {
  std::string text(1 << 20, 'a');
  for (const char* pattern : {"(a*)*b", "(a|a)*b", "(a+)+$x", "a*a*a*a*a*a*b", "(.*)(.*)(.*)=x"}) {
    EXPECT_FALSE(Holds(pattern, kRegular, text)) << pattern;
  }
  // More states than are kept.
  std::mt19937 random(7);
  for (char& letter : text) letter = "ab"[random() & 1];
  text.resize(1 << 16);
  text += "b" + std::string(14, 'a');
  EXPECT_TRUE(Holds("b.{14}$", kRegular, text));
  EXPECT_FALSE(Holds("b.{14}c", kRegular, text));
  std::string fault;
  const TextPatternPtr pattern = MakeTextPattern("b.{14}$", kRegular, fault);
  const std::atomic<bool> stop{true};
  EXPECT_FALSE(HoldsPattern(*pattern, text, &stop));
}

std::string RandomExpression(std::mt19937& random, int depth) {
  constexpr const char* kOnes[] = {"a", "b", ".", "[ab]", "[^a]", "\\b", "^", "$", "c"};
  constexpr const char* kRepeats[] = {"", "", "", "*", "+", "?", "{2}", "{1,2}"};
  std::string text;
  for (auto i = random() % 3 + 1; i > 0; --i) {
    const bool group = depth > 0 && random() % 4 == 0;
    const auto one = random() % std::size(kOnes);
    text += group ? "(" + RandomExpression(random, depth - 1) + ")" : kOnes[one];
    const bool place = !group && one >= 5 && one <= 7;
    if (!place) text += kRepeats[random() % std::size(kRepeats)];
    if (random() % 6 == 0) text += "|";
  }
  return text;
}

TEST(TextPatternTest, AgreesWithTheStandardLibrary) {
  std::mt19937 random(11);
  for (int i = 0; i < 3000; ++i) {
    const std::string expression = RandomExpression(random, 2);
    std::string text;
    for (auto length = random() % 8; length > 0; --length) text += "abc -"[random() % 5];
    const bool held = std::regex_search(text, std::regex(expression));
    EXPECT_EQ(Holds(expression, kRegularCase, text), held) << expression << " in " << text;
  }
}

// --- filters -------------------------------------------------------------------------------------

OutputListPtr ListToFilter() {
  OutputListPtr list = MakeOutputList(kListSearch);
  const char* const rows[][4] = {
      {"HKLM\\Software\\Run", "Updater", "C:\\Program Files\\up.exe", "REG_SZ"},
      {"HKLM\\Software\\Run", "", "10:30 \"now\"", "REG_SZ"},
      {"HKLM\\System\\Select", "Current", "1", "REG_DWORD"},
      {"HKLM\\Software\\Microsoft\\Run", "-quiet", "", "REG_NONE"},
  };
  for (const auto& row : rows) {
    const std::vector<Cell> cells(std::begin(row), std::end(row));
    NewRow added;
    added.cells = cells;
    AddRow(*list, added);
  }
  return list;
}

TEST(RowFilterTest, Terms) {
  const OutputListPtr list = ListToFilter();
  const struct {
    const char* words;
    PatternForm form;
    std::vector<bool> passing;
    const char* note;
  } cases[] = {
      {"  ", kPlain, {true, true, true, true}, ""},
      {"run", kPlain, {true, true, false, true}, ""},
      {"run current", kPlain, {false, false, false, false}, ""},
      {"soft reg_sz", kPlain, {true, true, false, false}, ""},
      {"value:current", kPlain, {false, false, true, false}, ""},
      {"Key:run -value:up", kPlain, {false, true, false, true}, ""},
      {"-run", kPlain, {false, false, true, false}, ""},
      {"\"-quiet\"", kPlain, {false, false, false, true}, ""},
      {"\"program files\"", kPlain, {true, false, false, false}, ""},
      {"data:\"program files\"", kPlain, {true, false, false, false}, ""},
      {"\"\"\"now\"\"\"", kPlain, {false, true, false, false}, ""},
      {"c:\\prog", kPlain, {true, false, false, false}, ""},
      {"10:30", kPlain, {false, true, false, false}, ""},
      {"keyoffset:1", kPlain, {false, false, false, false}, ""},
      {"\"Key Offset\":", kPlain, {true, true, true, true}, ""},
      {"kye:run",
       kPlain,
       {false, false, false, false},
       "No column is called \"kye\". It is looked for as text."},
      {"key:run$ type:^reg_(sz|none)$", kRegular, {true, true, false, true}, ""},
      {"micro", kWords, {false, false, false, false}, ""},
      {"-", kPlain, {false, false, false, true}, ""},
  };
  for (const auto& c : cases) {
    RowFilter filter;
    std::string fault;
    ASSERT_TRUE(MakeRowFilter(*list, {c.words, c.form}, filter, fault)) << c.words;
    const std::atomic<bool> go{false};
    EXPECT_EQ(PassingRows(filter, *list, 0, 4, go), c.passing) << c.words;
    EXPECT_EQ(filter.note, c.note) << c.words;
  }
}

TEST(RowFilterTest, FaultsStopsAndWords) {
  const OutputListPtr list = ListToFilter();
  RowFilter filter;
  std::string fault;
  EXPECT_FALSE(MakeRowFilter(*list, {"\"Kye\":run", kPlain}, filter, fault));
  EXPECT_EQ(fault, "No column is called \"Kye\".");
  EXPECT_FALSE(MakeRowFilter(*list, {"run key:(", kRegular}, filter, fault));
  EXPECT_EQ(fault, "A ( has no ).");
  ASSERT_TRUE(MakeRowFilter(*list, {"run", kPlain}, filter, fault));
  EXPECT_EQ(fault, "");
  const std::atomic<bool> go{false};
  EXPECT_EQ(PassingRows(filter, *list, 2, 4, go), (std::vector<bool>{false, true}));
  EXPECT_TRUE(PassingRows(filter, *list, 0, 4, std::atomic<bool>{true}).empty());

  EXPECT_EQ(FilterLine({" ", kRegular}), "");
  EXPECT_EQ(FilterLine({"key:a", kPlain}), "Filter: key:a");
  EXPECT_EQ(FilterLine({"a", {true, false, true}}), "Filter: a (case, regular expressions)");
}

}  // namespace
}  // namespace hivequarry::testing
