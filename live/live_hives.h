// The hives of the running system: which there are, the files that stand for them in a folder, and
// runs over them. Texts and file names are UTF-8.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "live/registry.h"

namespace hivequarry {

// All texts are constants.
struct LiveHive {
  const char* selector;  // on the command line, after "-"
  const char* path;      // as the user knows it
  RegistryKey root;
  const char16_t* sub_key;  // empty: the whole root
  const char* file;         // null: each sub key has a file of its own
};
// In the order in which they are saved and replaced.
inline constexpr int kLiveHives = 9;
inline constexpr int kBootHive = 7;  // that of the boot menu; it and those after it: from 2006 on
const std::array<LiveHive, kLiveHives>& LiveHiveTable();
// Sets of hives are bits by place in the table.
constexpr uint32_t HiveBit(int hive) { return 1U << hive; }
// Words that select no hive are passed over.
uint32_t HivesOfSelectors(std::span<const std::string> selectors);

// Of one hive in a run, for the dialog.
enum class HiveState : uint8_t { kNeutral, kRunning, kDone, kFailed };
// What a run meets and its user has to know; the words are the front end's.
enum class HiveEvent : uint8_t {
  kNoBackupPrivilege,
  kNoRestorePrivilege,
  kFolderNotMade,  // name: the folder
  kNoFolder,
  kNotDeleted,          // a file of an earlier run
  kKeyNotOpened,        // name: the key
  kKeyNotSaved,         // name: the key; error
  kUnprotected,         // name: a folder with files that others than administrators may read
  kSaved,               // the run is over, and hives were saved
  kBadOldName,          // name: what the hive in use would be called, which is a folder
  kHiveListUnreadable,  // name: the key, as for those that follow
  kNoHiveRoot,          // the key is a part of a hive
  kIsEvidence,          // `file` is open in this program
  kNotReplaced,         // `file`, error
  kOtherNames,          // `names`: left out, as the same hive was replaced under another name
  kReplaced,            // the run is over, and hives were replaced
};
// Fields that the event does not name are empty.
struct HiveNotice {
  HiveEvent event;
  std::string name = {};
  std::string file = {};
  std::vector<std::string> names = {};
  int32_t error = 0;          // the registry's,
  bool native_error = false;  // or a status of the kernel's
};
// Questions about a file that is there already.
enum class HiveQuestion : uint8_t {
  kOverwrite,
  kOverwriteUsers,  // a user's hive of an earlier backup
  kOverwriteOld,    // a hive that was in use before an earlier replacement
};

// The functions are called on the run's thread; any may be empty.
struct HiveRun {
  std::string folder;  // UTF-8
  uint32_t hives = 0;  // bits, HiveBit of each
  std::function<void(int hive, HiveState state)> on_state;
  std::function<void(const HiveNotice& notice)> tell;
  std::function<bool(HiveQuestion question, const std::string& file)> ask;  // empty: "No"
};
// What became of a run; what was done stays after a stop.
struct HiveRunResult {
  int done = 0;  // hives
  int failed = 0;
  bool stopped = false;  // by the user, before the last hive
};
// Nothing where nobody wants to know.
void TellState(const HiveRun& run, int hive, HiveState state);
void TellOf(const HiveRun& run, const HiveNotice& notice);
bool Ask(const HiveRun& run, HiveQuestion question, const std::string& file);
// Does `work` for each chosen hive until it is stopped; true means success. The backup flag is set
// meanwhile, its counter begins at 0.
HiveRunResult ForEachHive(const HiveRun& run, const std::function<bool(int hive)>& work);

// Not held open: the user may log off meanwhile.
struct UserHive {
  std::u16string name;  // of the sub key of HKEY_USERS
  std::string path;     // of its root key
  std::string file;     // in the folder, whether it is there or not
};
// The users' keys that are loaded now, in the registry's order; ".DEFAULT" and the keys of classes
// are among them.
std::vector<UserHive> UserHivesIn(const std::string& folder);

// With a separator between them unless the folder ends in one.
std::string NameInFolder(const std::string& folder, const std::string& name);
// Without separators at the end, but for those of a root: the platform finds no folder by a name
// that has them.
std::string WithoutEndSeparators(std::string folder);
// The name stands for something, for a folder.
bool IsNameTaken(const std::string& name);
// False for what can't be asked about.
bool IsExistingFolder(const std::string& name);
// Not a folder, and not a file that the program keeps from being changed.
bool DeleteNamedFile(const std::string& file);

}  // namespace hivequarry
