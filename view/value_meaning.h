// What bytes of a value may mean: numbers, times, identifiers and texts that begin at a place in
// them. Which of these they are nobody says; what cannot be is left out.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace hivequarry {

struct Meaning {
  const char* label;
  std::string text;  // UTF-8
};
// Of the bytes from `at` on. With a selection of `length` bytes numbers and identifiers of that
// length alone, and texts of just these bytes; with 0 all that there is room for.
std::vector<Meaning> MeaningsAt(std::span<const uint8_t> data, size_t at, size_t length);
// The same as lines "label: text".
std::string MeaningLines(std::span<const uint8_t> data, size_t at, size_t length);

// The data as a text that suits their type: each string of a list on a line of its own, a number
// with its other forms, a time where it can be one; else empty.
std::string ValueAsText(uint32_t type, std::span<const uint8_t> data);

// The end of a value's details: the strings of a list a line each, a number of 64 bits as numbers
// and times, and what the beginning of other bytes may mean; empty for what is shown as text or
// number anyway.
std::string MeaningDetail(uint32_t type, std::span<const uint8_t> data);

}  // namespace hivequarry
