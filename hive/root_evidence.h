// Which of the system's hives a file is, and what says so: the root key's name, the file name in
// the base block, the keys that the hive holds, the file's own name.
//
// Only what hangs from the root key by live lists is asked. Keys of several kinds can be in one
// hive: whoever may write to its root can make keys of any name there. Then the hive is of the kind
// into whose root more people may write, as nobody but administrators can put a user's keys into a
// hive of the machine.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "hive/image.h"

namespace hivequarry {

enum class HiveKind : uint8_t {
  kUnknown,
  kUser,
  kClasses,  // of a user
  kDefault,  // of the system's own account
  kSettings,
  kPackageUser,
  kPackageClasses,
  kPackageRegistry,
  kSystem,
  kSoftware,
  kSam,
  kSecurity,
  kComponents,
  kDrivers,
  kElam,
  kSchema,
  kBcd,
  kAmCache,
  kSyscache,
  kBbi,
  kCount
};
// "SYSTEM", "NTUSER", "settings"; empty for kUnknown.
std::string_view HiveKindName(HiveKind kind);

// Texts are safe to show. Each `by_` is kUnknown where that source says nothing.
struct RootEvidence {
  std::string root_key;  // the name
  HiveKind by_root_key = HiveKind::kUnknown;
  std::string stored_name;  // in the base block
  HiveKind by_stored_name = HiveKind::kUnknown;
  HiveKind by_keys = HiveKind::kUnknown;
  std::string keys;            // which of them say so, "Select, ControlSet001"
  std::vector<HiveKind> also;  // kinds of which the hive holds keys besides
  HiveKind by_file_name = HiveKind::kUnknown;
  // Of a user's hive or classes: the one account that has all access to the root key and to the key
  // that makes it a user's hive. The system sets up profiles so; "S-1-5-21-...", or empty.
  std::string sid;
  std::string sid_keys;  // the keys whose access lists say so
};
// The root key and its subkeys are asked only where the root has a cell of its own.
// Reads a few lists of subkeys, bounded as a whole by a sixteenth of the image; no tree is needed.
RootEvidence FindRootEvidence(const HiveImage& hive);

// True for the names that the system gives to the roots of hives of any kind: none at all,
// "$$$PROTO.HIV", "CMI-CreateHive...", "CsiTool-CreateHive...", "ROOT", a bare GUID.
bool SaysNothing(std::string_view root_key_name);

// Root path by the first of these that says something: the name of a snapshot's file, the root
// key's name, the base block, the keys, the file's own name; else a name that says nothing, if the
// key has one. False (and nothing changed) when there is nothing at all. `has_root_key`: the root
// key has a cell, and a name that is no noise.
// Sets hive.root; of a user's hive the SID is in the path where the access lists tell it.
bool ChooseRootPath(HiveImage& hive, bool has_root_key);

// Of a root path in either form: the hive that a system loads there, or at a place above it.
// kUnknown for a path that is neither form of a known root, or below none of these hives.
HiveKind KindOfRootPath(std::string_view path);
// The kind that the root path rests on, unless the user has named it.
HiveKind KindOfHive(const RootEvidence& evidence);

// Who says what, as a sentence, where not all say the same; else empty. `file_too`: the file's own
// name has a say, though anybody may rename a file.
std::string RootContradiction(const RootEvidence& evidence, bool file_too);
// What the root path of the hive was taken from: "the base block". The source RootSource::kRootKey
// is the root key's name, or where that says nothing the keys below it.
std::string RootSourceWords(const HiveImage& hive, const RootEvidence& evidence);
// All that was found: "SYSTEM by the base block SYSTEM; SYSTEM by the keys Select, ControlSet001".
std::string RootEvidenceWords(const RootEvidence& evidence);

}  // namespace hivequarry
