// A registry script as a hive in memory: what an import of it would leave in an empty registry. The
// root stands for all of it; below are "HKEY_LOCAL_MACHINE" and the others.
#pragma once

#include <cstdint>
#include <string>

#include "cases/script_reader.h"
#include "hive/image.h"
#include "hive/key_tree.h"
#include "hive/opening.h"

namespace hivequarry {

// Its tree is of the image in the slot, and of no use once that is freed.
struct ScriptHive {
  int slot = -1;  // in the table of hives; -1 when `failure` says why, or the file is no script
  OpenFailure failure;
  KeyTree tree;
  std::string first_key;  // path of the first key line
  ScriptRead read;
  uint32_t deletions = 0;  // lines that delete
  uint32_t left_out = 0;   // keys and values that no hive can hold
};

// True when the file is one, by its first bytes.
bool IsScriptFile(const std::string& name);
// Opens it. The slot is the caller's to free.
ScriptHive OpenScript(const std::string& name);

// The item of a key of an opened script: the one at `path` where that is given; else at the same
// `place` in a registry, and where the script has no such key, at `first`. The root where nothing
// is given; kNoItem for no such key.
uint32_t FindInScript(const HiveImage& hive, const KeyTree& tree, const std::string& path,
                      const std::string& place, const std::string& first);

}  // namespace hivequarry
