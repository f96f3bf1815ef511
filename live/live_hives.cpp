#include "live/live_hives.h"

#include <algorithm>
#include <filesystem>
#include <string_view>

#include "host/evidence.h"
#include "host/files.h"
#include "host/long_operation.h"
#include "host/text.h"

namespace hivequarry {
namespace {

namespace fs = std::filesystem;

// UTF-16 units, ending zero included: the longest name of a key that the registry allows.
constexpr uint32_t kNameRoom = 256;
constexpr uint32_t kMaxUserHives = 0x4000;  // far more than a system can hold

// The backup flag, set as long as the object lives.
struct BackupTurn {
  BackupTurn() {
    TheLongOperation().backup_progress = 0;
    TheLongOperation().backup = true;
  }
  ~BackupTurn() { TheLongOperation().backup = false; }
  BackupTurn(const BackupTurn&) = delete;
  BackupTurn& operator=(const BackupTurn&) = delete;
};

// A key may have a name that is none for a file.
std::string FileNameOf(std::string name) {
  static constexpr std::string_view kNotInNames = "\\/:*?\"<>|";
  const auto refused = [](char c) {
    return static_cast<unsigned char>(c) < ' ' || kNotInNames.find(c) != std::string_view::npos;
  };
  std::ranges::replace_if(name, refused, '_');
  return "HKU_" + name + ".dat";
}

}  // namespace

const std::array<LiveHive, kLiveHives>& LiveHiveTable() {
  static constexpr std::array<LiveHive, kLiveHives> kTable = {{
      {"SOFTWARE", "HKEY_LOCAL_MACHINE\\Software", kLocalMachine, u"Software", "SOFTWARE"},
      {"HKCU", "HKEY_CURRENT_USER", kCurrentUser, u"", "ntuser.dat"},
      {"CLASSES", "HKEY_CURRENT_USER\\Software\\Classes", kCurrentUser, u"Software\\Classes",
       "usrClass.dat"},
      {"SYSTEM", "HKEY_LOCAL_MACHINE\\System", kLocalMachine, u"System", "SYSTEM"},
      {"SAM", "HKEY_LOCAL_MACHINE\\SAM", kLocalMachine, u"SAM", "SAM"},
      {"SECURITY", "HKEY_LOCAL_MACHINE\\SECURITY", kLocalMachine, u"SECURITY", "SECURITY"},
      {"HKU", "HKEY_USERS", kUsersRoot, u"", nullptr},
      {"BCD", "HKEY_LOCAL_MACHINE\\BCD00000000", kLocalMachine, u"BCD00000000", "BCD"},
      {"COMPONENTS", "HKEY_LOCAL_MACHINE\\Components", kLocalMachine, u"COMPONENTS", "COMPONENTS"},
  }};
  return kTable;
}

uint32_t HivesOfSelectors(std::span<const std::string> selectors) {
  uint32_t hives = 0;
  for (int hive = 0; hive < kLiveHives; ++hive) {
    const char* selector = LiveHiveTable()[static_cast<size_t>(hive)].selector;
    if (std::ranges::find(selectors, selector) != selectors.end()) hives |= HiveBit(hive);
  }
  return hives;
}

void TellState(const HiveRun& run, int hive, HiveState state) {
  if (run.on_state) run.on_state(hive, state);
}

void TellOf(const HiveRun& run, const HiveNotice& notice) {
  if (run.tell) run.tell(notice);
}

bool Ask(const HiveRun& run, HiveQuestion question, const std::string& file) {
  return run.ask && run.ask(question, file);
}

// In the table's order; a stop is heeded between two hives, never within one. It clears the flag
// that the turn has set.
HiveRunResult ForEachHive(const HiveRun& run, const std::function<bool(int hive)>& work) {
  const BackupTurn turn;
  HiveRunResult result;
  for (int hive = 0; hive < kLiveHives; ++hive) {
    if ((run.hives & HiveBit(hive)) == 0) continue;
    result.stopped = !TheLongOperation().backup;
    if (result.stopped) break;
    const bool done = work(hive);
    ++(done ? result.done : result.failed);
    TellState(run, hive, done ? HiveState::kDone : HiveState::kFailed);
  }
  return result;
}

// Those that are loaded now, at most kMaxUserHives; the files need not be there.
std::vector<UserHive> UserHivesIn(const std::string& folder) {
  std::vector<UserHive> hives;
  const OpenedKey users(kUsersRoot, u"", kRegistryRead);
  if (users.error() != kRegistryDone) return hives;
  for (uint32_t index = 0; index < kMaxUserHives; ++index) {
    std::u16string name(kNameRoom, u'\0');
    uint32_t size = kNameRoom;
    uint64_t time = 0;
    if (CurrentRegistry().enum_key(users.key(), index, name.data(), &size, &time) !=
        kRegistryDone) {
      break;
    }
    name.resize(size);
    const std::string text = TextOfWide(name);
    hives.push_back({name, "HKEY_USERS\\" + text, NameInFolder(folder, FileNameOf(text))});
  }
  return hives;
}

std::string NameInFolder(const std::string& folder, const std::string& name) {
  constexpr char kSeparator = static_cast<char>(fs::path::preferred_separator);
  if (folder.empty() || folder.ends_with('\\') || folder.ends_with('/')) return folder + name;
  return folder + kSeparator + name;
}

bool IsNameTaken(const std::string& name) {
  std::error_code error;
  return fs::symlink_status(FilePath(name), error).type() != fs::file_type::not_found;
}

bool IsExistingFolder(const std::string& name) {
  std::error_code error;
  return fs::is_directory(FilePath(WithoutEndSeparators(name)), error);
}

std::string WithoutEndSeparators(std::string folder) {
  const auto ends = [&folder](char c) { return folder.ends_with(c); };
  while (folder.size() > 1 && (ends('\\') || ends('/')) && folder[folder.size() - 2] != ':') {
    folder.pop_back();
  }
  return folder;
}

bool DeleteNamedFile(const std::string& file) {
  std::error_code error;
  // False also where there was no such file.
  return !IsExistingFolder(file) && !IsEvidence(file) && fs::remove(FilePath(file), error);
}

}  // namespace hivequarry
