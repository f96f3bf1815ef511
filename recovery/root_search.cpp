#include "recovery/root_search.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <string>

#include "hive/file_place.h"
#include "host/files.h"
#include "host/host.h"
#include "host/launch.h"

namespace hivequarry {
namespace {

// 0 when the file can't be read any more.
uint32_t SizeOfFile(const std::string& file) {
  int error = 0;
  std::FILE* stream = OpenFile(file, "rb", error);
  if (stream == nullptr) return 0;
  const int64_t size = FileSize(stream);
  std::fclose(stream);
  return static_cast<uint32_t>(std::clamp<int64_t>(size, 0, UINT32_MAX));
}

// For the first root met.
bool IsOwnRoot(const HiveImage& hive, uint32_t position) {
  return hive.header_valid || position <= kFirstCellPosition;
}

void CutImage(HiveImage& hive, uint32_t end) {
  hive.length = end;
  hive.last_valid = end < 8 ? 0 : end - 8;
}

// The scan stands still meanwhile: it is its thread that asks.
bool WantsCopy(uint32_t file_position) {
  char text[80];
  std::snprintf(text, sizeof(text), "%s at 0x%" PRIX32 "! Open in new Window?",
                "New Root Cell found", file_position);
  return ShowMessage(text, kProgramName, Icon::kQuestion, Buttons::kYesNo) == Answer::kYes;
}

}  // namespace

uint32_t RangeStartForRoot(uint32_t root) {
  if (root >= kFirstCellPosition) return root - kFirstCellPosition;
  if (root >= kBinHeaderSize) return root - kBinHeaderSize;
  return root > 7 ? root - 8 : root;
}

void OpenRootInCopy(const HiveImage& hive, uint32_t root_position) {
  const uint32_t start = RangeStartForRoot(FilePositionOf(hive, root_position));
  const uint32_t end = SizeOfFile(hive.file_name);
  LaunchSelf(RangeArguments(FullName(hive.file_name), start, end), kLaunchPlain);
}

bool AdmitRoot(HiveImage& hive, uint32_t position, bool ask, ScanTables& tables) {
  const bool first = tables.roots.empty();
  if (ask && !(first && IsOwnRoot(hive, position))) {
    CutImage(hive, position);
    if (WantsCopy(FilePositionOf(hive, position))) OpenRootInCopy(hive, position);
    return false;
  }
  if (first) hive.root_position = position;
  tables.roots.push_back(position);
  return true;
}

}  // namespace hivequarry
