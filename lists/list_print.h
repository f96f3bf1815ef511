// An Output List on paper. The layout is made here, in the units of the device; the device only
// measures and draws.
#pragma once

#include <cstdint>
#include <string_view>

#include "lists/list_writers.h"
#include "lists/output_list.h"

namespace hivequarry {

// One printing job, its font chosen.
struct PrintDevice {
  void* context = nullptr;
  int width = 0;   // of the page
  int height = 0;  // of the page
  // Size of a text on one line.
  int (*text_width)(void* context, std::string_view text) = nullptr;
  int (*text_height)(void* context, std::string_view text) = nullptr;
  // How many bytes of whole characters at the beginning fit into `width`.
  int (*fitting)(void* context, std::string_view text, int width) = nullptr;
  bool (*start_page)(void* context) = nullptr;
  bool (*end_page)(void* context) = nullptr;
  void (*draw)(void* context, int left, int top, std::string_view text) = nullptr;
};

// Prints the list; nothing is started for one without columns or rows to print, nor on a page whose
// printable width or height is under 200 units. Returns the number of pages; ends early when the
// device refuses or the user stops.
int PrintList(const OutputList& list, const WrittenRows& which, const PrintDevice& device);

}  // namespace hivequarry
