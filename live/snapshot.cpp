#include "live/snapshot.h"

// A root that is one hive is saved by the registry. Any other key is copied: an empty hive is
// written beside the place, mounted, filled and unmounted. Either file gets its mark and then takes
// its place.
#include <array>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <thread>
#include <utility>
#include <vector>

#include "hive/keys.h"
#include "hive/root_path.h"
#include "host/evidence.h"
#include "host/file_reading.h"
#include "host/files.h"
#include "host/log_files.h"
#include "host/long_operation.h"
#include "host/output_file.h"
#include "host/text.h"
#include "live/backup.h"
#include "live/empty_hive.h"
#include "live/file_protection.h"
#include "live/hive_logs.h"
#include "live/hive_mounts.h"
#include "live/live_keys.h"
#include "records/cell.h"

namespace hivequarry {
namespace {

namespace fs = std::filesystem;

constexpr uint16_t kSingleByteName = 0x20;  // in a key's flags

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using FilePointer = std::unique_ptr<std::FILE, FileCloser>;

bool WriteAt(std::FILE* file, uint64_t at, std::span<const uint8_t> bytes) {
  return SeekFile(file, at) && std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
}

// Bytes that the root key's cell has for a name of single-byte characters.
uint32_t RootNameRoom(const uint8_t (&root)[kKeyName]) {
  const uint32_t size = LoadU32(root);
  const bool named = LoadU16(root + 4) == kSignatureNk &&
                     (LoadU16(root + kKeyFlags) & kSingleByteName) != 0 && IsAllocated(size);
  return named && CellLength(size) > kKeyName ? CellLength(size) - kKeyName : 0;
}

// A name of single-byte characters; empty where one takes more, as no root's flags allow that.
std::vector<uint8_t> SingleByteName(std::string_view text) {
  std::vector<uint8_t> name;
  for (const char16_t unit : WideOfText(text)) {
    if (unit > 0xFF) return {};
    name.push_back(static_cast<uint8_t>(unit));
  }
  return name;
}

bool WriteRootName(std::FILE* file, std::span<const uint8_t> name) {
  const auto length = static_cast<uint8_t>(name.size());
  const uint8_t lengths[4] = {length, 0, 0, 0};  // of the name, and of a class name: none
  return WriteAt(file, kFirstCellPosition + kKeyNameLength, lengths) &&
         WriteAt(file, kFirstCellPosition + kKeyName, name);
}

// "snap" in place of the signature, and the path in the root key's name where that has room for it.
// False when the file cannot be read or written.
bool WriteMark(std::FILE* file, std::string_view path, bool keep_signature) {
  uint8_t root[kKeyName];
  if (ReadFileBytes(file, kFirstCellPosition, root, sizeof(root)) != sizeof(root)) return false;
  const std::array<uint8_t, 4> signature = {'s', 'n', 'a', 'p'};
  if (!keep_signature && !WriteAt(file, 0, signature)) return false;
  const std::vector<uint8_t> name = SingleByteName(path);
  const bool fits = name.size() < kRootNameArea - 1 && name.size() <= RootNameRoom(root);
  return name.empty() || !fits || WriteRootName(file, name);
}

// A file that the system will take for a hive and fill. False when it cannot be written whole.
bool WriteEmptyHive(const std::string& file) {
  int error = 0;
  FilePointer opened(OpenFile(file, "wb", error));
  if (opened == nullptr || !WriteAt(opened.get(), 0, EmptyHive())) return false;
  return std::fclose(opened.release()) == 0;
}

// An earlier snapshot gives way to a new one; evidence, hives and logs never do.
bool IsFreeForSnapshot(const std::string& place) {
  if (IsEvidence(place)) return false;
  int error = 0;
  // By its content a snapshot is a hive, and so protected (IsProtected): its signature tells it
  // apart.
  const FilePointer old(OpenFile(place, "rb", error));
  uint8_t bytes[4] = {};
  const bool snapshot = old != nullptr && ReadFileBytes(old.get(), 0, bytes, 4) == 4 &&
                        LoadU32(bytes) == kSnapshotSignature;
  return snapshot || !IsProtected(place);
}

// Beside the place, with nothing there yet that a system would take for the hive's logs.
std::string NameForMaking(const std::string& place) {
  constexpr int kMaxTries = 99;
  int error = 0;
  if (!IsFreeForSnapshot(place) || NameBeside(place, error).empty()) return {};
  for (int number = 1; number <= kMaxTries; ++number) {
    std::string name = place + ".tmp~" + std::to_string(number);
    if (!IsNameTaken(name) && LogsOf(name).empty()) return name;
  }
  return {};
}

// Whatever looks into new keys and files (a scanner, an indexer) holds them for a moment.
int32_t UnloadPatiently(const std::u16string& mount) {
  constexpr std::chrono::milliseconds kLongest{640};  // of a pause; 1.3 seconds in all
  int32_t error = UnloadHiveFromRegistry(mount);
  for (std::chrono::milliseconds pause{10}; error != kRegistryDone && pause <= kLongest;
       pause *= 2) {
    std::this_thread::sleep_for(pause);
    error = UnloadHiveFromRegistry(mount);
  }
  return error;
}

// A hive file being made beside its place, mounted for a while. Unless it is kept or stays mounted,
// nothing of it is left when it goes.
class HiveInTheMaking {
 public:
  explicit HiveInTheMaking(const std::string& place)
      : place_(FullName(place)), made_(NameForMaking(place_)) {}
  ~HiveInTheMaking() {
    if (made_.empty() || !mount_.empty()) return;
    PutInPlace(made_, place_, false);
    RemoveLogs();
  }
  HiveInTheMaking(const HiveInTheMaking&) = delete;
  HiveInTheMaking& operator=(const HiveInTheMaking&) = delete;

  const std::string& file() const { return made_; }  // empty: there is no place for it
  const std::u16string& mount() const { return mount_; }
  // Below HKEY_USERS under a name that is free; the error of the registry.
  int32_t Mount() {
    const std::u16string name = FindFreeTempKey(kUsersRoot);
    const int32_t error = name.empty() ? kRegistryFileExists : LoadHiveIntoRegistry(name, made_);
    if (error == kRegistryDone) mount_ = name;
    loaded_ = loaded_ || error == kRegistryDone;
    return error;
  }
  int32_t Unmount() {
    const int32_t error = UnloadPatiently(mount_);
    if (error == kRegistryDone) mount_.clear();
    return error;
  }
  // The logs that the hive still needs come along, under its new name where that is free.
  bool Keep(std::vector<std::string>& logs) {
    if (IsSettled(made_)) RemoveLogs();
    const std::vector<std::string> needed = loaded_ ? LogsOf(made_) : std::vector<std::string>();
    // Emptied, so that the destructor leaves the file alone.
    const std::string made = std::exchange(made_, {});
    if (!PutInPlace(made, place_, true)) return false;
    for (const std::string& log : needed) {
      const std::string name = place_ + log.substr(made.size());
      std::error_code error;
      if (!IsNameTaken(name)) fs::rename(FilePath(log), FilePath(name), error);
      logs.push_back(IsNameTaken(log) ? log : name);
    }
    return true;
  }

 private:
  void RemoveLogs() const {
    if (!loaded_) return;
    std::error_code error;
    for (const std::string& log : LogsOf(made_)) fs::remove(FilePath(log), error);
  }

  std::string place_;
  std::string made_;
  std::u16string mount_;
  bool loaded_ = false;  // what lies beside it may be its own
};

// A key at a registry path, for reading.
OpenedKey OpenPath(const std::string& path) {
  RootSplit split;
  if (!SplitRootPath(path, split)) return OpenedKey();
  return OpenForReading(split.handle, WideOfText(split.rest).c_str(),
                        kRegistryRead | kRegistry64Bit, kRegistryForBackup);
}

// Sets the step that failed. The copy is unmounted also after a failure or a stop; one that stays
// is worse than either.
bool FillByCopying(HiveInTheMaking& hive, SnapshotResult& result, OutputList& errors) {
  const auto fail = [&](SnapshotStep step, int32_t error) {
    result.step = step;
    result.error = error;
    return false;
  };
  if (!WriteEmptyHive(hive.file())) return fail(SnapshotStep::kFile, 0);
  result.unprotected = !ProtectFile(hive.file());
  int32_t error = hive.Mount();
  if (error != kRegistryDone) return fail(SnapshotStep::kLoad, error);
  error = CopyBranch(result.path, hive.mount(), errors);
  const int32_t unloading = hive.Unmount();
  if (unloading != kRegistryDone) {
    result.left_key = "HKEY_USERS\\" + TextOfWide(hive.mount());
    result.left_file = hive.file();
    return fail(SnapshotStep::kUnload, unloading);
  }
  return error == kRegistryDone || fail(SnapshotStep::kSave, error);
}

// The system writes the file, for administrators alone; the backup privilege is held meanwhile.
bool FillBySaving(HiveInTheMaking& hive, SnapshotResult& result) {
  const EnabledPrivilege backup(Privilege::kBackup);
  const OpenedKey key = OpenPath(result.path);
  const std::u16string file = WideOfText(hive.file());
  result.error = CurrentRegistry().save(key.key(), file.c_str(), AdministratorsAlone().data());
  if (result.error != kRegistryDone) result.step = SnapshotStep::kSave;
  result.unprotected = !ProtectFile(hive.file());
  return result.error == kRegistryDone;
}

// Whether the key can be opened is asked before a file is made. A file that is not whole is taken
// away again, but for one that the system could not unload: it is in use.
SnapshotResult MakeSnapshot(std::string path, const std::string& file, bool save,
                            OutputList& errors) {
  while (path.ends_with('\\')) path.pop_back();
  SnapshotResult result;
  result.path = std::move(path);
  result.file = file;
  result.error = [&] {
    const EnabledPrivilege backup(Privilege::kBackup);
    return OpenPath(result.path).error();
  }();
  if (result.error != kRegistryDone) {
    result.step = SnapshotStep::kOpen;
    return result;
  }
  HiveInTheMaking hive(file);
  const bool filled = !hive.file().empty() &&
                      (save ? FillBySaving(hive, result) : FillByCopying(hive, result, errors));
  if (result.step == SnapshotStep::kUnload) return result;
  if (StopRequested()) {
    result.step = SnapshotStep::kStopped;
  } else if (result.step == SnapshotStep::kDone &&
             !(filled && MarkSnapshot(hive.file(), result.path, false) && hive.Keep(result.logs))) {
    result.step = SnapshotStep::kFile;
  }
  return result;
}

std::string WithCode(const char* text, int32_t error) {
  return std::string(text) + " (Error " + std::to_string(error) + ") !";
}

// Empty where there is nothing to add to "done".
std::string DoneMessage(const SnapshotResult& result) {
  std::string text;
  if (!result.logs.empty()) {
    text = "The system has not written everything into " + result.file +
           ". The rest is in log files beside it, which stay :";
    for (const std::string& log : result.logs) text += "\r\n" + log;
  }
  if (!result.unprotected) return text;
  return text + (text.empty() ? "" : "\r\n") + UnprotectedText(FolderOf(result.file));
}

}  // namespace

bool MarkSnapshot(const std::string& file, std::string_view path, bool keep_signature) {
  int error = 0;
  FilePointer opened(OpenFile(file, "r+b", error));
  if (opened == nullptr || !WriteMark(opened.get(), path, keep_signature)) return false;
  return std::fclose(opened.release()) == 0;
}

std::string SnapshotMessage(const SnapshotResult& result) {
  switch (result.step) {
    case SnapshotStep::kDone:
      return DoneMessage(result);
    case SnapshotStep::kStopped:
      return {};
    case SnapshotStep::kOpen:
      return "Can not open Registry key " + result.path + " !";
    case SnapshotStep::kSave:
      return "Can not backup Registry key " + result.path + " !" + SaveErrorText(result.error);
    case SnapshotStep::kFile:
      return "Can not create file " + result.file;
    case SnapshotStep::kLoad:
      return WithCode("Could not map File into Registry", result.error);
    case SnapshotStep::kUnload:
      return WithCode("Could not unload File from Registry", result.error) + "\r\n" +
             result.left_key + " stays until it is unloaded or the system restarts. Then " +
             result.left_file + " can be deleted.";
  }
  return {};
}

SnapshotResult MakeKeySnapshot(const std::string& path, const std::string& file,
                               OutputList& errors) {
  return MakeSnapshot(path, file, false, errors);
}

SnapshotResult MakeRootSnapshot(const WholeRoot& root, const std::string& folder,
                                OutputList& errors) {
  const std::string path = root.path;
  return MakeSnapshot(path, NameInFolder(folder, root.file_name),
                      path.find('\\') != std::string::npos, errors);
}

}  // namespace hivequarry
