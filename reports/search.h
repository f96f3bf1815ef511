// Searching a loaded hive: key names, value names and value data that hold a pattern.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "hive/key_tree.h"
#include "hive/values.h"
#include "host/case.h"
#include "lists/output_list.h"
#include "lists/text_pattern.h"

namespace hivequarry {

inline constexpr size_t kMaxPattern = 140;        // characters of either field
inline constexpr uint32_t kMaxSearchDepth = 384;  // keys at this level or deeper aren't examined

// What a hit must be besides holding the pattern. Values have the time of their key; those of which
// no key is known have none, and are hits only where no time is asked for.
struct SearchLimits {
  uint32_t least = 0;          // bytes of a value's data; of these limits keys are no hits
  uint32_t most = UINT32_MAX;  // included
  uint64_t from = 0;           // last write of a key, FILETIME, both included
  uint64_t to = UINT64_MAX;
  // Whether the limits leave anything out, by size and by time.
  bool sized() const { return least != 0 || most != UINT32_MAX; }
  bool timed() const { return from != 0 || to != UINT64_MAX; }
};

// What the user asks for; kept from one search to the next.
struct SearchSettings {
  std::string text;
  std::string hex;            // the same pattern as hexadecimal digits, as HexPatternOf takes them
  bool hex_mode = false;      // `hex` is the pattern, not `text`
  bool match_case = false;    // holds in hex mode too, for binary and other data
  bool match_length = false;  // the whole name or data must equal the pattern
  bool dword = false;         // hex mode with 8 digits: a number; REG_DWORD data alone is searched
  bool wide = false;          // text mode: in binary data UTF-16 text is found too
  bool key_names = false;
  bool value_names = false;
  bool value_data = false;
  bool freed = false;        // of a hive: freed records too (freed_find.h)
  bool regular = false;      // text mode: a regular expression (lists/text_pattern.h)
  bool whole_words = false;  // text mode: nothing of a word is right beside it
  SearchLimits limits;
};

// A pattern ready to be searched for, by one thread. Text is compared by its characters; bytes that
// are no text are searched for the pattern's bytes in the code page, or as UTF-16.
struct SearchPattern {
  std::string text;    // in capitals unless the search heeds case; empty in hex mode
  bool plain = false;  // the text is ASCII
  std::string bytes;  // those of the digits, or of the text in the code page; empty if it lacks one
  std::u16string units;  // of the text
  SearchSettings settings;
  std::shared_ptr<TextPattern> form;  // of words and expressions; null for a text as it is
  bool everything = false;            // no pattern: whatever is within the limits
  std::string fault;                  // what is wrong with an expression, a sentence
  CaseTable fold{};                   // of each byte of the code page: the letters' capitals
};
// Pairs of hexadecimal digits, with blanks between them and "0x" before any of them or not.
enum class HexFault : uint8_t { kNone, kNoDigits, kOdd };
struct HexPattern {
  std::string digits;  // without blanks and prefixes
  HexFault fault = HexFault::kNone;
};
HexPattern HexPatternOf(std::string_view text);
// What to tell the user of it, empty for no fault.
const char* HexFaultText(HexFault fault);

// False for an empty pattern without limits, one that has a fault, or no field to search.
// A pattern may be used for any number of searches, by one thread at a time.
bool CompilePattern(const SearchSettings& settings, SearchPattern& pattern);

// Text and digits of the two fields from one another: the text's bytes in the code page, or in
// UTF-16 where that lacks a character. Any character stands for a digit's value as the fields'
// rules have it.
std::string HexOfText(std::string_view text);
std::string BytesOfHex(std::string_view hex);
std::string TextOfHex(std::string_view hex);

// A name or text against a text-mode pattern: held in it, or equal to it where the
// pattern asks for the length.
bool MatchText(const SearchPattern& pattern, std::string_view candidate);
// Position after the match, plus one; 0 for none. `wide`: also as UTF-16.
size_t FindBytes(const SearchPattern& pattern, std::span<const uint8_t> bytes, bool wide,
                 bool match_case);
// The same in any place, case and all.
bool FindExactly(const SearchPattern& pattern, std::span<const uint8_t> bytes);
// A displayed name against the pattern, in either mode.
bool MatchName(const SearchPattern& pattern, std::string_view name);
// Data of a type against the pattern.
bool MatchData(const SearchPattern& pattern, uint32_t type, std::span<const uint8_t> data);

// An empty list of results; with `details` it has two columns more, "File Offset" and "Details".
// Freed records add a last one (freed_find.h).
OutputListPtr MakeSearchList(bool details);

// Whether the limits allow a hit: a key, or a value with so many bytes of data. `last_write`: of
// the key, 0 where none is known.
bool MayBeHit(const SearchLimits& limits, uint64_t last_write);
bool MayBeHit(const SearchLimits& limits, uint64_t last_write, uint32_t data_length);

// The keys from `item` down, each before its children; a row for each key whose name matches and
// for each value whose name or data do. Below the root, or from their folder itself, the values
// that no key lists come last; their rows have the folder's path and no key offset. Datum: position
// of the key or value. Returns false when keys were too deep to be examined. Ends early when the
// user stops.
bool SearchBranch(const HiveImage& hive, const KeyTree& tree, uint32_t item,
                  const SearchPattern& pattern, OutputList& list);

}  // namespace hivequarry
