#include "ui/window_settings.h"

#include <algorithm>

#include "app/recent_keys.h"
#include "app/settings.h"
#include "host/files.h"
#include "ui/list_view.h"
#include "ui/main_window.h"
#include "ui/system_facts.h"
#include "ui/text.h"

namespace hivequarry {
namespace {

int Unscale(int measure, uint32_t dpi) {
  return MulDiv(measure, USER_DEFAULT_SCREEN_DPI, static_cast<int>(dpi));
}

void SetWidths(HWND list, const std::vector<int>& widths, uint32_t dpi) {
  const int count = std::min(ColumnCount(list), static_cast<int>(widths.size()));
  for (int column = 0; column < count; ++column) {
    const int width = widths[static_cast<size_t>(column)];
    if (width > 0) ListView_SetColumnWidth(list, column, Scale(width, dpi));
  }
}

std::vector<int> Widths(HWND list, uint32_t dpi) {
  std::vector<int> widths;
  for (int column = 0; column < ColumnCount(list); ++column) {
    widths.push_back(Unscale(ListView_GetColumnWidth(list, column), dpi));
  }
  return widths;
}

// The same size moved into an area, or cut to it.
RECT MovedInto(const RECT& area, RECT place) {
  const LONG width = std::min(place.right - place.left, area.right - area.left);
  const LONG height = std::min(place.bottom - place.top, area.bottom - area.top);
  place.left = std::clamp(place.left, area.left, area.right - width);
  place.top = std::clamp(place.top, area.top, area.bottom - height);
  return {place.left, place.top, place.left + width, place.top + height};
}

RECT WorkAreaAt(const RECT& place) {
  MONITORINFO monitor{};
  monitor.cbSize = sizeof monitor;
  GetMonitorInfoW(MonitorFromRect(&place, MONITOR_DEFAULTTONEAREST), &monitor);
  return monitor.rcWork;
}

// Corners are those of the screen; the size is kept at 96 dpi, so that it suits the screen where
// the window appears next time.
WindowPlace PlaceNow(const MainWindow& window) {
  WINDOWPLACEMENT placement{};
  placement.length = sizeof placement;
  GetWindowPlacement(window.handle, &placement);
  RECT normal = placement.rcNormalPosition;
  if (placement.showCmd == SW_SHOWNORMAL) GetWindowRect(window.handle, &normal);
  WindowPlace place;
  place.left = normal.left;
  place.top = normal.top;
  place.right = normal.left + Unscale(normal.right - normal.left, window.dpi);
  place.bottom = normal.top + Unscale(normal.bottom - normal.top, window.dpi);
  place.maximised =
      placement.showCmd == SW_SHOWMAXIMIZED ||
      (placement.showCmd == SW_SHOWMINIMIZED && (placement.flags & WPF_RESTORETOMAXIMIZED) != 0);
  if (window.values.columns_touched) place.columns = Widths(window.values.window, window.dpi);
  return place;
}

// Hives that other copies of the program opened meanwhile, behind those of this one.
void AddOthersHives(const std::string& file, History& recent) {
  Settings stored;
  ReadSettings(file, stored);
  for (const std::string& name : stored.histories.recent_files) {
    const bool known = std::ranges::find(recent, name) != recent.end();
    if (!known && recent.size() < kHistoryLength) recent.push_back(name);
  }
}

}  // namespace

void ApplySettings(MainWindow& window) {
  const Settings& settings = TheSettings();
  if (settings.tree_width > 0) window.tree_width = settings.tree_width;
  if (settings.detail_share > 0) window.detail_share = settings.detail_share;
  window.detail_shown = settings.options.detail_pane;
  window.view.technical = settings.options.technical_view;
  window.view.cell_details = settings.options.cell_details;
  SetWidths(window.values.window, settings.main.columns, window.dpi);
  window.values.columns_touched = !settings.main.columns.empty();
  SetWidths(window.output.list, settings.output_columns, window.dpi);
}

bool RestorePlace(MainWindow& window) {
  const WindowPlace& kept = TheSettings().main;
  if (!IsPlaced(kept)) return false;
  const RECT work = WorkAreaAt({kept.left, kept.top, kept.right, kept.bottom});
  // Going over to that screen may change the resolution, and with it the size.
  const RECT corner = MovedInto(work, {kept.left, kept.top, kept.left + 1, kept.top + 1});
  SetWindowPos(window.handle, nullptr, corner.left, corner.top, 0, 0,
               SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
  const RECT place =
      MovedInto(work, {kept.left, kept.top, kept.left + Scale(kept.right - kept.left, window.dpi),
                       kept.top + Scale(kept.bottom - kept.top, window.dpi)});
  SetWindowPos(window.handle, nullptr, place.left, place.top, place.right - place.left,
               place.bottom - place.top, SWP_NOZORDER | SWP_NOACTIVATE);
  return true;
}

void GatherSettings(const MainWindow& window) {
  Settings& settings = TheSettings();
  settings.main = PlaceNow(window);
  // A list of results has columns of its own.
  if (ColumnCount(window.output.list) == kMaxColumns) {
    settings.output_columns = Widths(window.output.list, window.dpi);
  }
  settings.tree_width = window.tree_width;
  settings.detail_share = window.detail_share;
  settings.options.detail_pane = window.detail_shown;
  settings.options.technical_view = window.view.technical;
  settings.options.cell_details = window.view.cell_details;
}

void WriteProgramSettings() {
  const std::string& file = TheProgram().settings_file;
  if (file.empty()) return;
  AddOthersHives(file, TheSettings().histories.recent_files);
  WriteSettings(file, TheSettings());
  WriteRecentKeys(file, TheRecentKeys());
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
