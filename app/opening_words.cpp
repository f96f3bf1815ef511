#include "app/opening_words.h"

#include <cstring>

#include "host/file_reading.h"
#include "host/files.h"
#include "host/host.h"
#include "host/long_operation.h"
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

}  // namespace

int OpenHiveAndTell(const std::string& file_name) {
  const bool whole = TheHiveTable().end_offset <= TheHiveTable().start_offset;
  HiveLog log;
  if (whole && IsLogFile(file_name, log)) {
    ShowMessage(LogFileWords(log).c_str(), kProgramName, Icon::kInformation);
    return -1;
  }
  OpenFailure failure;
  const int slot = OpenHive(file_name, failure);
  Tell(file_name, failure);
  if (slot >= 0) ReportUnread(file_name, HiveOfSlot(slot).unread);
  return slot;
}

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
