#include "cli/hive_files.h"

#include <algorithm>
#include <filesystem>
#include <iostream>

#include "app/opening_words.h"
#include "bytes/byte_view.h"
#include "cli/print_list.h"
#include "host/file_reading.h"
#include "host/files.h"
#include "host/long_operation.h"
#include "records/base_block.h"
#include "records/bin_header.h"

namespace hivequarry {
namespace {

namespace fs = std::filesystem;

std::string TextOfPath(const fs::path& path) {
  const std::u8string text = path.u8string();
  return {text.begin(), text.end()};
}

}  // namespace

bool BeginsAsHiveFile(const std::string& file) {
  int error = 0;
  const FileStream stream(OpenFile(file, "rb", error));
  if (stream == nullptr) return false;
  std::vector<uint8_t> start(kBaseBlockSize + kBinHeaderSize);
  start.resize(ReadFileBytes(stream.get(), 0, start.data(), start.size()));
  HiveLog log;
  if (ReadU32(start, 0) == kHiveSignature) return !IsLogFile(file, log);
  BinHeader bin;
  return ReadBinHeader(start, 0, bin) || ReadBinHeader(start, kBaseBlockSize, bin);
}

void AddHivesOfFolder(const std::string& folder, std::vector<std::string>& files,
                      std::vector<std::string>* logs) {
  std::vector<std::string> found;
  std::error_code error;
  fs::recursive_directory_iterator at(FilePath(folder),
                                      fs::directory_options::skip_permission_denied, error);
  if (error) Complain("Can not read the folder " + folder);
  for (; !error && at != fs::recursive_directory_iterator(); at.increment(error)) {
    std::error_code ignored;
    if (StopRequested()) return;
    if (!at->is_regular_file(ignored) || at->is_symlink(ignored)) continue;
    std::string name = TextOfPath(at->path());
    HiveLog log;
    if (BeginsAsHiveFile(name)) {
      found.push_back(std::move(name));
    } else if (logs != nullptr && IsLogFile(name, log)) {
      logs->push_back(std::move(name));
    }
  }
  if (error && !found.empty()) Complain("Can not read all of the folder " + folder);
  std::ranges::sort(found);
  files.insert(files.end(), found.begin(), found.end());
}

void AddNamesOfInput(std::vector<std::string>& files) {
  for (std::string line; std::getline(std::cin, line);) {
    if (!line.empty()) files.push_back(line);
  }
}

}  // namespace hivequarry
