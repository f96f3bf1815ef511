#include "security/sid.h"

#include <algorithm>

#include "hive/image.h"
#include "host/number_text.h"

namespace hivequarry {
namespace {

// There is one revision, and a SID has at most 15 sub-authorities: what says otherwise is none.
constexpr uint8_t kSidRevision = 1;
constexpr uint8_t kMostSubAuthorities = 15;
// As the system's own function counts the characters that it needs: a little more than the text
// takes.
constexpr uint32_t kRoomPerSubAuthority = 12;
constexpr uint32_t kRoomBesides = 28;

uint32_t LoadU32BigEndian(const uint8_t* bytes) {
  return uint32_t{bytes[0]} << 24 | uint32_t{bytes[1]} << 16 | uint32_t{bytes[2]} << 8 | bytes[3];
}

// Nearly all authorities fit in 32 bits and are written as such.
std::string AuthorityText(const uint8_t* bytes) {
  if (bytes[0] == 0 && bytes[1] == 0) return std::to_string(LoadU32BigEndian(bytes + 2));
  const uint64_t high = uint64_t{bytes[0]} << 8 | bytes[1];
  return Concat({"0x", SmallHex(high << 32 | LoadU32BigEndian(bytes + 2), 12)});
}

// The number at the start of `text`, which moves after it; false where there is none.
bool ParseNumber(std::string_view& text, uint32_t base, uint64_t& number) {
  const size_t most = std::min<size_t>(text.size(), 12);  // digits of the longest number, and more
  size_t length = 0;
  number = 0;
  for (; length < most; ++length) {
    const uint32_t digit = DigitOf(text[length]);
    if (digit >= base) break;
    number = number * base + digit;
  }
  text.remove_prefix(length);
  return length > 0;
}

// Six bytes, highest first, decimal or "0x" as systems write larger ones.
bool ParseAuthority(std::string_view& text, std::vector<uint8_t>& sid) {
  const bool wide = text.starts_with("0x");
  if (wide) text.remove_prefix(2);
  uint64_t authority = 0;
  if (!ParseNumber(text, wide ? 16 : 10, authority)) return false;
  for (int shift = 40; shift >= 0; shift -= 8) {
    sid.push_back(static_cast<uint8_t>(authority >> shift & 0xFF));
  }
  return true;
}

// "-" and a number, four bytes, lowest first.
bool ParseSubAuthority(std::string_view& text, std::vector<uint8_t>& sid) {
  uint64_t number = 0;
  if (!text.starts_with('-')) return false;
  text.remove_prefix(1);
  if (!ParseNumber(text, 10, number)) return false;
  for (int shift = 0; shift < 32; shift += 8) {
    sid.push_back(static_cast<uint8_t>(number >> shift & 0xFF));
  }
  return true;
}

}  // namespace

// Layout: revision, number of sub-authorities, authority (48 bits, highest byte first), then the
// sub-authorities (32 bits each, lowest byte first).
size_t SidLength(std::span<const uint8_t> bytes) {
  // The upper half of the revision byte is not looked at, as the system does not.
  if (bytes.size() < kSidHeader || (bytes[0] & 0x0F) != kSidRevision) return 0;
  const size_t length = kSidHeader + 4 * size_t{bytes[1]};
  return bytes[1] > kMostSubAuthorities || length > bytes.size() ? 0 : length;
}

bool SidToText(std::span<const uint8_t> bytes, uint32_t& capacity, std::string& text) {
  text.clear();
  const size_t length = SidLength(bytes);
  if (length == 0) return false;
  const uint32_t room = kRoomPerSubAuthority * bytes[1] + kRoomBesides;
  if (capacity < room) {
    capacity = room;
    return false;
  }
  text = "S-1-" + AuthorityText(bytes.data() + 2);
  for (size_t at = kSidHeader; at < length; at += 4) {
    text += '-';
    text += std::to_string(LoadU32(bytes.data() + at));
  }
  return true;
}

std::string SidText(std::span<const uint8_t> bytes) {
  uint32_t capacity = kSidTextRoom;
  std::string text;
  SidToText(bytes, capacity, text);
  return text;
}

// Only a text that SidText gives back is one, so that each SID has one text.
std::vector<uint8_t> SidOfText(std::string_view text) {
  constexpr std::string_view kStart = "S-1-";
  if (!text.starts_with(kStart)) return {};
  std::string_view rest = text.substr(kStart.size());
  std::vector<uint8_t> sid = {kSidRevision, 0};
  bool whole = ParseAuthority(rest, sid);
  while (whole && !rest.empty() && sid[1] < kMostSubAuthorities) {
    whole = ParseSubAuthority(rest, sid);
    ++sid[1];
  }
  // Leading zeros, numbers that are too large and the like are no text of a SID.
  return whole && rest.empty() && SidText(sid) == text ? sid : std::vector<uint8_t>();
}

}  // namespace hivequarry
