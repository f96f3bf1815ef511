#include "ui/commands/export_commands.h"

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

#include "app/memory.h"
#include "app/settings.h"
#include "host/host.h"
#include "host/long_operation.h"
#include "host/number_text.h"
#include "reports/freed_find.h"
#include "reports/freed_script.h"
#include "reports/registry_script.h"
#include "ui/commands/root_dialog.h"
#include "ui/dialogs/list_dialogs.h"
#include "ui/lists/list_saving.h"
#include "ui/lists/list_window.h"
#include "ui/main/main_window.h"

namespace hivequarry {
namespace {

// Filled by the worker; the interface thread reads it when that has ended.
struct ExportJob {
  OutputFile file;
  ScriptExport written;
  OutputListPtr gaps;  // null for a whole script
  bool stopped = false;
  bool kept = false;  // the file holds the script
};

// No name when there is no file to be written.
FileChoice ChooseScript(const ListPlace& place) {
  FileRequest request;
  request.filter =
      L"Registry or Text Files (*.reg, *.txt)\0*.reg;*.txt\0All Files (*.*)\0*.*\0"
      L"Registry Files Version 5.00, Unicode (*.reg)\0*.reg\0";
  request.extension = L"txt";
  return ChooseNewFile(place, kFolderScripts, std::move(request));
}

ScriptForm FormOf(const FileChoice& choice) {
  constexpr DWORD kUnicodeType = 3;
  return choice.type == kUnicodeType ? ScriptForm::kFive : ScriptForm::kFour;
}

// The box at the end; none for a script without keys.
void ReportExported(const ScriptExport& written) {
  const uint32_t keys = written.keys;
  if (keys == 0) return;
  std::string said = Concat({Decimal(keys), keys > 1 ? " Items" : " Item", " exported !"});
  if (written.recovered_left_out != 0) {
    said += Concat({"\r\n", Decimal(written.recovered_left_out),
                    " recovered left out (an option of the program writes them too)"});
  }
  if (!written.lossy.empty()) {
    said +=
        Concat({"\r\n", std::to_string(written.lossy.size()),
                " names and texts have \"?\" for characters that the file cannot hold (files of "
                "version 5.00 hold them)"});
  }
  ShowMessage(said.c_str(), kProgramName, Icon::kInformation);
}

// On the interface thread. Of a stopped export nothing is left, and nothing is said.
void FinishExport(MainWindow& window, ExportJob& job) {
  if (job.stopped) return;
  if (!job.kept) return ReportFileFailure(kFileNotWritten, job.file.name);
  ReportExported(job.written);
  if (job.gaps != nullptr) OpenListWindow(window, std::move(job.gaps));
}

// `write` makes the script on a worker. A stopped one is not kept: it would look like a whole one.
template <typename Write>
void StartExport(const ListPlace& place, Write write) {
  MainWindow& window = *place.owner;
  const HiveImage& hive = ShownHive(window);
  if (!HasScriptRoot(hive)) {
    ShowMessage("No valid root key !", kProgramName, Icon::kInformation);
    return;
  }
  if (!EnsureRoot(window)) return;
  const FileChoice choice = ChooseScript(place);
  const auto job = std::make_shared<ExportJob>();
  if (choice.name.empty() ||
      !OpenListFile(choice.name, OutputMode::kReplace, kFileNotWritten, job->file)) {
    return;
  }
  const bool started = StartWork(
      window, kOperationExport,
      [job, write, form = FormOf(choice), &hive, &tree = *window.shown->tree] {
        const bool made = WithMemory([&] {
          job->written =
              write([job](std::string_view piece) { return WriteOutput(job->file, piece); }, form);
          return true;
        });
        job->stopped = !made || StopRequested();
        job->kept = CloseOutput(job->file, !job->stopped && !job->written.refused);
        // Once the file is closed: a list of what it lacks says nothing of a file that is not kept.
        if (job->kept) job->gaps = ListScriptGaps(hive, tree, job->written);
      },
      [&window, job] { FinishExport(window, *job); });
  // Every file that was opened is to be closed; this one is not kept.
  if (!started) CloseOutput(job->file, false);
}

// Image and tree stay while an operation is under way, so the worker may refer to them.
void StartBranch(MainWindow& window, uint32_t item) {
  const RecoveredKeys recovered =
      TheSettings().options.recovered_keys ? RecoveredKeys::kWritten : RecoveredKeys::kLeftOut;
  StartExport(window.output, [&hive = ShownHive(window), &tree = *window.shown->tree, item,
                              recovered](const TextSink& sink, ScriptForm form) {
    return ExportBranch(hive, tree, item, sink, recovered, form);
  });
}

// What such a script lacks its comments say.
void ExportFreedRows(const ListPlace& place, const std::vector<uint32_t>& positions) {
  StartExport(place, [&hive = ShownHive(*place.owner), &tree = *place.owner->shown->tree,
                      positions](const TextSink& sink, ScriptForm form) {
    FreedSource from(hive, tree);
    const FreedChoice choice = ChooseFreed(from.records, positions, FreedScope::kRecords);
    const FreedExport freed = ExportFreed(from, choice, sink, form);
    ScriptExport written;
    written.keys = freed.keys != 0 ? freed.keys : freed.values;  // what is told
    written.values = freed.values;
    written.refused = freed.refused;
    return written;
  });
}

// Takes rows out, and says so where there are any.
template <typename IsOne>
void LeaveOut(std::vector<uint32_t>& rows, IsOne is_one, const char* words) {
  if (std::erase_if(rows, is_one) == 0) return;
  ShowMessage(words, kProgramName, Icon::kInformation);
}

}  // namespace

void OnExportHive(MainWindow& window) { StartBranch(window, 0); }
void OnExportFolder(MainWindow& window) { StartBranch(window, SelectedItem(window.shown->pane)); }

void OnListExport(ListPlace& place) {
  std::vector<uint32_t> rows = SelectedRows(place);
  const uint32_t hive = HiveInFocus(place);
  const auto is_other = [&](uint32_t row) { return HiveOfRow(place, row) != hive; };
  LeaveOut(rows, is_other, "Rows of other hives than that of the row in focus are left out.");
  if (rows.empty()) rows.push_back(ModelRow(place, static_cast<uint32_t>(FocusedRow(place))));
  const auto is_freed = [&](uint32_t row) { return IsFreedRow(*place.model, row); };
  const bool freed = std::ranges::all_of(rows, is_freed);
  if (!freed) {
    LeaveOut(rows, is_freed,
             "Rows about deleted keys and values are left out. Selected alone they are exported.");
  }
  std::vector<uint32_t> positions;
  for (const uint32_t row : rows) {
    if (RowHasDatum(*place.model, row)) positions.push_back(RowDatum(*place.model, row));
  }
  if (freed) return ExportFreedRows(place, positions);
  StartExport(place, [&hive = ShownHive(*place.owner), &tree = *place.owner->shown->tree,
                      positions](const TextSink& sink, ScriptForm form) {
    return ExportKeys(hive, tree, KeysOfPositions(hive, tree, positions), ScriptScope::kKey, sink,
                      RecoveredKeys::kLeftOut, form);
  });
}

}  // namespace hivequarry
