#include "ui/lists/list_reports.h"

#include <memory>

#include "app/list_words.h"
#include "app/memory.h"
#include "host/host.h"
#include "ui/dialogs/list_dialogs.h"
#include "ui/lists/column_choice.h"
#include "ui/lists/list_saving.h"
#include "ui/lists/list_work.h"
#include "ui/main/main_window.h"

namespace hivequarry {
namespace {

FileRequest ReportRequest() {
  FileRequest request;
  request.filter = L"Report Lists\0*.rpt\0All files\0*.*\0";
  request.extension = L"rpt";
  return request;
}

ReportLook LookOf(const ListPlace& place) {
  ReportLook look;
  if (!place.pane) look.title = ListTitle(*place.model);
  look.widths = WidthsOfColumns(place);
  look.written = ReportTimeNow();
  return look;
}

// On the interface thread, under the wait cursor.
void SaveReport(const ListPlace& place, bool selection) {
  FileRequest request = ReportRequest();
  request.ask_to_replace = true;
  const std::string file = ChooseListFile(place, true, kFolderReports, request);
  OutputFile out;
  if (file.empty() || !OpenListFile(file, OutputMode::kReplace, kFileNotOpened, out)) return;
  const WaitTurn wait(ShownRowCount(place));
  const RowChoice rows = ChooseRows(place, selection);
  const bool whole = WithMemory([&] {
    return WriteReport(*place.model, RowsOf(rows), LookOf(place),
                       [&out](std::string_view piece) { return WriteOutput(out, piece); });
  });
  if (CloseOutput(out, whole) && whole) return;
  ShowMessage("Could not save Output List to File !", kProgramName, Icon::kInformation);
}

// --- loading: the head first, as the columns are needed for the rows -----------------------------

// Filled by the worker; the interface thread reads it when that has ended.
struct ReportJob {
  std::string file;
  ReportHead head;
  ReportRead read = ReportRead::kDone;
};

void ReportFailure(const ReportJob& job) {
  if (job.read != ReportRead::kCannotOpen) return;
  const std::string text = "Could Not Open or Create File " + job.file + " !";
  ShowMessage(text.c_str(), kProgramName, Icon::kStop);
}

void EndReport(ListPlace& place, const ReportJob& job) {
  ReportFailure(job);
  ListChanged(place);
  if (ShownRowCount(place) > 0) FocusRow(place, 0, false);
}

void LoadRows(ListPlace& place, const std::shared_ptr<ReportJob>& job) {
  OutputList& list = *place.model;
  place.filling = StartListWork(
      place, kOperationReport, [&list, job] { job->read = ReadReportRowsAndTell(job->file, list); },
      [&place, job] { EndReport(place, *job); });
}

// The head first, so that the list has its columns; the rows come after it, on a worker again.
void ShowReportHead(ListPlace& place, const std::shared_ptr<ReportJob>& job) {
  ReportFailure(*job);
  if (job->read != ReportRead::kDone || job->head.columns.empty()) return;
  ShowList(place, MakeListOfHead(job->head), job->head.widths);
  place.loaded = true;
  place.hive = kAnyHive;  // rows lead to the hive that has their path
  LoadRows(place, job);
}

}  // namespace

void LoadReport(ListPlace& place, const std::string& file) {
  if (place.working) return;
  const auto job = std::make_shared<ReportJob>();
  job->file = file;
  if (!StartListWork(
          place, kOperationReport, [job] { job->read = ReadReportHead(job->file, job->head); },
          [&place, job] { ShowReportHead(place, job); })) {
    return;
  }
  // Once the worker has the name: the rows of before go though the file may turn out to be none.
  EmptyList(place);
  if (place.pane && place.owner->layout.arrangement != kOutputArrangement) {
    ShowArrangement(*place.owner, kOutputArrangement);
  }
}

void OnSaveReport(ListPlace& place) { SaveReport(place, false); }
void OnSaveSelectedReport(ListPlace& place) { SaveReport(place, true); }

void OnLoadReport(ListPlace& place) {
  const std::string file = ChooseListFile(place, false, kFolderReports, ReportRequest());
  if (!file.empty()) LoadReport(place, file);
}

}  // namespace hivequarry
