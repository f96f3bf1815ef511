// Paths that name a key for good: kept in a file, and found again in any hive that holds the key's
// place in a registry, whatever the hive's file and label are by then.
//
// A key path is UTF-8: the registry root in long form (for a hive without one, the text at the root
// of its tree) and the names down to the key, joined by "\". Nothing of a name is lost: "%" and two
// hexadecimal digits stand for a byte, and so are written control characters, a "%" before two
// digits, a "\" in a name, and "#" and ";" at the path's start.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "hive/image.h"
#include "hive/key_tree.h"

namespace hivequarry {

inline constexpr size_t kMaxKeyPath = 3000;                  // bytes
inline constexpr size_t kMaxAsciiKeyPath = 3 * kMaxKeyPath;  // as AsciiKeyPath writes it

// The path of an item; empty when it would be too long. Below "Disconnected Keys" the folder's
// title is in it.
std::string KeyPathOf(const HiveImage& hive, const KeyTree& tree, uint32_t item);
// The path as it is written here, whatever a user wrote (root in short form, "\" at an end); empty
// when it names nothing, is too long, or holds a byte sequence that is no UTF-8.
std::string CleanKeyPath(std::string_view path);
// The path with every character beyond ASCII as "%" and digits, for files of uncertain encoding.
std::string AsciiKeyPath(std::string_view path);
// As a user reads it: the names as they are, the root in long form.
std::string ShownKeyPath(std::string_view path);
// A name as it is in a path, and back: for other names that are kept in lines of text.
std::string EncodedName(std::string_view name);
std::string DecodedName(std::string_view text);
// The path of what is shown as one already; a "\" in a name is taken for the end of it.
std::string KeyPathOfShown(std::string_view shown);
// True for paths of the same key; case does not matter, and neither does the form of the root.
bool SameKeyPath(std::string_view a, std::string_view b);

// The root that a path counts to: HKEY_CLASSES_ROOT and HKEY_CURRENT_CONFIG show parts of the
// machine's branch and count to it.
enum class RootGroup { kOther, kMachine, kUser, kUsers };
RootGroup RootGroupOf(std::string_view path);

// kNoItem where not even an ancestor is there.
struct FoundKey {
  uint32_t item = kNoItem;  // the key's, or that of an ancestor
  bool whole = false;       // the key itself; else the nearest of its ancestors that there is
};
// Looks for the key's place in a hive:
// - at the place that the hive's own root path gives it. Views are what they show (a user's branch
//   is the same under HKEY_CURRENT_USER and under its SID; HKEY_CLASSES_ROOT is the machine's or
//   the user's Software\Classes), the number of a second hive's label does not count, and any
//   control set is taken for one that the hive does not have, the current one first;
// - under "Disconnected Keys" too, when it is not among the connected keys, and the reverse;
// - as if the hive were mounted higher or deeper than its root path says, at one of the places
//   where the system mounts hives;
// - with a hive, or a path, that has no registry root: at any of these places.
// Away from the hive's own place only the key itself counts, but for a hive without a place: there
// an ancestor does, too, when it is not the root.
FoundKey FindKeyPath(const HiveImage& hive, const KeyTree& tree, std::string_view path);

}  // namespace hivequarry
