#include "ui/commands/edit_commands.h"

#include <utility>

#include "hive/file_place.h"
#include "hive/hive_table.h"
#include "hive/value_edits.h"
#include "hive/values.h"
#include "host/number_text.h"
#include "reports/edited_values.h"
#include "ui/commands/recent_keys_dialog.h"
#include "ui/dialogs/value_editor.h"
#include "ui/lists/list_window.h"
#include "ui/main/main_window.h"
#include "words/value_text.h"

namespace hivequarry {
namespace {

constexpr uint32_t kNowhere = 0xFFFFFFFF;

HiveImage& EditedHive(const MainWindow& window) { return HiveOfSlot(window.shown->slot); }

// The key whose values are shown; kKeyUnknown for a folder.
uint32_t KeyOfRows(const MainWindow& window) {
  const KeyTree& tree = *window.shown->tree;
  const bool key =
      window.selection.item < tree.items.size() && HasKeyCell(tree, window.selection.item);
  return key ? tree.items[window.selection.item].position : kKeyUnknown;
}

// Where the file has the bytes of a value whose data are in one piece. What is edited already
// is nowhere.
std::function<uint32_t(uint32_t)> PlacesOf(const HiveImage& hive, const ValueKey& value) {
  if (value.edited || value.big_data) return nullptr;
  const uint32_t start = value.data_position;
  const uint32_t length = value.data_length;
  return [&hive, start, length](uint32_t at) {
    return at < length ? FilePositionOf(hive, start + at) : kNowhere;
  };
}

// Rows, details and the tree's mark are made from the values as they are now.
void EditsChanged(MainWindow& window) {
  RefreshItem(window);
  InvalidateRect(window.controls.tree, nullptr, FALSE);
}

}  // namespace

void OnEditValue(MainWindow& window) {
  HiveImage& hive = EditedHive(window);
  const uint32_t position = window.selection.value;
  EditedValue edit;
  const ValueKey value = ReadValueKey(hive, position, ValueRead::kData, kMaxValueData, &edit.data);
  if (value.status != ValueStatus::kRead) {
    ShowMessage("Could not read the data of the value !", kProgramName, Icon::kExclamation);
    return;
  }
  const uint32_t key = KeyOfRows(window);
  edit.key = window.selection.item == kNoItem
                 ? std::string()
                 : LongItemPath(hive, *window.shown->tree, window.selection.item);
  edit.name = ValueDisplayName(value);
  edit.type = value.type;
  edit.file_position = PlacesOf(hive, value);
  NoteKeyUsed(window);
  if (!EditValue(window.handle, edit)) return;
  if (SetValueEdit(hive, position, edit.type, std::move(edit.data), key)) EditsChanged(window);
}

void OnTakeBackEdit(MainWindow& window) {
  if (TakeBackEdit(EditedHive(window), window.selection.value)) EditsChanged(window);
}

void OnTakeBackAllEdits(MainWindow& window) {
  const size_t count = ListEdits(EditedHive(window)).size();
  const std::string text =
      Concat({"Take back ", std::to_string(count), " edited value", count == 1 ? "" : "s", " ?"});
  if (ShowMessage(text.c_str(), kProgramName, Icon::kQuestion, Buttons::kYesNo) != Answer::kYes)
    return;
  TakeBackAllEdits(EditedHive(window));
  EditsChanged(window);
}

void OnListEdits(MainWindow& window) {
  OpenListWindow(window, ListEditedValues(ShownHive(window), *window.shown->tree));
}

}  // namespace hivequarry
