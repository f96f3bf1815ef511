// Where in the live registry the keys of a hive belong: below the key that the hive's root path
// names. Keys are addressed by their UTF-16 names as stored, so that no code page comes between.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "hive/key_tree.h"
#include "live/registry.h"

namespace hivequarry {

// A place by name: whether a key is there nobody has asked.
struct LivePlace {
  std::string prefix;       // "HKLM\SYSTEM": the root path as lists show it, no number after it
  RegistryKey root = 0;     // the predefined root
  std::u16string sub_path;  // of the hive's root key, below it; empty for the root itself
};
// False when the hive has no root path or one below no predefined root; `prefix` is set all the
// same.
bool FindLivePlace(const HiveImage& hive, LivePlace& place);

// True for a virtual folder and what is below one: nobody knows where that belongs.
bool HasNoLivePlace(const KeyTree& tree, uint32_t item);
// The item's path below the hive's root key, empty for that itself; cut where ItemPath cuts it.
std::string PathBelowRoot(const HiveImage& hive, const KeyTree& tree, uint32_t item);
// prefix\path, or the prefix alone.
std::string PathInPlace(const LivePlace& place, std::string_view path);

// The name that the item's key has in a registry. A single-byte name is the low bytes of UTF-16.
std::u16string WideItemName(const HiveImage& hive, const KeyTree& tree, uint32_t item);
// False for a name that the registry's functions would take for another one: an empty one, one with
// a backslash or a zero.
bool IsUsableKeyName(std::u16string_view name);
// The item's path below the predefined root; false when a name in it isn't usable.
bool LiveSubPath(const HiveImage& hive, const KeyTree& tree, uint32_t item, const LivePlace& place,
                 std::u16string& path);

// Which of the two views of a 64-bit system a key is opened in, as a bit of the access rights; 0
// where there is one view.
uint32_t RegistryViewOf(bool wow64);
// "Wow6432Node", whatever the case.
bool IsWow64Name(std::u16string_view name);
bool IsWow64SubPath(std::u16string_view path);

// For comparing names without regard to case.
std::u16string CapitalName(std::u16string_view name);

}  // namespace hivequarry
