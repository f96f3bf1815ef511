#include "host/evidence.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <mutex>
#include <system_error>
#include <vector>

#ifndef _WIN32
#include <sys/stat.h>
#endif

#include "host/file_reading.h"
#include "host/files.h"
#include "host/log_files.h"

namespace hivequarry {
namespace {

// Files that nothing may be written to, on any thread.
struct EvidenceFiles {
  std::mutex mutex;
  std::vector<std::string> names;  // whole paths
};

EvidenceFiles& TheEvidence() {
  static EvidenceFiles files;
  return files;
}

// Names of one folder, which may be written in different ways.
bool IsBeside(const std::filesystem::path& one, const std::filesystem::path& other) {
  std::error_code ignored;
  const std::filesystem::path one_folder = std::filesystem::absolute(one, ignored).parent_path();
  const std::filesystem::path folder = std::filesystem::absolute(other, ignored).parent_path();
  return std::filesystem::equivalent(one_folder, folder, ignored);
}

bool IsLogOf(const std::string& hive, const std::string& name) {
  const std::filesystem::path hive_path = FilePath(hive);
  const std::filesystem::path path = FilePath(name);
  return !LogEnding(LeafOf(path), LeafOf(hive_path)).empty() && IsBeside(hive_path, path);
}

// A base block, a log after one that is damaged, a block where one begins a hive's data, or all of
// a hive that is left.
bool BeginsAsHive(const std::string& name) {
  struct Mark {
    size_t position;
    const char* text;
  };
  constexpr Mark kMarks[] = {
      {0, "regf"}, {0, "hbin"}, {4096, "hbin"}, {512, "HvLE"}, {512, "DIRT"}};
  std::error_code ignored;
  if (!std::filesystem::is_regular_file(FilePath(name), ignored)) return false;
  int error = 0;
  std::FILE* stream = OpenFile(name, "rb", error);
  if (stream == nullptr) return false;
  std::vector<uint8_t> bytes(4100);
  const size_t got = ReadFileBytes(stream, 0, bytes.data(), bytes.size());
  std::fclose(stream);
  return std::ranges::any_of(kMarks, [&](const Mark& mark) {
    return mark.position + 4 <= got && std::memcmp(&bytes[mark.position], mark.text, 4) == 0;
  });
}

}  // namespace

void KeepEvidence(const std::string& name) {
  EvidenceFiles& files = TheEvidence();
  const std::scoped_lock lock(files.mutex);
  files.names.push_back(FullName(name));
}

void ReleaseEvidence(const std::string& name) {
  EvidenceFiles& files = TheEvidence();
  const std::scoped_lock lock(files.mutex);
  const auto at = std::ranges::find(files.names, FullName(name));
  if (at != files.names.end()) files.names.erase(at);
}

bool IsEvidence(const std::string& name) {
  EvidenceFiles& files = TheEvidence();
  const std::scoped_lock lock(files.mutex);
  return std::ranges::any_of(files.names, [&name](const std::string& kept) {
    std::error_code ignored;
    return std::filesystem::equivalent(FilePath(kept), FilePath(name), ignored);
  });
}

std::vector<std::string> EvidenceFolders() {
  EvidenceFiles& files = TheEvidence();
  const std::scoped_lock lock(files.mutex);
  std::vector<std::string> folders;
  for (const std::string& name : files.names) {
    std::string folder = FolderOf(name);
    if (std::ranges::find(folders, folder) == folders.end()) folders.push_back(std::move(folder));
  }
  return folders;
}

bool IsProtected(const std::string& name) {
  if (IsEvidence(name) || BeginsAsHive(name)) return true;
  EvidenceFiles& files = TheEvidence();
  const std::scoped_lock lock(files.mutex);
  return std::ranges::any_of(files.names,
                             [&name](const std::string& kept) { return IsLogOf(kept, name); });
}

bool WritesInto(std::FILE* stream, const std::string& name) {
  if (IsSameFile(stream, name)) return true;
  return std::ranges::any_of(LogsOf(name),
                             [stream](const std::string& log) { return IsSameFile(stream, log); });
}

#ifndef _WIN32
bool IsSameFile(std::FILE* stream, const std::string& name) {
  struct stat open = {};
  struct stat named = {};
  return fstat(fileno(stream), &open) == 0 && stat(name.c_str(), &named) == 0 &&
         open.st_dev == named.st_dev && open.st_ino == named.st_ino;
}
#endif

}  // namespace hivequarry
