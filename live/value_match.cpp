// Whether a value of a hive and one of the registry hold the same.
#include <algorithm>

#include "live/compare.h"
#include "words/value_text.h"

namespace hivequarry {
namespace {

constexpr size_t kSmallData = 4;  // bytes, as much as a value holds itself

bool IsText(uint32_t type) { return type == kRegSz || type == kRegExpandSz || type == kRegMultiSz; }

bool IsNumberOrBinary(uint32_t type) { return type == kRegBinary || type == kRegDword; }

bool IsSameType(const ComparedData& file, const ComparedData& live) {
  if (file.type == live.type) return true;
  return IsNumberOrBinary(file.type) && IsNumberOrBinary(live.type) &&
         file.data.size() == live.data.size();
}

// Bytes before the first zero unit; all when there is none.
size_t LengthToZero(std::span<const uint8_t> data, size_t unit) {
  for (size_t at = 0; at + unit <= data.size(); at += unit) {
    if (std::all_of(&data[at], &data[at] + unit, [](uint8_t byte) { return byte == 0; })) return at;
  }
  return data.size();
}

// The bytes that count. A list of texts may hold empty ones and counts as stored.
std::span<const uint8_t> CountedBytes(const ComparedData& value) {
  const bool to_zero = value.type == kRegSz || value.type == kRegExpandSz;
  return to_zero ? value.data.first(LengthToZero(value.data, 2)) : value.data;
}

bool IsLongerByZero(std::span<const uint8_t> longer, std::span<const uint8_t> shorter,
                    size_t unit) {
  if (longer.size() != shorter.size() + unit) return false;
  return LengthToZero(longer.last(unit), unit) == 0;
}

bool IsSameLength(std::span<const uint8_t> file, std::span<const uint8_t> live, size_t unit) {
  if (file.size() == live.size()) return true;
  for (const size_t zero : {size_t{1}, unit}) {
    if (IsLongerByZero(file, live, zero) || IsLongerByZero(live, file, zero)) return true;
  }
  // Data that a record holds itself fill its four bytes with zeros: how many of these count
  // differs.
  return file.size() <= kSmallData && LengthToZero(file, unit) == LengthToZero(live, unit);
}

}  // namespace

bool IsSameData(const ComparedData& file, const ComparedData& live) {
  if (!IsSameType(file, live)) return false;
  const std::span<const uint8_t> ours = CountedBytes(file);
  const std::span<const uint8_t> theirs = CountedBytes(live);
  if (!IsSameLength(ours, theirs, IsText(file.type) ? 2 : 1)) return false;
  // Over the file's length; what the other side lacks of it was zeros.
  const auto common = static_cast<std::ptrdiff_t>(std::min(ours.size(), theirs.size()));
  return std::equal(ours.begin(), ours.begin() + common, theirs.begin()) &&
         std::all_of(ours.begin() + common, ours.end(), [](uint8_t byte) { return byte == 0; });
}

}  // namespace hivequarry
