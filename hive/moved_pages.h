// Pages of a hive that are where other pages belong: changed with each other, or written over
// others. Told by what the rest of the hive names in them, and by their headers where they have
// one.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace hivequarry {

// How what trusted pages (those in which most is found that others look for) name in a stretch
// agrees with what is there.
struct PageFit {
  uint32_t asked = 0;  // references into it
  uint32_t held = 0;   // of those, the ones that find what they need
};

// The pages of an image: as offsets count, from the first whole one on.
struct Pages {
  uint32_t distance = 0;  // position less offset, of all that is in place
  uint32_t first = 0;     // position of page 0
  uint32_t own = 0;       // pages that belong there, from page 0 on; the last may be cut short
  uint32_t count = 0;     // with those that were put in, which belong anywhere or nowhere
};
// The pages of `length` bytes, `own_length` of which are in place.
// `length` counts all bytes held, `own_length` those up to the end of the hive's own.
Pages PagesOf(uint32_t distance, uint32_t own_length, uint32_t length);

// Page numbers count from Pages::first.
struct PageMoves {
  static constexpr uint32_t kNothing = 0xFFFFFFFF;
  struct Copy {
    uint32_t page = 0;
    uint32_t twin = 0;
  };
  bool any = false;
  std::vector<uint32_t> source;  // by own page: the page with its content; kNothing: lost
  std::vector<Copy> copies;      // pages that hold another one's content, which is in its place
};
// Nothing is moved here: the caller puts the image together anew. A page gets one place and a place
// one page; the pairs with the most evidence are settled first, and a page with as much evidence
// for two places stays where it is. Ends early when the user stops.
PageMoves FindPageMoves(std::span<const uint8_t> bytes, const Pages& pages);

// How each own page fits where it is.
// One for each own page, in their order. Costs a pass over the image for its references.
std::vector<PageFit> FitPages(std::span<const uint8_t> bytes, const Pages& pages);

}  // namespace hivequarry
