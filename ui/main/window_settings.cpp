#include "ui/main/window_settings.h"

#include <shlobj.h>

#include "app/recent_keys.h"
#include "app/settings.h"
#include "hive/shown_zone.h"
#include "host/files.h"
#include "ui/frame/list_view.h"
#include "ui/frame/system_facts.h"
#include "ui/frame/text.h"
#include "ui/frame/window_place.h"
#include "ui/main/main_window.h"

namespace hivequarry {

void ApplySettings(MainWindow& window) {
  const Settings& settings = TheSettings();
  if (settings.tree_width > 0) window.layout.tree_width = settings.tree_width;
  if (settings.detail_share > 0) window.layout.detail_share = settings.detail_share;
  window.layout.detail_shown = settings.options.detail_pane;
  window.bookmarks.shown = settings.bookmark_pane.shown;
  window.bookmarks.below = settings.bookmark_pane.below;
  SetColumnWidths(window.bookmarks.list, settings.bookmark_pane.columns, window.dpi);
  if (settings.bookmark_pane.height > 0) window.bookmarks.height = settings.bookmark_pane.height;
  if (settings.bookmark_pane.width > 0) window.bookmarks.width = settings.bookmark_pane.width;
  window.view.technical = settings.options.technical_view;
  window.view.cell_details = settings.options.cell_details;
  SetColumnWidths(window.values.window, settings.main.columns, window.dpi);
  window.values.columns_touched = !settings.main.columns.empty();
  SetColumnWidths(window.output.list, settings.output_columns, window.dpi);
  ShownZone zone;
  ReadZone(settings.time_zone, zone);  // UTC for a text that is none
  SetShownZone(zone);
}

bool RestorePlace(MainWindow& window) {
  const WindowPlace& kept = TheSettings().main;
  if (!IsPlaced(kept)) return false;
  // Going over to that screen may change the resolution, and with it the size.
  const RECT corner = OnScreen({kept.left, kept.top, kept.left + 1, kept.top + 1});
  SetWindowPos(window.handle, nullptr, corner.left, corner.top, 0, 0,
               SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
  window.put_beside = MoveBesideOthers(window.handle, OnScreen(AreaOfPlace(kept, window.dpi)));
  return true;
}

void GatherSettings(const MainWindow& window) {
  Settings& settings = TheSettings();
  const WindowPlace kept = settings.main;
  settings.main = PlaceOfWindow(window.handle, window.dpi);
  KeepUnmovedPlace(window.put_beside, window.handle, kept, settings.main);
  if (window.values.columns_touched) {
    settings.main.columns = ColumnWidths(window.values.window, window.dpi);
  }
  // A list of results has columns of its own.
  if (ColumnCount(window.output.list) == kMaxColumns) {
    settings.output_columns = ColumnWidths(window.output.list, window.dpi);
  }
  settings.tree_width = window.layout.tree_width;
  settings.detail_share = window.layout.detail_share;
  settings.options.detail_pane = window.layout.detail_shown;
  settings.bookmark_pane = {window.bookmarks.shown, window.bookmarks.below, window.bookmarks.height,
                            window.bookmarks.width,
                            ColumnWidths(window.bookmarks.list, window.dpi)};
  settings.options.technical_view = window.view.technical;
  settings.options.cell_details = window.view.cell_details;
}

void WriteProgramSettings() {
  const std::string& file = TheProgram().settings_file;
  if (file.empty()) return;
  Settings stored;
  ReadSettings(file, stored);
  // The whole file is written, so what other copies have put there since is taken in before.
  TakeOthersSettings(SettingsAsRead(), stored, TheSettings());
  WriteSettings(file, TheSettings());
  SettingsAsRead() = TheSettings();
  WriteRecentKeys(file, TheRecentKeys());
}

void RememberInSystem(const MainWindow& window, const std::string& file) {
  if (!TheProgram().in_recent || window.host.evidence) return;
  SHAddToRecentDocs(SHARD_PATHW, WideName(FullName(file)).c_str());
}

void RememberHive(const std::string& file, uint32_t start, uint32_t end) {
  Settings& settings = TheSettings();
  const std::string name = FullName(file);
  AddToHistory(settings.histories.recent_files, name);
  settings.folders[kFolderHives] = FolderOf(name);
  if (start == 0 && end == 0) return;
  settings.range_start = start;
  settings.range_end = end;
}

}  // namespace hivequarry
