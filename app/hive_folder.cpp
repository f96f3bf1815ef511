#include "app/hive_folder.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "app/opening_words.h"
#include "bytes/byte_view.h"
#include "host/file_reading.h"
#include "host/files.h"
#include "host/long_operation.h"
#include "host/number_text.h"
#include "records/base_block.h"
#include "records/bin_header.h"

namespace hivequarry {
namespace {

namespace fs = std::filesystem;

// Puts the file where its content says that it belongs. Its first bytes are read alone, up to the
// header of the block after a base block.
void AddFile(const fs::path& path, HivesOfFolder& found) {
  std::string name = NameOfPath(path);
  int error = 0;
  const FileStream stream(OpenFile(name, "rb", error));
  std::vector<uint8_t> start(kBaseBlockSize + kBinHeaderSize);
  UnreadBytes unread;
  if (stream != nullptr) {
    start.resize(ReadFileBytes(stream.get(), 0, start.data(), start.size(), &unread));
  }
  const bool unreadable = unread.count != 0 && unread.count == start.size();
  if (stream == nullptr || unreadable) {
    found.unread.push_back({std::move(name), stream == nullptr ? error : unread.error});
    return;
  }
  HiveLog log;
  BinHeader bin;
  if (ReadU32(start, 0) == kHiveSignature) {
    (IsLogFile(name, log) ? found.logs : found.hives).push_back(std::move(name));
  } else if (ReadBinHeader(start, 0, bin) || ReadBinHeader(start, kBaseBlockSize, bin)) {
    found.hives.push_back(std::move(name));
  }
}

// Looks at the files of one folder; the folders in it are added to those that wait, so that nothing
// recurses over a disk.
void LookIn(const fs::path& folder, std::vector<fs::path>& waiting, HivesOfFolder& found) {
  std::error_code error;
  for (fs::directory_iterator at(FilePath(NameOfPath(folder)), error);
       !error && at != fs::directory_iterator() && !StopRequested(); at.increment(error)) {
    std::error_code ignored;
    const fs::file_type type = at->symlink_status(ignored).type();
    if (type == fs::file_type::directory) waiting.push_back(at->path());
    if (type == fs::file_type::regular) AddFile(at->path(), found);
  }
  if (error) found.unread.push_back({NameOfPath(folder), error.value()});
}

}  // namespace

std::string UnreadPlaceText(const UnreadPlace& unread) {
  return Concat({unread.name, " (", std::strerror(unread.error), ")"});
}

HivesOfFolder FindHivesOfFolder(const std::string& folder) {
  HivesOfFolder found;
  std::vector<fs::path> waiting = {FilePath(folder)};
  while (!waiting.empty() && !StopRequested()) {
    const fs::path next = std::move(waiting.back());
    waiting.pop_back();
    LookIn(next, waiting, found);
  }
  std::ranges::sort(found.hives);
  std::ranges::sort(found.logs);
  std::ranges::sort(found.unread, {}, &UnreadPlace::name);
  return found;
}

}  // namespace hivequarry
