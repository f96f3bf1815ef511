#include "ui/commands/misc_commands.h"

#include <string>

#include "app/settings.h"
#include "hive/hive_table.h"
#include "host/host.h"
#include "ui/commands/handlers.h"
#include "ui/compare/compare_window.h"
#include "ui/dialogs/options_dialog.h"
#include "ui/frame/help.h"
#include "ui/main/freed.h"
#include "ui/main/main_window.h"
#include "ui/main/removed.h"
#include "ui/main/status.h"
#include "ui/main/window_settings.h"

namespace hivequarry {
namespace {

constexpr const char* kReloadQuestion =
    "The options of recovery take effect when a hive is loaded.\r\n"
    "Load this one again now ? What was edited in memory is lost.";

// The switches of the window are the options of the same meaning while it is open.
void ReadSwitches(const MainWindow& window, Options& options) {
  options.technical_view = window.view.technical;
  options.cell_details = window.view.cell_details;
  options.detail_pane = window.layout.detail_shown;
}

void SetSwitches(MainWindow& window, const Options& options) {
  if (options.technical_view != window.view.technical) OnTechnicalView(window);
  if (options.cell_details != window.view.cell_details) OnCellDetails(window);
  if (options.detail_pane != window.layout.detail_shown) OnDetailPane(window);
}

bool NeedLoad(const Options& a, const Options& b) {
  return a.disconnected_values != b.disconnected_values || a.tolerant_keys != b.tolerant_keys ||
         a.ask_other_roots != b.ask_other_roots || a.code_page_text != b.code_page_text;
}

// Nobody may look at the hive any more when it goes.
void LetGoOfHive(MainWindow& window) {
  CloseCompareWindows();
  ++window.selection.item_box.newest;
  ++window.selection.detail_box.newest;
  WaitWhile([&window] { return ValueThreadsRun(window.selection.threads); });
  StopHashing(window);
  StopFindings(window);
  if (window.blocks != nullptr) DestroyWindow(window.blocks);
  window.hive.slot = -1;  // before the panes, whose changes ask for other items
  ClearTree(window.tree);
  ForgetRemoved(window);
  ForgetFreed(window);
  ClearValues(window.values);
  ForgetFindings(window);
  window.selection.removed = nullptr;
  window.selection.freed = nullptr;
  window.selection.deleted = kNoItem;
  window.hive.removed = nullptr;
  SetDetail(window.detail, std::wstring());
  window.selection.item = kNoItem;
  window.selection.value = kNoOffset;
  window.selection.branch_return = kNoItem;
  window.hive.tree = nullptr;
  window.hive.sid_replacement = SidReplacement();
  window.hive.structure = HiveStructure();
  ShowHiveState(window);
  RenewBand(window);
  ResetHiveTable();
}

}  // namespace

void OnHelp(MainWindow& window) { ShowHelp(window.handle, kHelpStart); }
void OnEvidenceMode(MainWindow& window) { SetEvidenceMode(window, !window.host.evidence); }
void OnLegend(MainWindow& window) { ShowHelp(window.handle, kHelpLegend); }

void OnOptions(MainWindow& window) {
  Options options = TheSettings().options;
  ReadSwitches(window, options);
  if (!AskOptions(window.handle, options)) return;
  const bool load = window.hive.slot >= 0 && NeedLoad(options, TheSettings().options);
  TheSettings().options = options;
  SetSwitches(window, options);
  WriteProgramSettings();  // for the copies of the program that are started from now on
  if (!load) return;
  const Answer answer =
      ShowMessage(kReloadQuestion, kProgramName, Icon::kQuestion, Buttons::kYesNo);
  if (answer == Answer::kYes) ReloadHive(window, window.load.logs);
}

void ReloadHive(MainWindow& window, const LogChoice& logs) {
  if (window.hive.slot < 0 || window.load.thread.joinable() || window.work.thread.joinable())
    return;
  ReloadRequest request{logs, {}, kNoOffset};
  const uint32_t item = SelectedItem(window.tree);
  if (item != kNoItem) {
    request.key_path = LongItemPath(ShownHive(window), *window.hive.tree, item);
    request.key_position = window.hive.tree->items[item].position;
  }
  LetGoOfHive(window);
  LoadAgain(window, request);
}

}  // namespace hivequarry
