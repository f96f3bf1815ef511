#include "ui/live/regedit_commands.h"

#include <algorithm>
#include <string>
#include <string_view>

#include "app/key_paths.h"
#include "hive/values.h"
#include "host/host.h"
#include "host/long_operation.h"
#include "ui/commands/recent_keys_dialog.h"
#include "ui/lists/list_place.h"
#include "ui/live/regedit.h"
#include "ui/main/main_window.h"
#include "view/tree_find.h"

namespace hivequarry {
namespace {

// On a worker, since the editor is waited for. A beep for what has no path.
void StartGoing(MainWindow& window, const std::string& path, const std::string& value) {
  if (path.empty()) return BeepAtUser();
  StartWork(
      window, kOperationQuietA, [path, value] { GoToRegedit(path, value); },
      [] {
        const std::string& error = EditorErrorText();
        if (!error.empty()) ShowStatus(error.c_str());
      });
}

// The key's place in a registry. Of a path too long to be written its start, which is more than the
// editor is led along.
std::string RegistryPath(const MainWindow& window, uint32_t item) {
  const KeyTree& tree = *window.shown->tree;
  std::string path;
  for (; item != kNoItem && path.empty(); item = tree.items[item].parent) {
    path = ShownKeyPath(KeyPathOf(ShownHive(window), tree, item));
  }
  return path;
}

std::string ValueNameAt(const HiveImage& hive, uint32_t position) {
  const WholeReading whole;
  const ValueKey value = ReadValueKey(hive, position, ValueRead::kName, 0, nullptr);
  return value.name_length == 0 ? std::string(kDefaultValue) : value.name;
}

int ColumnNamed(const OutputList& list, std::string_view title) {
  for (int column = 0; column < ColumnCount(list); ++column) {
    if (ColumnTitle(list, column) == title) return column;
  }
  return -1;
}

std::string TextNamed(const OutputList& list, uint32_t row, std::string_view title) {
  const int column = ColumnNamed(list, title);
  return column < 0 ? std::string() : std::string(CellText(list, row, column));
}

// The first column may have the row's number first; no path begins like one.
std::string PathInRow(const OutputList& list, uint32_t row) {
  const std::string text = TextNamed(list, row, "Key");
  return text.substr(std::min(text.find_first_not_of("0123456789, "), text.size()));
}

// By the row's record where the hive is open, since what the row shows may be shortened; else by
// its words.
std::string PathOfRow(const ListPlace& place, uint32_t row) {
  const MainWindow& window = *place.owner;
  const OutputList& list = *place.model;
  if (window.shown->slot < 0 || !RowHasDatum(list, row)) return PathInRow(list, row);
  const uint32_t item = ItemShowing(ShownHive(window), *window.shown->tree, RowDatum(list, row));
  return item == kNoItem ? PathInRow(list, row) : RegistryPath(window, item);
}

}  // namespace

void OnGoToRegedit(MainWindow& window) {
  const bool value = GetFocus() == window.values.window && window.selection.value != kNoOffset;
  NoteKeyUsed(window);
  StartGoing(window, RegistryPath(window, SelectedItem(window.shown->pane)),
             value ? ValueNameAt(ShownHive(window), window.selection.value) : std::string());
}

void OnListRegedit(ListPlace& place) {
  const uint32_t row = ModelRow(place, static_cast<uint32_t>(FocusedRow(place)));
  StartGoing(*place.owner, PathOfRow(place, row), TextNamed(*place.model, row, "Value"));
}

}  // namespace hivequarry
