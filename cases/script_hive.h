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

}  // namespace hivequarry
