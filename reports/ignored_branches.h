// Branches that a comparison is not to heed, by patterns of their paths.
//
// A pattern is names with backslashes between them, from the key on that the comparison begins
// with. In a name "*" stands for any characters and "?" for one, whatever their case; "**" alone
// stands for any number of names. What is below a key that a pattern names goes with it.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace hivequarry {

// At most kMostIgnoredNames: a bit for each in IgnoreState, and one more for the start.
struct IgnorePattern {
  std::vector<std::string> names;  // in capitals
};
// False for a text without names, with an empty one, or with more than kMostIgnoredNames.
inline constexpr size_t kMostIgnoredNames = 63;
bool ParseIgnorePattern(std::string_view text, IgnorePattern& pattern);

// How far a path has come in each pattern: bit n says that the first n names stand for it. A
// number for each pattern, in their order.
using IgnoreState = std::vector<uint64_t>;
// Of the key that the comparison begins with.
IgnoreState StartOfPatterns(const std::vector<IgnorePattern>& patterns);
// Goes on to a child by its name in capitals. True when a pattern names it.
// Linear in the patterns' names; the state is changed, so callers keep that of the key above.
bool EnterIgnoring(const std::vector<IgnorePattern>& patterns, std::string_view capitals,
                   IgnoreState& state);

}  // namespace hivequarry
