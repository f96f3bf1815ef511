// A pattern that texts are held against: a text as it is, or a regular expression. Both become one
// automaton over the bytes of UTF-8, whose states are made as texts ask for them: a text is read
// once from its beginning to its end, whatever the pattern, and nothing recurses over it.
#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <string_view>

namespace hivequarry {

// All three may be combined.
struct PatternForm {
  bool match_case = false;   // false: capital and small letters alike, by the system's table
  bool whole_words = false;  // no letter, digit, "_" or character beyond ASCII is right beside it
  bool regular = false;      // the text is a regular expression
};

struct TextPattern;
// So that a pattern can be kept where its type is not known.
struct TextPatternDeleter {
  void operator()(TextPattern* pattern) const;
};
using TextPatternPtr = std::unique_ptr<TextPattern, TextPatternDeleter>;

// Null for an expression that is wrong or too large; `fault` says what is wrong with it, a sentence
// for the user. An empty text is found in every text.
TextPatternPtr MakeTextPattern(std::string_view text, const PatternForm& form, std::string& fault);

// Whether the text holds it. The pattern remembers the states that it made, at most a few MB, so
// that each thread needs one of its own. `stop` (may be null) ends a look that takes long: false
// then.
bool HoldsPattern(TextPattern& pattern, std::string_view text,
                  const std::atomic<bool>* stop = nullptr);

}  // namespace hivequarry
