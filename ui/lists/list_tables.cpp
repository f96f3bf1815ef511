#include "ui/lists/list_tables.h"

#include <algorithm>
#include <memory>
#include <string>
#include <utility>

#include "app/memory.h"
#include "host/case.h"
#include "host/host.h"
#include "ui/dialogs/list_dialogs.h"
#include "ui/lists/list_saving.h"
#include "ui/lists/list_work.h"
#include "ui/main/main_window.h"

namespace hivequarry {
namespace {

// In the order of the dialog's types.
enum class TableForm : uint8_t { kSafeCsv, kCsv, kJsonLines, kHtml, kTabbed, kCount };

constexpr const wchar_t kFilter[] =
    L"CSV for spreadsheets (' before formulas)\0*.csv\0"
    L"CSV with the bare texts\0*.csv\0"
    L"JSON Lines\0*.jsonl\0"
    L"HTML\0*.html;*.htm\0"
    L"Text with tabs\0*.tsv;*.txt\0";
constexpr const char* kEndings[] = {".csv", ".csv", ".jsonl", ".html", ".tsv"};
static_assert(std::size(kEndings) == static_cast<size_t>(TableForm::kCount));
// That the dialog offers beside them.
constexpr const char* kOtherEndings[] = {".htm", ".txt"};

// Filled by the worker; the interface thread reads it when that has ended.
struct TableJob {
  std::string file;
  TableForm form = TableForm::kCsv;
  RowChoice rows;
  const HiveImage* hive = nullptr;  // that the rows are of; null: another, or none
  bool whole = false;
  std::string head_file;  // empty: none was written
};

bool WriteTable(const OutputList& list, const TableJob& job, const TextSink& sink) {
  const WrittenRows which = RowsOf(job.rows);
  switch (job.form) {
    case TableForm::kSafeCsv:
      // The mark tells spreadsheets that it is UTF-8.
      return sink(kUtf8Mark) && WriteListCsvAs(list, {.safe = true}, sink, which);
    case TableForm::kJsonLines:
      return job.hive != nullptr ? WriteHiveJsonLines(list, *job.hive, sink, which)
                                 : WriteRowsJsonLines(list, which, sink);
    case TableForm::kHtml:
      return WriteListHtml(list, which, sink);
    case TableForm::kTabbed:
      return WriteListTabbed(list, which, sink);
    default:
      return WriteListCsvAs(list, {}, sink, which);
  }
}

bool WriteFile(const std::string& file, const std::function<bool(const TextSink& sink)>& write) {
  OutputFile out;
  if (!OpenListFile(file, OutputMode::kReplace, kFileNotOpened, out)) return false;
  const bool whole = WithMemory(
      [&] { return write([&out](std::string_view piece) { return WriteOutput(out, piece); }); });
  if (CloseOutput(out, whole) && whole) return true;
  ShowMessage("Could not save Output List to File !", kProgramName, Icon::kInformation);
  return false;
}

bool WriteHeadFile(const OutputList& list, const TableJob& job, const std::string& file) {
  return WriteFile(file, [&](const TextSink& sink) {
    std::string text;
    for (const std::string& line : HeadLinesOf(list, RowsOf(job.rows))) text += line + "\r\n";
    return sink(text);
  });
}

// On a worker. Only HTML has a place for the head: others get a file beside theirs.
void RunTable(const OutputList& list, TableJob& job) {
  job.whole =
      WriteFile(job.file, [&](const TextSink& sink) { return WriteTable(list, job, sink); });
  const bool bare = job.form != TableForm::kHtml;
  if (!job.whole || !bare || HeadLinesOf(list, RowsOf(job.rows)).empty()) return;
  // The user named the table alone; a head of before is replaced with it.
  const std::string beside = job.file + ".head.txt";
  if (WriteHeadFile(list, job, beside)) job.head_file = beside;
}

void TellTable(const OutputList& list, const TableJob& job) {
  if (!job.whole) return;
  const std::string more = job.head_file.empty()
                               ? std::string()
                               : "\n\nWhat the rows are of is in " + job.head_file + ".";
  ReportSaved(WrittenCount(list, RowsOf(job.rows)), more);
}

TableForm FormOfType(DWORD type) {
  const auto last = static_cast<DWORD>(TableForm::kCount);
  return static_cast<TableForm>(std::clamp<DWORD>(type, 1, last) - 1);
}

bool HasEnding(const std::string& file) {
  const auto ends = [&file](const char* ending) { return EndsIgnoringCase(file, ending); };
  return std::ranges::any_of(kEndings, ends) || std::ranges::any_of(kOtherEndings, ends);
}

void SaveTable(ListPlace& place, bool selection) {
  FileRequest request;
  request.filter = kFilter;
  request.ask_to_replace = true;
  request.name = ProposedNameOf(place);
  const FileChoice choice = ChooseFileAndType(place.window, true, kFolderTexts, request);
  if (choice.name.empty()) return;
  const auto job = std::make_shared<TableJob>();
  job->form = FormOfType(choice.type);
  job->file = choice.name;
  if (!HasEnding(job->file)) {
    // The dialog has asked about the name without it.
    job->file += kEndings[static_cast<size_t>(job->form)];
    if (FileExists(job->file) && !TheListDialogs().replace(place.window, job->file)) return;
  }
  job->rows = ChooseRows(place, selection);
  job->hive = HiveOfList(place);
  const OutputList& list = *place.model;
  StartListWork(
      place, kOperationList, [&list, job] { RunTable(list, *job); },
      [&list, job] { TellTable(list, *job); });
}

}  // namespace

void OnSaveListAs(ListPlace& place) { SaveTable(place, false); }
void OnSaveSelectedAs(ListPlace& place) { SaveTable(place, true); }

void OnCopyTable(ListPlace& place) {
  const RowChoice rows = ChooseRows(place, true);
  const WaitTurn wait(static_cast<uint32_t>(rows.rows.size()));
  std::string text;
  const bool whole = WithMemory([&] {
    return WriteListTabbed(*place.model, RowsOf(rows), [&text](std::string_view piece) {
      text += piece;
      return true;
    });
  });
  const Host& host = CurrentHost();
  if (whole && host.clipboard(host.context, text)) return;
  ShowMessage("Not enough memory available!", "Error", Icon::kStop);
}

}  // namespace hivequarry
