// Commands about files, views and the Output List pane.
#include "ui/commands/handlers.h"

#include "app/settings.h"
#include "app/stop_command.h"
#include "ui/dialogs/about_dialog.h"
#include "ui/dialogs/list_dialogs.h"
#include "ui/frame/list_view.h"
#include "ui/lists/block_window.h"
#include "ui/lists/list_menu.h"
#include "ui/lists/list_saving.h"
#include "ui/main/expanding.h"
#include "ui/main/main_window.h"
#include "ui/main/toolbar.h"
#include "view/list_commands.h"

namespace hivequarry {
namespace {

void ViewChanged(MainWindow& window) {
  RefreshItem(window);
  UpdateToolbar(window);
}

// The focus leaves the pane before it is hidden.
void ShowDetailPane(MainWindow& window, bool on) {
  if (!on && IsChild(window.viewer.window, GetFocus()) != FALSE) SetFocus(window.values.window);
  window.layout.detail_shown = on;
  ShowPanes(window);
  LayOut(window);
  UpdateToolbar(window);
}

}  // namespace

void OnNothing(MainWindow&) {}

namespace {

std::string AskHiveFile(const MainWindow& window) {
  FileRequest request;
  request.title = L"Open Registry file ...";
  request.filter = L"All files (*.*)\0*.*\0Report Lists (*.rpt)\0*.rpt\0";
  return ChooseListFile(window.output, false, kFolderHives, request);
}

constexpr const char* kCloseQuestion =
    "What was edited in memory is lost. Close the hive all the same ?";

}  // namespace

void OnOpenFile(MainWindow& window) { OpenNamedFile(window, {AskHiveFile(window)}); }

void OnOpenInWindow(MainWindow& window) {
  const std::string file = AskHiveFile(window);
  if (!file.empty()) OpenInNewCopy(file);
}

void OnCloseHive(MainWindow& window) {
  if (ShownHive(window).edits.any &&
      ShowMessage(kCloseQuestion, kProgramName, Icon::kQuestion, Buttons::kYesNo) != Answer::kYes) {
    return;
  }
  CloseShownHive(window);
}

void OnStop(MainWindow& window) {
  if (!StopExpanding(window)) StopCommand();
  UpdateToolbar(window);
}

// The record may be gone when this returns: it goes with the window.
void OnExit(MainWindow& window) { SendMessageW(window.handle, WM_CLOSE, 0, 0); }

void OnAbout(MainWindow& window) { ShowAboutDialog(window.instance, window.handle); }

void OpenRecentHive(MainWindow& window, size_t index) {
  // A copy: opening it changes the history.
  const std::string file = TheSettings().histories.recent_files[index];
  OpenNamedFile(window, {file});
}

void OnToggleView(MainWindow& window) {
  int next = NextArrangement(window.layout.arrangement);
  // A list that nothing was put into yet is nothing to go to while there is a hive to be seen.
  const bool empty = window.output.model == nullptr || ShownRowCount(window.output) == 0;
  if (next == kOutputArrangement && empty && window.shown->slot >= 0) next = NextArrangement(next);
  ShowArrangement(window, next);
}

void OnOutputListButton(MainWindow& window) {
  if (window.layout.arrangement == kOutputArrangement) return OnToggleView(window);
  ShowArrangement(window, kOutputArrangement);
}

void OnLastPane(MainWindow& window) {
  const bool output = window.layout.arrangement == kOutputArrangement;
  ShowArrangement(window, output ? LastArrangement(window) : kOutputArrangement);
}

void OnResizeColumns(MainWindow& window) {
  if (window.layout.arrangement == kOutputArrangement) {
    return RunOutputCommand(window, kCommandResizeColumns);
  }
  FitColumns(window.values.window, window.dpi);
  window.values.columns_touched = true;
}

void OnTechnicalView(MainWindow& window) {
  window.view.technical = !window.view.technical;
  ViewChanged(window);
}

void OnCellDetails(MainWindow& window) {
  window.view.cell_details = !window.view.cell_details;
  ViewChanged(window);
}

void OnDetailPane(MainWindow& window) { ShowDetailPane(window, !window.layout.detail_shown); }

void OnValueDetails(MainWindow& window) {
  if (!window.layout.detail_shown) ShowDetailPane(window, true);
  SetFocus(window.viewer.detail.window);
}

void OnNextPane(MainWindow& window) { FocusNextPane(window, false); }
void OnPreviousPane(MainWindow& window) { FocusNextPane(window, true); }

void OnBlockList(MainWindow& window) { ShowBlockList(window); }

void RunOutputCommand(MainWindow& window, CommandNumber number) {
  RunListCommand(window.output, number);
}

}  // namespace hivequarry
