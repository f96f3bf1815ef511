#include "ui/handlers.h"

#include "host/long_operation.h"
#include "ui/about_dialog.h"
#include "ui/block_window.h"
#include "ui/list_view.h"
#include "ui/main_window.h"
#include "ui/text.h"
#include "ui/win.h"

namespace hivequarry {
namespace {

// The name chosen in the open dialog, empty when it was cancelled.
std::string AskForFile(HWND owner) {
  std::wstring name(32768, L'\0');
  OPENFILENAMEW dialog{};
  dialog.lStructSize = sizeof dialog;
  dialog.hwndOwner = owner;
  dialog.lpstrFilter = L"All files (*.*)\0*.*\0";
  dialog.lpstrFile = name.data();
  dialog.nMaxFile = static_cast<DWORD>(name.size());
  dialog.lpstrTitle = L"Open Registry file ...";
  dialog.Flags = OFN_EXPLORER | OFN_FILEMUSTEXIST | OFN_HIDEREADONLY | OFN_NOCHANGEDIR;
  if (GetOpenFileNameW(&dialog) == FALSE) return std::string();
  return Utf8Name(name.c_str());
}

void ViewChanged(MainWindow& window) {
  RefreshItem(window);
  UpdateToolbar(window);
}

void ShowDetailPane(MainWindow& window, bool on) {
  if (!on && GetFocus() == window.detail.window) SetFocus(window.values.window);
  window.detail_shown = on;
  ShowPanes(window);
  LayOut(window);
  UpdateToolbar(window);
}

}  // namespace

void OnOpenFile(MainWindow& window) { OpenNamedFile(window, AskForFile(window.handle), 0, 0); }

void OnStop(MainWindow& window) {
  StopCommand();
  UpdateToolbar(window);
}

void OnExit(MainWindow& window) { SendMessageW(window.handle, WM_CLOSE, 0, 0); }

void OnAbout(MainWindow& window) { ShowAboutDialog(window.instance, window.handle); }

void OnResizeColumns(MainWindow& window) {
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

void OnDetailPane(MainWindow& window) { ShowDetailPane(window, !window.detail_shown); }

void OnBlockList(MainWindow& window) { ShowBlockList(window); }

void OnCopyKeyName(MainWindow& window) {
  const uint32_t item = SelectedItem(window.tree);
  const std::string path = ItemPathUtf8(ShownHive(window), *window.key_tree, item, nullptr);
  CopyText(window.handle, WideName(path));
}

void OnExpandSubfolders(MainWindow& window) {
  StartExpand(window.tree, SelectedItem(window.tree));
  if (ExpandSlice(window.tree)) SetTimer(window.handle, kExpandTimer, kTimerPause, nullptr);
}

void OnCollapseSubfolders(MainWindow& window) {
  CollapseBranch(window.tree, SelectedItem(window.tree));
  KeepFilling(window);  // a branch whose expanding this has ended
}

void OnValueDetails(MainWindow& window) {
  if (!window.detail_shown) ShowDetailPane(window, true);
  SetFocus(window.detail.window);
}

void OnNextPane(MainWindow& window) { FocusNextPane(window, false); }
void OnPreviousPane(MainWindow& window) { FocusNextPane(window, true); }

}  // namespace hivequarry
