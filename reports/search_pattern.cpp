// What matches a pattern.

#include <algorithm>
#include <functional>

#include "hive/image.h"
#include "host/long_operation.h"
#include "host/number_text.h"
#include "reports/search.h"
#include "words/value_text.h"

namespace hivequarry {
namespace {

constexpr uint32_t kBinaryTwin = 0x201;  // a type of its own, yet searched as REG_BINARY
constexpr size_t kDwordDigits = 8;
constexpr size_t kStopInterval = 65536;  // bytes

// Where an attempt at `start` ends: after its last matched byte, 0 when it fails.
template <typename Same>
size_t MatchFrom(std::string_view pattern, std::span<const uint8_t> bytes, size_t start, bool wide,
                 const Same& same) {
  size_t at = start;
  for (size_t i = 0; i < pattern.size(); ++i) {
    if (wide && i != 0 && at < bytes.size() && bytes[at] == 0) ++at;
    if (at >= bytes.size() || !same(bytes[at], static_cast<uint8_t>(pattern[i]))) return 0;
    ++at;
  }
  return at;
}

template <typename Same>
size_t FindFirst(std::string_view pattern, std::span<const uint8_t> bytes, bool wide,
                 const Same& same) {
  const auto first = static_cast<uint8_t>(pattern.front());
  // An attempt begins wherever the first byte is, inside a failed one too. In data made of few
  // different bytes that takes its time.
  for (size_t start = 0; start + pattern.size() <= bytes.size(); ++start) {
    if (start % kStopInterval == kStopInterval - 1 && StopRequested()) return 0;
    if (!same(bytes[start], first)) continue;
    const size_t end = MatchFrom(pattern, bytes, start, wide, same);
    if (end != 0) return end + 1;
  }
  return 0;
}

bool IsWhole(const SearchPattern& pattern, std::span<const uint8_t> bytes) {
  return bytes.size() == pattern.bytes.size();
}

// Bytes that are no text: the whole length must be the pattern's when it is to match.
bool MatchBytes(const SearchPattern& pattern, std::span<const uint8_t> bytes) {
  if (pattern.settings.match_length && !IsWhole(pattern, bytes)) return false;
  return FindBytes(pattern, bytes, pattern.settings.wide, pattern.settings.match_case) != 0;
}

bool MatchStringData(const SearchPattern& pattern, uint32_t type, std::span<const uint8_t> data) {
  if (!pattern.settings.hex_mode) return MatchText(pattern, DataText(type, data));
  if (pattern.settings.match_length && !IsWhole(pattern, data)) return false;
  return FindExactly(pattern, data);
}

bool MatchDword(const SearchPattern& pattern, std::span<const uint8_t> data) {
  const std::string& bytes = pattern.bytes;
  if (bytes.size() != 4 || data.size() < bytes.size()) return false;
  return std::ranges::equal(data.first(bytes.size()), bytes, {}, {},
                            [](char c) { return static_cast<uint8_t>(c); });
}

std::span<const uint8_t> BytesOf(std::string_view text) {
  return {reinterpret_cast<const uint8_t*>(text.data()), text.size()};
}

// Settings that mean nothing in the chosen mode, set right.
// `digits`: those of the pattern.
SearchSettings Effective(SearchSettings settings, size_t digits) {
  settings.dword = settings.dword && settings.hex_mode && digits == kDwordDigits;
  settings.wide = settings.wide && !settings.hex_mode;
  return settings;
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
  pattern.fold = CurrentCapitals();
  pattern.bytes = settings.hex_mode ? TextOfHex(hex.digits) : settings.text;
  if (!settings.hex_mode && !settings.match_case) {
    pattern.bytes = Capitals(pattern.fold, pattern.bytes);
  }
  if (pattern.settings.dword) std::ranges::reverse(pattern.bytes);
  return !pattern.bytes.empty();
}

std::string HexOfText(std::string_view text) {
  std::string hex;
  for (const uint8_t byte : BytesOf(text))
    hex += {kUpperDigits[byte >> 4], kUpperDigits[byte & 15]};
  return hex;
}

std::string TextOfHex(std::string_view hex) {
  std::string text;
  for (size_t i = 0; i + 1 < hex.size(); i += 2) {
    text.push_back(static_cast<char>(DigitOf(hex[i]) << 4 | DigitOf(hex[i + 1])));
  }
  return text;
}

bool MatchText(const SearchPattern& pattern, std::string_view candidate) {
  // A second terminator is no part of a text.
  if (pattern.settings.match_length && candidate.ends_with('\0')) candidate.remove_suffix(1);
  const std::span<const uint8_t> bytes = BytesOf(candidate);
  if (pattern.settings.match_length && !IsWhole(pattern, bytes)) return false;
  return FindBytes(pattern, bytes, false, pattern.settings.match_case) != 0;
}

bool FindExactly(const SearchPattern& pattern, std::span<const uint8_t> bytes) {
  return FindBytes(pattern, bytes, false, true) != 0;
}

bool MatchName(const SearchPattern& pattern, std::string_view name) {
  return pattern.settings.hex_mode ? FindExactly(pattern, BytesOf(name)) : MatchText(pattern, name);
}

size_t FindBytes(const SearchPattern& pattern, std::span<const uint8_t> bytes, bool wide,
                 bool match_case) {
  if (pattern.bytes.empty() || pattern.bytes.size() > bytes.size()) return 0;
  if (match_case) return FindFirst(pattern.bytes, bytes, wide, std::equal_to<uint8_t>());
  const CaseTable& fold = pattern.fold;
  return FindFirst(pattern.bytes, bytes, wide,
                   [&fold](uint8_t a, uint8_t b) { return fold[a] == fold[b]; });
}

bool MatchData(const SearchPattern& pattern, uint32_t type, std::span<const uint8_t> data) {
  if (type == kBinaryTwin) type = kRegBinary;
  if (pattern.settings.dword) return type == kRegDword && MatchDword(pattern, data);
  switch (type) {
    case kRegDword:
      return false;
    case kRegSz:
    case kRegExpandSz:
      return MatchStringData(pattern, type, data);
    case kRegMultiSz:
      return MatchBytes(pattern, BytesOf(DataText(type, data)));
    default:
      return MatchBytes(pattern, data);
  }
}

}  // namespace hivequarry
