// Registry root names, the root path of a hive, and path forms. All comparisons ignore case.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "hive/image.h"
#include "host/case.h"

namespace hivequarry {

// A root of the registry, as scripts and messages name it.
struct PredefinedRoot {
  const char* long_name;
  const char* short_name;
  uint32_t handle;  // of HKEY, as 32 bits
};
// By long or short name; null when unknown.
// Points into a table that lasts as long as the program.
const PredefinedRoot* FindPredefinedRoot(std::string_view name);

// Root path by kind (1 to 8, 10, 11): sets label and prefix, made unique, in the slot. False for a
// kind that is not in the table.
// Counts as named by the user.
bool SetRootKind(int kind, HiveImage& hive);
inline constexpr int kLastRootKind = 11;
// The short form of a kind's path; null for a number that is no kind.
const char* RootKindLabel(int kind);
// Root path given by the user: a short or long form path, taken as it is when its root is unknown.
// One of the kinds' paths gives that kind.
// Backslashes at its end are left out.
void SetRootPath(HiveImage& hive, std::string_view path);
// The automatic choice from the root key's name, up to its first zero; false (and nothing changed)
// when there is none or it is that of a fresh hive ("$$$P...", "CMI-CreateHive..."). Other names
// that say nothing (SaysNothing of root_evidence.h) are taken: who calls has asked that before.
bool RootPathFromRootKey(HiveImage& hive, uint32_t root_position);
// The path that a root key's name stands for; the name itself where it is none of those.
std::string RootPathOfKeyName(std::string_view name);
// The end of the path that the base block holds, as it is shown: what the system that last wrote
// the hive called its file. Empty without a base block.
std::string StoredFileName(const HiveImage& hive);
// For a hive that has no root key left: the last part of the file name that the base block stores,
// whatever it is. False (and nothing changed) where there is none.
bool RootPathFromStoredName(HiveImage& hive);

// Why nothing is to be written to the root path in a registry before the user has named it: the
// file's name alone tells it, it is the profile of whoever writes, what the hive says of itself
// contradicts itself (root_evidence.h), or the root key's name leads to a place where no hive is
// loaded. A sentence; empty for a path that may be written to, and for one
// that leads to no predefined root.
std::string RootDoubt(const HiveImage& hive);
// True for the paths, in either form, at which a system loads a hive whose files say so themselves:
// "HKLM\SOFTWARE", "HKU\S-1-5-18". None of them is the current user's.
bool IsHivePlace(std::string_view path);

// Snapshots of whole roots, by the names of their files.
struct WholeRoot {
  const char* file_name;
  const char* path;  // short form
};
// In the order of the roots in a registry; there as long as the program runs.
std::span<const WholeRoot> WholeRoots();
// The root that the name of the hive's file stands for; false (and nothing changed) when it is none
// of those names.
bool RootPathFromSnapshotName(HiveImage& hive);
// The rough first choice at opening, from the file name: "HKEY_USERS", or "HKEY_LOCAL_MACHINE" when
// the path holds a "y". Sets the table's default root.
void SetDefaultRoot(const std::string& file_name);

// 0 when the label is free among the slots other than `slot`; else "(n)" is appended and the length
// before the suffix returned. Gives up (0, label unchanged) after 999.
uint32_t MakeRootLabelUnique(std::string& label, int slot);
// The taken slot whose label equals the given one, long and short forms of a predefined root being
// equal; -1 for none.
int FindHiveByRoot(std::string_view label);
int FindHiveByRoot(std::string_view label, int except_slot);

// With an unrecognised root all but long_name is empty.
struct RootSplit {
  std::string long_name;   // the whole path when the root is unknown
  std::string rest;        // after the first backslash
  std::string short_name;  // of the root alone
  uint32_t handle = 0;     // as in PredefinedRoot
};
// Splits at the first backslash; false for an unrecognised root.
bool SplitRootPath(std::string_view path, RootSplit& split);
// The path with its first component in short or long form; empty for an unrecognised one.
std::string ShortRootPath(std::string_view path);
std::string LongRootPath(std::string_view path);

// True for a path that has a component "Wow6432Node", the registry of 32-bit programs. At the start
// of a path the name's last letter is not compared.
bool IsWow64Path(std::string_view path);

// What the tree shows at the root of a hive: its label, or "ROOT".
std::string DisplayedRoot(const HiveImage& hive);

}  // namespace hivequarry
