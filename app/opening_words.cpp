#include "app/opening_words.h"

#include <cstring>

#include "host/file_reading.h"
#include "host/host.h"
#include "host/long_operation.h"

namespace hivequarry {
namespace {

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
      ShowMessage("Invalid File format !", "Error", Icon::kExclamation);
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
  OpenFailure failure;
  const int slot = OpenHive(file_name, failure);
  Tell(file_name, failure);
  if (slot >= 0) ReportUnread(file_name, HiveOfSlot(slot).unread);
  return slot;
}

bool ValidateAndTell(HiveImage& hive) {
  OpenFailure failure;
  if (ValidateHiveFile(hive, failure)) return true;
  Tell(hive.file_name, failure);
  if (failure.fault == OpenFault::kNoHive) RequestStop();
  return false;
}

void TellOfBlocks(std::span<const BinRow> rows) {
  if (AnySizesDiffer(rows)) ShowMessage("Block size error !", "Error", Icon::kExclamation);
}

}  // namespace hivequarry
