// Snapshots: hive files made of keys of the live registry. A snapshot says by its signature that it
// is one, and by its root key's name which key it was made from. All of this runs on a worker.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "hive/root_path.h"
#include "lists/output_list.h"
#include "live/branch_copy.h"

namespace hivequarry {

// Makes a snapshot of a hive file: "snap" in place of "regf" unless `keep_signature`, and the path
// as the root key's name, where it is shorter than 247 characters, none of them above U+00FF, and
// the root key's cell has room for it; else the name stays. False when the file can't be written or
// is no hive.
bool MarkSnapshot(const std::string& file, std::string_view path, bool keep_signature);

// Where the making of a snapshot ended.
enum class SnapshotStep : uint8_t {
  kDone,
  kStopped,  // by the user
  kOpen,     // the key isn't there or may not be read
  kSave,     // the registry didn't save the key, or its copy
  kFile,     // the file could not be written
  kLoad,
  kUnload,
};
// Files and keys that it names are UTF-8 texts for the user.
struct SnapshotResult {
  SnapshotStep step = SnapshotStep::kDone;
  int32_t error = 0;      // the registry's
  std::string path;       // of the key
  std::string file;       // of the snapshot
  std::string left_key;   // what stays mounted after kUnload,
  std::string left_file;  // of that file; UTF-8
  // Files beside a snapshot that is done but does not hold everything yet: the system's logs.
  std::vector<std::string> logs;
  bool unprotected = false;  // others than administrators may read it
};
// What to tell the user; empty when there is nothing to tell, as after a stop.
std::string SnapshotMessage(const SnapshotResult& result);

// The branch at a registry path (any form of the root) as a snapshot file: keys with class names,
// values and security, links as links. What can't be read or copied becomes a row of `errors`
// (kListErrors). Security that can't be set stays that of the key above; the first key has no class
// name. Unless it is done, nothing has changed: no file, no mounted key, privileges as before. Only
// an unloading that fails, in spite of some tries, leaves the key and its file. A snapshot takes
// the place of an earlier one, but of no hive, log or evidence.
SnapshotResult MakeKeySnapshot(const std::string& path, const std::string& file,
                               OutputList& errors);
// Likewise of a whole root, under its own name in the folder. Roots that are one hive are saved by
// the registry; the others, made of several, are copied like a key.
SnapshotResult MakeRootSnapshot(const WholeRoot& root, const std::string& folder,
                                OutputList& errors);

}  // namespace hivequarry
