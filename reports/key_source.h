// Keys to report on, one after another, wherever they come from: a branch of a hive, or one of the
// live registry. What reports and searches that work on both are made on.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "hive/key_tree.h"

namespace hivequarry {

struct SourceKey {
  std::string path;  // root included; names are appended while it stays below kPathLimit
  std::string name;
  uint32_t level = 1;             // of the starting key
  uint64_t last_write = 0;        // FILETIME, UTC; 0 when unknown
  uint32_t position = kNoOffset;  // image position; none in the live registry
  std::string error;      // why the key can't be read ("Access denied"); it has no values then
  std::string utf8_path;  // lossless, given when `path` lost something
};
struct SourceValue {
  std::string name;  // code-page text; empty for the default value
  uint32_t type = 0;
  std::span<const uint8_t> data;  // whole; valid until the next call
  bool read = false;              // false: the data could not be read
  std::string text;  // as lists show it: the data's display text, or why there are none
  uint32_t position = kNoOffset;
  std::string utf8_name;  // lossless, given when `name` lost something
};

class KeySource {
 public:
  virtual ~KeySource() = default;
  // The next key, each before its children; false at the end, or when the user stops.
  virtual bool NextKey(SourceKey& key) = 0;
  // The key given last keeps its children to itself.
  virtual void SkipChildren() = 0;
  // The next value of that key.
  virtual bool NextValue(SourceValue& value) = 0;
  // The last write of any key of the same hive, by path; 0 where that isn't known. Asking for many
  // subkeys of one key is cheap.
  virtual uint64_t LastWriteOf(std::string_view) { return 0; }
  // Of a position: as the file counts.
  virtual uint32_t ShownPosition(uint32_t position) const { return position; }
};

// The keys of a hive from `item` down as displayed, in display order.
std::unique_ptr<KeySource> KeysOfHive(const HiveImage& hive, const KeyTree& tree, uint32_t item);

}  // namespace hivequarry
