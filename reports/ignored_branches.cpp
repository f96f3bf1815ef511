#include "reports/ignored_branches.h"

#include "host/case.h"
#include "host/text.h"

namespace hivequarry {
namespace {

constexpr std::string_view kAnyNames = "**";

// Each "*" is tried again only from the last one on, so that the time is their product at most.
bool MatchesName(std::string_view pattern, std::string_view name) {
  size_t at = 0;
  size_t in = 0;
  // Of the last "*" that was met: where it is in the pattern, and how far it reaches in the name.
  size_t star = pattern.npos;
  size_t retry = 0;
  while (at < name.size()) {
    if (in < pattern.size() && pattern[in] == '*') {
      star = in++;
      retry = at;
    } else if (in < pattern.size() && (pattern[in] == '?' || pattern[in] == name[at])) {
      at += pattern[in] == '?' ? CharacterAt(name, at).length : 1;
      ++in;
    } else if (star != pattern.npos) {
      in = star + 1;
      at = retry += CharacterAt(name, retry).length;
    } else {
      return false;
    }
  }
  while (in < pattern.size() && pattern[in] == '*') ++in;
  return in == pattern.size();
}

// "**" may also stand for no name at all.
uint64_t WithSkipped(const IgnorePattern& pattern, uint64_t state) {
  for (size_t i = 0; i < pattern.names.size(); ++i) {
    if ((state >> i & 1) != 0 && pattern.names[i] == kAnyNames) state |= uint64_t{2} << i;
  }
  return state;
}

// The state after one more name of a path: bit i is set where i names of the pattern fit so far. A
// pattern has less than 64 names, so all ways to read "**" are kept at once.
uint64_t After(const IgnorePattern& pattern, std::string_view capitals, uint64_t state) {
  uint64_t next = 0;
  for (size_t i = 0; i < pattern.names.size(); ++i) {
    if ((state >> i & 1) == 0) continue;
    if (pattern.names[i] == kAnyNames) {
      next |= uint64_t{1} << i;
    } else if (MatchesName(pattern.names[i], capitals)) {
      next |= uint64_t{2} << i;
    }
  }
  return WithSkipped(pattern, next);
}

}  // namespace

bool ParseIgnorePattern(std::string_view text, IgnorePattern& pattern) {
  pattern.names.clear();
  if (text.starts_with('\\')) text.remove_prefix(1);
  for (;;) {
    const std::string_view name = text.substr(0, text.find('\\'));
    if (name.empty() || pattern.names.size() == kMostIgnoredNames) return false;
    pattern.names.push_back(CapitalsOfText(name));
    if (name.size() == text.size()) return true;
    text.remove_prefix(name.size() + 1);
  }
}

IgnoreState StartOfPatterns(const std::vector<IgnorePattern>& patterns) {
  IgnoreState state;
  for (const IgnorePattern& pattern : patterns) state.push_back(WithSkipped(pattern, 1));
  return state;
}

bool EnterIgnoring(const std::vector<IgnorePattern>& patterns, std::string_view capitals,
                   IgnoreState& state) {
  bool named = false;
  for (size_t i = 0; i < patterns.size(); ++i) {
    state[i] = After(patterns[i], capitals, state[i]);
    named |= (state[i] >> patterns[i].names.size() & 1) != 0;
  }
  return named;
}

}  // namespace hivequarry
