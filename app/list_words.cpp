#include "app/list_words.h"

#include <optional>

#include "app/opening_words.h"
#include "host/host.h"
#include "host/shortfalls.h"
#include "reports/file_pieces.h"

namespace hivequarry {
namespace {

void TellCannotOpen() { ShowMessage("Can not open File !", kProgramName, Icon::kExclamation); }

}  // namespace

OutputListPtr ListBlockRunsAndTell(const std::string& file) {
  UnreadBytes unread;
  OutputListPtr list = ListBlockRuns(file, unread);
  if (list == nullptr) {
    TellCannotOpen();
  } else {
    TellOfUnread(file, unread);
  }
  return list;
}

bool SplitFileAndTell(OutputList& list, const std::string& folder) {
  const SplitResult result = SplitFile(list, folder);
  switch (result.fault) {
    case SplitFault::kNone:
      break;
    case SplitFault::kCannotOpen:
      TellCannotOpen();
      break;
    case SplitFault::kNoName:
      ShowMessage("Unclassified error.", kProgramName, Icon::kInformation);
      break;
    case SplitFault::kCannotCreate:
      ShowMessage(("Can not create file " + result.file).c_str(), "Error", Icon::kStop);
      break;
  }
  return result.whole;
}

ReportRead ReadReportRowsAndTell(const std::string& file, OutputList& list) {
  UnreadBytes unread;
  const ReportRead read = ReadReportRows(file, list, unread);
  TellOfUnread(file, unread);
  return read;
}

void TellOfRefusedRow() {
  const std::optional<std::string> row = RefusedRow();
  if (!row) return;
  ShowMessage(("Error adding item " + *row + " to list").c_str(), "Error", Icon::kStop);
}

}  // namespace hivequarry
