#include "app/opening_words.h"

#include <algorithm>
#include <cstring>

#include "hive/file_place.h"
#include "host/files.h"
#include "host/host.h"
#include "host/launch.h"
#include "host/long_operation.h"
#include "host/number_text.h"
#include "host/shortfalls.h"
#include "recovery/root_search.h"
#include "replay/log_words.h"
#include "words/other_file.h"

namespace hivequarry {
namespace {

constexpr const char* kNoHiveText = "Invalid File format !";

void Tell(const std::string& file_name, const OpenFailure& failure) {
  switch (failure.fault) {
    case OpenFault::kNone:
    case OpenFault::kStopped:
      return;
    case OpenFault::kTableFull:
      ShowMessage("Too many files opened !", kProgramName, Icon::kExclamation);
      return;
    case OpenFault::kNoMemory:
      ShowMessage("Could Not Allocate Memory", kProgramName, Icon::kStop);
      return;
    case OpenFault::kNoHive:
      ShowMessage(kNoHiveText, "Error", Icon::kExclamation);
      return;
    case OpenFault::kCannotOpen:
      break;
  }
  const std::string text =
      "Can not open " + file_name + "\r\n(" + std::strerror(failure.error) + ")";
  ShowMessage(text.c_str(), kProgramName, Icon::kInformation);
}

// 0 when the file can't be read any more.
uint32_t SizeOfFile(const std::string& file) {
  int error = 0;
  const FileStream stream(OpenFile(file, "rb", error));
  if (stream == nullptr) return 0;
  return static_cast<uint32_t>(std::clamp<int64_t>(FileSize(stream.get()), 0, UINT32_MAX));
}

}  // namespace

int OpenHiveAndTell(const std::string& file_name) {
  // By a range any bytes of any file may be asked for.
  const bool whole = TheHiveTable().end_offset <= TheHiveTable().start_offset;
  HiveLog log;
  if (whole && IsLogFile(file_name, log)) {
    ShowMessage(LogFileWords(log).c_str(), kProgramName, Icon::kInformation);
    return -1;
  }
  OpenFailure failure;
  const int slot = OpenHive(file_name, failure);
  Tell(file_name, failure);
  if (slot >= 0) TellOfUnread(file_name, HiveOfSlot(slot).unread);
  return slot;
}

void TellOfUnread(const std::string& file, const UnreadBytes& unread) {
  // Ranges: a box has room for some.
  constexpr size_t kMostNamed = 8;
  if (unread.count == 0) return;
  NoteShortfall(Shortfall::kUnreadBytes, unread.count);
  const std::string text =
      Concat({"Could not read ", std::to_string(unread.count), " byte(s) of ", file, " (",
              std::strerror(unread.error),
              "), zeros stand for them: ", UnreadRangesText(unread, kMostNamed)});
  ShowMessage(text.c_str(), kProgramName, Icon::kExclamation);
}

void OfferOtherHive(const HiveImage& hive, uint32_t root_position) {
  const std::string text =
      Concat({"New Root Cell found at 0x", Hex(FilePositionOf(hive, root_position)),
              "! Open in new Window?"});
  if (ShowMessage(text.c_str(), kProgramName, Icon::kQuestion, Buttons::kYesNo) == Answer::kYes) {
    OpenRootInCopy(hive, root_position);
  }
}

void OpenRootInCopy(const HiveImage& hive, uint32_t root_position) {
  const uint32_t start = RangeStartForRoot(FilePositionOf(hive, root_position));
  const uint32_t end = SizeOfFile(hive.file_name);
  LaunchSelf(RangeArguments(FullName(hive.file_name), start, end), kLaunchPlain);
}

// A log begins with a copy of its hive's base block, which alone looks like a hive: what follows
// its first unit tells.
bool IsLogFile(const std::string& file_name, HiveLog& log) {
  uint8_t start[kLogUnit + 4] = {};
  int error = 0;
  const FileStream stream(OpenFile(file_name, "rb", error));
  if (stream == nullptr) return false;
  const size_t got = ReadFileBytes(stream.get(), 0, start, sizeof start);
  const uint32_t mark = LoadU32(start + kLogUnit);
  const bool is_log = got == sizeof start && LoadU32(start) == kHiveSignature &&
                      (mark == kLogEntrySignature || mark == kLogBitmapSignature);
  if (is_log) log = ReadHiveLog(file_name);
  return is_log;
}

std::string LogFileWords(const HiveLog& log) {
  std::string words = log.name + " is a transaction log of " + TextOfWide(log.base.file_name);
  if (!log.entries.empty()) words += ", " + EntriesWords(log.entries);
  if (log.fault != LogFault::kNone) words += ": " + FaultWords(log);
  return words;
}

bool ValidateAndTell(HiveImage& hive) {
  OpenFailure failure;
  if (ValidateHiveFile(hive, failure)) return true;
  if (failure.fault != OpenFault::kNoHive) {
    Tell(hive.file_name, failure);
    return false;
  }
  const std::string words =
      OtherFileWords(PartOf(ImageBytes(hive), 0, kOtherFileStart), hive.length);
  const std::string text = kNoHiveText + (words.empty() ? words : "\r\n" + words);
  ShowMessage(text.c_str(), "Error", Icon::kExclamation);
  // What would come after is about a hive.
  RequestStop();
  return false;
}

std::string LogsWords(const HiveImage& hive) {
  return hive.logs == nullptr ? std::string() : ReplayWords(*hive.logs);
}

bool LacksLogs(const HiveImage& hive) { return hive.logs != nullptr && IsLeftDirty(*hive.logs); }

void TellOfBlocks(std::span<const BinRow> rows) {
  if (AnySizesDiffer(rows)) ShowMessage("Block size error !", "Error", Icon::kExclamation);
}

}  // namespace hivequarry
