#include "host/sort_by_keys.h"

#include <algorithm>
#include <array>
#include <bit>
#include <utility>

namespace hivequarry {
namespace {

// Six digits make 64 bits; the counters of one fit into a processor's nearest memory.
constexpr unsigned kDigitBits = 11;
constexpr size_t kDigits = size_t{1} << kDigitBits;
constexpr size_t kFew = 256;  // for which counting digits takes longer than comparing

// By one digit of the keys less `least`.
void SortByDigit(const std::vector<SortPlace>& places, uint64_t least, unsigned shift,
                 std::vector<SortPlace>& sorted) {
  const auto digit_of = [least, shift](const SortPlace& place) {
    return (place.key - least) >> shift & (kDigits - 1);
  };
  std::array<size_t, kDigits> next{};
  for (const SortPlace& place : places) ++next[digit_of(place)];
  size_t start = 0;
  for (size_t& count : next) start += std::exchange(count, start);
  for (const SortPlace& place : places) sorted[next[digit_of(place)]++] = place;
}

}  // namespace

void SortPlaces(std::vector<SortPlace>& places) {
  if (std::ranges::is_sorted(places, {}, &SortPlace::key)) return;
  if (places.size() < kFew) {
    std::ranges::stable_sort(places, {}, &SortPlace::key);
    return;
  }
  const auto [least, most] = std::ranges::minmax(places, {}, &SortPlace::key);
  const unsigned bits = static_cast<unsigned>(std::bit_width(most.key - least.key));
  std::vector<SortPlace> sorted(places.size());
  for (unsigned shift = 0; shift < bits; shift += kDigitBits) {
    SortByDigit(places, least.key, shift, sorted);
    places.swap(sorted);
  }
}

}  // namespace hivequarry
