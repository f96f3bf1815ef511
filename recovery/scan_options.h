// What a scan is asked for.
#pragma once

#include <cstdint>

namespace hivequarry {

struct HiveImage;

// Told on the scan's thread, which waits meanwhile, that the image was cut before another hive's
// root, whose image position it gets.
using OnCut = void (*)(const HiveImage& hive, uint32_t root_position);

struct ScanOptions {
  // Jump over an unrecognised allocated cell below 4096 bytes in one step, not in steps of 8.
  bool skip_small = true;
  // A name length of 0 is replaced by this when it is not 0.
  uint32_t minimum_name_length = 0;
  // The root of another hive ends the image (root_search.h). False: it is a key as any other.
  bool cut_at_other_root = true;
  OnCut on_cut = nullptr;
  // The image has neither a base block nor a single block header: a run of cells.
  bool bare_cells = false;
};

}  // namespace hivequarry
