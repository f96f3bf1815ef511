#include "live/hive_mounts.h"

#include <array>

#include "hive/timestamp.h"
#include "host/evidence.h"
#include "host/files.h"
#include "host/number_text.h"
#include "host/text.h"
#include "live/live_keys.h"

namespace hivequarry {

int32_t LoadHiveIntoRegistry(const std::u16string& name, const std::string& file) {
  // The system would write to it.
  if (IsEvidence(file)) return kRegistryDenied;
  const EnabledPrivilege restore(Privilege::kRestore);
  // Some systems ask for this one as well; whether it is held shows in the answer.
  const EnabledPrivilege backup(Privilege::kBackup);
  const std::u16string full = WideOfText(FullName(file));
  return CurrentRegistry().load(kUsersRoot, name.c_str(), full.c_str());
}

int32_t UnloadHiveFromRegistry(const std::u16string& name) {
  // As for loading.
  const EnabledPrivilege restore(Privilege::kRestore);
  const EnabledPrivilege backup(Privilege::kBackup);
  return CurrentRegistry().unload(kUsersRoot, name.c_str());
}

void ListKeyAndSubkeys(const std::string& path, OutputList& list) {
  SetListTitle(list, path);
  // Keys below the second level are passed over as the walk comes to their parents.
  RegistryWalk walk(path, kRegistryRead | kRegistry64Bit);
  for (SourceKey key; walk.NextKey(key);) {
    if (key.level > 1) walk.SkipChildren();
    const std::string date = FormatTimestamp(key.last_write, false);
    AddLiveRow(list, {key.path, "", key.error, "", {date, DateValue(key.last_write)}}, key);
  }
}

// "Temp01" and so on; empty when all are taken. Somebody else may take it before it is used:
// loading fails then.
std::u16string FindFreeTempKey(RegistryKey root) {
  constexpr int kLast = 9999;
  for (int number = 1; number <= kLast; ++number) {
    std::u16string wide = WideOfText(Concat({"Temp", Decimal(number, 2)}));
    if (OpenedKey(root, wide.c_str(), kRegistryRead).error() != kRegistryDone) return wide;
  }
  return {};
}

}  // namespace hivequarry
