// What bytes of a value may mean: numbers, times, identifiers and texts that begin at a place in
// them. Which of these they are nobody says; what cannot be is left out.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace hivequarry {

// One reading of the bytes at the caret.
struct Meaning {
  std::string label;
  std::string text;  // UTF-8
};
// Of the bytes from `at` on: numbers, times, identifiers, texts, item lists and security
// descriptors. With a selection of `length` bytes those of that length alone, and texts of just
// these bytes; with 0 all that there is room for. Takes the same time however many bytes there are.
std::vector<Meaning> MeaningsAt(std::span<const uint8_t> data, size_t at, size_t length);

// What data of a type that is not the registry's own mean as a whole, a line each, cut where it is
// long; none for other types. Takes time in proportion to the data.
std::vector<Meaning> MeaningsOfAll(uint32_t type, std::span<const uint8_t> data);

// The data as a text that suits their type: each string of a list on a line of its own, a number
// with its other forms, a time where it can be one; else empty.
std::string ValueAsText(uint32_t type, std::span<const uint8_t> data);

// The end of a value's details: the strings of a list a line each, and a number of 64 bits as
// numbers and times; empty for all else.
std::string MeaningDetail(uint32_t type, std::span<const uint8_t> data);

}  // namespace hivequarry
