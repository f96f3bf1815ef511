// Keys to report on, one after another, wherever they come from: a branch of a hive, or one of the
// live registry. What reports and searches that work on both are made on.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "hive/key_tree.h"

namespace hivequarry {

// A key as reports see it. Texts are the caller's own.
struct SourceKey {
  std::string path;  // root included; as lists show it (ItemPath)
  std::string name;
  uint32_t level = 1;             // the starting key's is 1, for those that ask for no other
  uint64_t last_write = 0;        // FILETIME, UTC; 0 when unknown
  uint32_t position = kNoOffset;  // image position; none in the live registry
  std::string error;        // why the key can't be read ("Access denied"); it has no values then
  std::string stored_path;  // as stored, where `path` has a name otherwise
};
// A value as reports see it. Texts are the caller's own, `data` is not.
struct SourceValue {
  std::string name;               // as stored; empty for the default value
  uint32_t type = 0;              // as stored
  std::span<const uint8_t> data;  // whole; valid until the next call
  bool read = false;              // false: the data could not be read
  std::string text;  // as lists show it: the data's display text, or why there are none
  uint32_t position = kNoOffset;  // of the record; none in the live registry
  std::string shown_name;         // as lists show it
  std::string stored_name;        // `name`, where it is shown otherwise
};

// A walk over keys that goes forwards alone. Used by one thread. A key that can't be read is given
// with its error, and the walk goes on after it.
class KeySource {
 public:
  // Whoever made the source ends it; keys and values that were given stay but for
  // SourceValue::data.
  virtual ~KeySource() = default;
  // The next key, each before its children; false at the end, or when the user stops.
  virtual bool NextKey(SourceKey& key) = 0;
  // The key given last keeps its children to itself.
  virtual void SkipChildren() = 0;
  // The next value of the key given last; false after the last one.
  virtual bool NextValue(SourceValue& value) = 0;
  // Of a hive alone: the first value of that name, whatever the case; and the values that are still
  // to be given, by their names' ranks, those of one rank as they are listed.
  virtual bool FindValue(std::string_view, SourceValue&) { return false; }
  virtual void OrderValues(const std::function<size_t(const std::string& name)>&) {}
  // Likewise, of the key's subkey of that name.
  virtual bool FindChildValue(std::string_view, std::string_view, SourceValue&) { return false; }
  // The last write of any key of the same hive, by whole path; 0 where that isn't known. The
  // subkeys of a key are looked through once.
  virtual uint64_t LastWriteOf(std::string_view) { return 0; }
  // Likewise: what the control set is that the key given last is or lies in (control_sets.h).
  virtual std::string ControlSet() { return {}; }
  // Of a position: as the file counts.
  virtual uint32_t ShownPosition(uint32_t position) const { return position; }
};

// Keys of a loaded hive, which has to live as long as this, its tree too.
class HiveKeySource : public KeySource {
 public:
  // Another walk, from `item` down; what data may be read, and what is known of keys by path, go
  // on.
  virtual void BeginAt(uint32_t item, uint32_t level) = 0;
};

// The keys of a hive from `item` down as displayed, in display order. `level` is that of the item.
std::unique_ptr<HiveKeySource> KeysOfHive(const HiveImage& hive, const KeyTree& tree, uint32_t item,
                                          uint32_t level = 1);

}  // namespace hivequarry
