// The state of the hive at a glance: the figures in the band above the tree, each with what it
// leads to, and lines below them for what is to be said beyond figures. Texts are UTF-8.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "recovery/image_tree.h"
#include "view/hive_status.h"

namespace hivequarry {

// What a figure leads to.
enum class GlanceLead : uint8_t {
  kState,  // all that is known of the state
  kLogs,   // the lists
  kRoot,   // the dialog
  kKeys,
  kDisconnectedKeys,
  kDisconnectedValues,
  kFreedKeys,
  kFreedValues,
  kCheck,
};
enum class GlanceTone : uint8_t {
  kPlain,
  kMuted,  // nothing there, or not known yet
  kFound,  // something was recovered
  kWarn,   // something is wrong or missing
};
// A button of the band; `lead` says where a click goes.
struct GlancePart {
  std::string text;
  std::string tip;  // the whole of it
  GlanceLead lead = GlanceLead::kState;
  GlanceTone tone = GlanceTone::kPlain;
  std::string brief = {};  // in place of the text where that makes one row of all figures; or empty
};

// What is looked for after a load, while the user works: counts are of no use before `freed_known`
// and `checked`.
struct HiveFindings {
  bool freed_known = false;  // the search for freed records has ended
  uint64_t freed_keys = 0;
  uint64_t freed_values = 0;
  bool freed_cut = false;  // not all of the free space was searched
  bool checked = false;    // the check has ended
  HiveStructure structure;
};
// All of it is the caller's, and is looked at during the call alone.
struct GlanceFacts {
  const HiveImage& hive;
  const KeyTree& tree;
  const ImageSummary& summary;
  const HiveSurvey& survey;
  const HiveHashes& hashes;
  HashProgress hashing = HashProgress::kUnderWay;
  const HiveFindings& findings;
  bool evidence = false;  // the window is in evidence mode
};

// The figures in a row, and after them a row for each thing that is to be said.
struct HiveGlance {
  std::vector<GlancePart> figures;
  std::vector<GlancePart> notes;
};
// Made anew whenever one of the facts has changed; cheap, as it looks at no keys.
HiveGlance GlanceAt(const GlanceFacts& facts);

// The same as lines of a text, "label: words": for the details of the Workspace and of the root.
std::string GlanceLines(const GlanceFacts& facts);

// Which figures begin a new row, so that no row is wider than `room`: for their widths in order.
// One that is wider by itself has a row alone.
std::vector<bool> BreaksOf(const std::vector<int>& widths, int room);

}  // namespace hivequarry
