// From a loaded image to the key tree: the phases of a load.
#pragma once

#include <cstdint>

#include "hive/image.h"
#include "hive/key_tree.h"
#include "recovery/scan_options.h"

namespace hivequarry {

struct BuildOptions {
  bool disconnected_values = true;   // look for values that no list names
  bool tolerant_keys = true;         // accept keys with damaged signatures ("bad_nk")
  uint32_t minimum_name_length = 0;  // taken for keys with a name length of 0, when not 0
  std::string root_path;             // root path given by the user; empty: the automatic choice
  // Cut the image before another hive's root (root_search.h). False: further roots stay keys of
  // this tree.
  bool cut_at_other_root = true;
  OnCut on_cut = nullptr;  // may be null: nobody wants to know of a cut
  // What was collected up to a stop is shown. False: a stopped build ends at once, without a tree.
  bool show_stopped = true;
};

// For the tree alone of an image that nobody looks at: nothing is asked, values without a key are
// not looked for, and a stop leaves no tree.
inline BuildOptions TreeAlone() {
  BuildOptions options;
  options.disconnected_values = false;
  options.cut_at_other_root = false;
  options.show_stopped = false;
  return options;
}

// What a build counted. Keys are accepted key cells and keys created by repair.
// Of a stopped build the counts are those of what was collected by then.
struct ImageSummary {
  uint32_t keys = 0;
  uint32_t connected_keys = 0;
  uint32_t disconnected_keys = 0;
  uint32_t values = 0;  // value cells accepted by the scan
  uint32_t disconnected_values = 0;
  uint32_t security_records = 0;
  uint32_t bins = 0;              // headers whole pages after the first one
  uint32_t virtual_parents = 0;   // made because a child names them, or the root is lost
  uint32_t virtual_children = 0;  // because a list names them
  uint32_t virtual_siblings = 0;  // because of keys of the same list
  uint32_t list_style = 0;        // 0 undecided, 1 "lh", 2 "lf"
  bool root_made = false;         // no cell is left of the root key (root_search.h)
  bool tree_sound = true;         // as ScanTables has it
  bool stopped = false;           // by the user
};

// An image in which nothing at all was found is held against the strict check (ValidateHiveFile),
// so that its user learns why there is nothing to see.
inline bool FoundNothing(const ImageSummary& found) {
  return found.keys == 0 && found.values == 0 && found.bins == 0 && !found.stopped;
}

// Builds `tree` for a loaded image; runs on any one thread at a time, shows each phase through the
// host. A stop ends the phase under way; the phases after it still run on what was collected.
ImageSummary BuildImageTree(HiveImage& hive, const BuildOptions& options, KeyTree& tree);

}  // namespace hivequarry
