// What matches a pattern.

#include <algorithm>
#include <functional>

#include "bytes/byte_view.h"
#include "hive/image.h"
#include "host/case.h"
#include "host/host.h"
#include "host/long_operation.h"
#include "host/number_text.h"
#include "host/text.h"
#include "reports/search.h"
#include "words/value_text.h"

namespace hivequarry {
namespace {

constexpr uint32_t kBinaryTwin = 0x201;  // a type of its own, yet searched as REG_BINARY
constexpr size_t kDwordDigits = 8;
constexpr size_t kStopInterval = 65536;  // bytes

// Position after the first place where `size` things from it on are the pattern's, plus one. An
// attempt begins wherever the first one is, inside a failed one too. In data made of few different
// bytes that takes its time.
template <typename BeginsAt, typename StandsAt>
size_t FindPlace(size_t length, size_t size, const BeginsAt& begins, const StandsAt& stands) {
  for (size_t start = 0; start + size <= length; ++start) {
    if (start % kStopInterval == kStopInterval - 1 && StopRequested()) return 0;
    if (begins(start) && stands(start)) return start + size + 1;
  }
  return 0;
}

// Where the first run is whose bytes are all the same as the pattern's by `same`; npos for none.
// Not for an empty pattern.
template <typename Same>
size_t FindRun(std::string_view pattern, std::span<const uint8_t> bytes, const Same& same) {
  const auto equal = [&](size_t at, size_t i) {
    return same(bytes[at], static_cast<uint8_t>(pattern[i]));
  };
  return FindPlace(
      bytes.size(), pattern.size(), [&](size_t start) { return equal(start, 0); },
      [&](size_t start) {
        size_t i = 1;
        while (i < pattern.size() && equal(start + i, i)) ++i;
        return i == pattern.size();
      });
}

// UTF-16 text may begin at any byte.
// So the cost is that of twice the bytes; one past the first place, or 0 for none.
size_t FindUnits(const SearchPattern& pattern, std::span<const uint8_t> bytes, bool match_case) {
  const std::u16string& units = pattern.units;
  if (units.empty()) return 0;
  const auto equal = [&](size_t at, size_t i) {
    const char16_t unit = LoadU16(bytes.data() + at);
    return unit == units[i] || (!match_case && CapitalOf(unit) == units[i]);
  };
  return FindPlace(
      bytes.size(), 2 * units.size(), [&](size_t start) { return equal(start, 0); },
      [&](size_t start) {
        size_t i = 1;
        while (i < units.size() && equal(start + 2 * i, i)) ++i;
        return i == units.size();
      });
}

bool IsWhole(const SearchPattern& pattern, std::span<const uint8_t> bytes) {
  const bool wide = pattern.settings.wide && bytes.size() == 2 * pattern.units.size();
  return wide || bytes.size() == pattern.bytes.size();
}

// The bytes as characters of the code page, or as UTF-16 that may begin at any byte.
bool HoldsForm(const SearchPattern& pattern, std::span<const uint8_t> bytes) {
  const std::string_view chars(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  if (HoldsPattern(*pattern.form, TextOfCodePage(chars))) return true;
  for (size_t from = 0; pattern.settings.wide && from < std::min<size_t>(bytes.size(), 2); ++from) {
    std::u16string units((bytes.size() - from) / 2, u'\0');
    for (size_t i = 0; i < units.size(); ++i) units[i] = LoadU16(bytes.data() + from + 2 * i);
    if (HoldsPattern(*pattern.form, TextOfWide(units))) return true;
  }
  return false;
}

// Bytes that are no text: the whole length must be the pattern's when it is to match.
bool MatchBytes(const SearchPattern& pattern, std::span<const uint8_t> bytes) {
  if (pattern.form != nullptr) return HoldsForm(pattern, bytes);
  if (pattern.settings.match_length && !IsWhole(pattern, bytes)) return false;
  return FindBytes(pattern, bytes, pattern.settings.wide, pattern.settings.match_case) != 0;
}

// In texts the shown form is searched, in hexadecimal mode the stored bytes.
bool MatchStringData(const SearchPattern& pattern, uint32_t type, std::span<const uint8_t> data) {
  if (!pattern.settings.hex_mode) return MatchText(pattern, DataText(type, data));
  if (pattern.settings.match_length && !IsWhole(pattern, data)) return false;
  return FindExactly(pattern, data);
}

// Each string by itself. Bytes are looked for in the text as a script has it.
bool MatchStrings(const SearchPattern& pattern, std::span<const uint8_t> data) {
  if (pattern.settings.hex_mode) {
    const std::string bytes = CodePageOfText(DataText(kRegMultiSz, data));
    return MatchBytes(pattern, TextBytes(bytes));
  }
  const std::string strings = DataText(kRegMultiSz, data, true);
  std::string_view rest = strings;
  while (!rest.empty()) {
    const size_t end = std::min(rest.find('\0'), rest.size());
    if (MatchText(pattern, rest.substr(0, end))) return true;
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
  return false;
}

// The pattern's bytes were turned round once, so that it is written as the number is.
bool MatchDword(const SearchPattern& pattern, std::span<const uint8_t> data) {
  const std::string& bytes = pattern.bytes;
  if (bytes.size() != 4 || data.size() < bytes.size()) return false;
  return std::ranges::equal(data.first(bytes.size()), bytes, {}, {},
                            [](char c) { return static_cast<uint8_t>(c); });
}

// Settings that mean nothing in the chosen mode, set right. `digits`: those of the pattern.
SearchSettings Effective(SearchSettings settings, size_t digits) {
  settings.dword = settings.dword && settings.hex_mode && digits == kDwordDigits;
  settings.wide = settings.wide && !settings.hex_mode;
  settings.regular = settings.regular && !settings.hex_mode;
  // A whole name has nothing beside it.
  settings.whole_words = settings.whole_words && !settings.hex_mode && !settings.match_length;
  return settings;
}

// False for an expression with a fault.
bool CompileForm(const SearchSettings& settings, SearchPattern& pattern) {
  const PatternForm form = {settings.match_case, settings.whole_words, settings.regular};
  pattern.form = MakeTextPattern(settings.text, form, pattern.fault);
  if (pattern.form == nullptr) return false;
  if (!settings.regular) return true;
  if (settings.match_length) {
    pattern.form = MakeTextPattern("^(?:" + settings.text + ")$", form, pattern.fault);
  }
  // There is no text that every hit holds.
  pattern.text.clear();
  pattern.units.clear();
  pattern.bytes.clear();
  return pattern.form != nullptr;
}

// What is looked for in texts, and in bytes that are none.
void CompileText(const SearchSettings& settings, SearchPattern& pattern) {
  pattern.text = settings.match_case ? settings.text : CapitalsOfText(settings.text);
  pattern.plain = IsAscii(pattern.text);
  pattern.units = WideOfText(pattern.text);
  if (!FitsCodePage(settings.text)) return;
  pattern.bytes = CodePageOfText(settings.text);
  if (settings.match_case) return;
  for (char& byte : pattern.bytes)
    byte = static_cast<char>(pattern.fold[static_cast<uint8_t>(byte)]);
}

}  // namespace

HexPattern HexPatternOf(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r\n";
  HexPattern pattern;
  while (true) {
    text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
    if (text.empty()) return pattern;
    std::string_view group = text.substr(0, text.find_first_of(kBlanks));
    text.remove_prefix(group.size());
    if (group.starts_with("0x") || group.starts_with("0X")) group.remove_prefix(2);
    pattern.digits += group;
    if (group.empty() || !std::ranges::all_of(group, [](char c) { return DigitOf(c) < 16; })) {
      pattern.fault = HexFault::kNoDigits;
    } else if (group.size() % 2 != 0 && pattern.fault == HexFault::kNone) {
      pattern.fault = HexFault::kOdd;
    }
  }
}

const char* HexFaultText(HexFault fault) {
  if (fault == HexFault::kNone) return "";
  return fault == HexFault::kOdd ? "Hex String must have even length !"
                                 : "Hex String must have the digits 0 to 9 and A to F only !";
}

bool CompilePattern(const SearchSettings& settings, SearchPattern& pattern) {
  if (!settings.key_names && !settings.value_names && !settings.value_data) return false;
  HexPattern hex;
  if (settings.hex_mode) hex = HexPatternOf(settings.hex);
  if (hex.fault != HexFault::kNone) return false;
  pattern.settings = Effective(settings, hex.digits.size());
  pattern.fold = CapitalsOf(*CurrentHost().code_page);
  pattern.text.clear();
  pattern.units.clear();
  pattern.bytes.clear();
  pattern.form = nullptr;
  pattern.fault.clear();
  // Without a text everything is found that has a size or a time as asked for.
  pattern.everything = (settings.hex_mode ? hex.digits : settings.text).empty();
  if (pattern.everything) return settings.limits.sized() || settings.limits.timed();
  if (!settings.hex_mode) {
    CompileText(settings, pattern);
    const bool formed = pattern.settings.regular || pattern.settings.whole_words;
    return formed ? CompileForm(pattern.settings, pattern) : !pattern.text.empty();
  }
  pattern.bytes = BytesOfHex(hex.digits);
  // A number is typed as it is read, and stored with its lowest byte first.
  if (pattern.settings.dword) std::ranges::reverse(pattern.bytes);
  return !pattern.bytes.empty();
}

std::string HexOfText(std::string_view text) {
  std::string bytes;
  if (FitsCodePage(text)) {
    bytes = CodePageOfText(text);
  } else {
    for (const char16_t unit : WideOfText(text)) {
      bytes += {static_cast<char>(unit & 0xFF), static_cast<char>(unit >> 8)};
    }
  }
  std::string hex;
  for (const uint8_t byte : TextBytes(bytes)) {
    hex += {kUpperDigits[byte >> 4], kUpperDigits[byte & 15]};
  }
  return hex;
}

std::string BytesOfHex(std::string_view hex) {
  std::string bytes;
  for (size_t i = 0; i + 1 < hex.size(); i += 2) {
    bytes.push_back(static_cast<char>(DigitOf(hex[i]) << 4 | DigitOf(hex[i + 1])));
  }
  return bytes;
}

std::string TextOfHex(std::string_view hex) { return TextOfCodePage(BytesOfHex(hex)); }

bool MatchText(const SearchPattern& pattern, std::string_view candidate) {
  const SearchSettings& asked = pattern.settings;
  // A second terminator is no part of a text.
  if (asked.match_length && candidate.ends_with('\0')) candidate.remove_suffix(1);
  if (pattern.form != nullptr) return HoldsPattern(*pattern.form, candidate);
  const bool plain = IsAscii(candidate);
  // Capitals of ASCII are ASCII: none has the pattern's other characters.
  if (!pattern.plain && plain) return false;
  std::string capitals;
  if (!pattern.plain && !asked.match_case) {
    capitals = CapitalsOfText(candidate);
    candidate = capitals;
  }
  if (asked.match_length && candidate.size() != pattern.text.size()) return false;
  const bool folded = asked.match_case || !pattern.plain;
  const auto text = TextBytes(candidate);
  if (folded) return candidate.find(pattern.text) != candidate.npos;
  // ASCII letters have no other small letters than their own.
  return FindRun(pattern.text, text, [](uint8_t a, uint8_t b) {
           return (a >= 'a' && a <= 'z' ? a - 32 : a) == b;
         }) != 0;
}

bool FindExactly(const SearchPattern& pattern, std::span<const uint8_t> bytes) {
  return FindBytes(pattern, bytes, false, true) != 0;
}

bool MatchName(const SearchPattern& pattern, std::string_view name) {
  if (pattern.everything) return true;
  if (!pattern.settings.hex_mode) return MatchText(pattern, name);
  return FindExactly(pattern, TextBytes(CodePageOfText(name)));
}

size_t FindBytes(const SearchPattern& pattern, std::span<const uint8_t> bytes, bool wide,
                 bool match_case) {
  size_t found = 0;
  if (!pattern.bytes.empty() && match_case) {
    found = FindRun(pattern.bytes, bytes, std::equal_to<uint8_t>());
  } else if (!pattern.bytes.empty()) {
    const CaseTable& fold = pattern.fold;
    found =
        FindRun(pattern.bytes, bytes, [&fold](uint8_t a, uint8_t b) { return fold[a] == fold[b]; });
  }
  return found == 0 && wide ? FindUnits(pattern, bytes, match_case) : found;
}

bool MatchData(const SearchPattern& pattern, uint32_t type, std::span<const uint8_t> data) {
  if (pattern.everything) return true;
  if (type == kBinaryTwin) type = kRegBinary;
  if (pattern.settings.dword) return type == kRegDword && MatchDword(pattern, data);
  switch (type) {
    case kRegDword:
      return false;
    case kRegSz:
    case kRegExpandSz:
      return MatchStringData(pattern, type, data);
    case kRegMultiSz:
      return MatchStrings(pattern, data);
    default:
      return MatchBytes(pattern, data);
  }
}

bool MayBeHit(const SearchLimits& limits, uint64_t last_write) {
  const bool in_time =
      !limits.timed() || (last_write != 0 && last_write >= limits.from && last_write <= limits.to);
  return in_time && !limits.sized();
}

bool MayBeHit(const SearchLimits& limits, uint64_t last_write, uint32_t data_length) {
  SearchLimits time = limits;
  time.least = 0;
  time.most = UINT32_MAX;
  return MayBeHit(time, last_write) && data_length >= limits.least && data_length <= limits.most;
}

}  // namespace hivequarry
