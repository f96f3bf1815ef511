// An item that is selected (FollowSelection) has its rows and details gathered by a value thread,
// which leaves them in a mailbox and posts kItemReady; the details of a row's value come the same
// way, with kDetailReady. Each request has a serial number: a result that is not of the newest one
// is dropped, whatever order the threads end in.
#include "ui/main/selection.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "hive/hive_table.h"
#include "ui/commands/recent_keys_dialog.h"
#include "ui/frame/text.h"
#include "ui/main/freed.h"
#include "ui/main/main_window.h"
#include "ui/main/notifications.h"
#include "ui/main/removed.h"
#include "ui/main/status.h"
#include "ui/main/toolbar.h"
#include "view/freed_words.h"
#include "view/item_words.h"
#include "view/removed_words.h"
#include "view/tree_find.h"
#include "view/workspace.h"
#include "words/item_values.h"
#include "words/value_text.h"

namespace hivequarry {
namespace {

using Removed = std::shared_ptr<const RemovedState>;
using Freed = std::shared_ptr<const FreedTree>;

// The threads look at the hive that was viewed when they were started: another one may be by now.
struct ReadHive {
  const HiveImage& image;
  const KeyTree& tree;
};
ReadHive ReadNow(const MainWindow& window) { return {ShownHive(window), *window.shown->tree}; }

// On a value thread, as the two after it: read the hive and the tree, which stay while such threads
// run, and touch nothing of the window but its mailbox.
void GatherItem(MainWindow& window, const ReadHive& of, uint32_t serial, uint32_t item,
                ValueViewOptions options, const Freed& freed) {
  if (!IsNewest(window.selection.item_box, serial)) return;
  auto result = std::make_unique<ItemResult>();
  result->item = item;
  result->options = options;
  result->hive = &of.image;
  result->values = ShowItemValues(of.image, of.tree, item, options);
  if (freed != nullptr && HasKeyCell(of.tree, item)) {
    AddFreedRows(*freed, of.tree.items[item].position, result->values);
    result->freed = freed;
  }
  result->detail = WideText(ItemDetail(of.image, of.tree, item));
  Deliver(window.selection.item_box, serial, std::move(result), window.handle, kItemReady);
}

// Likewise of a deleted key, and of one that the logs removed: `freed` and `removed` hold what is
// read.
void GatherFreed(MainWindow& window, const ReadHive& of, uint32_t serial, uint32_t item,
                 ValueViewOptions options, const Freed& freed) {
  if (!IsNewest(window.selection.item_box, serial)) return;
  auto result = std::make_unique<ItemResult>();
  result->item = item;
  result->freed = freed;
  result->deleted = true;
  result->options = options;
  result->hive = &of.image;
  result->values = FreedItemRows(of.image, of.tree, *freed, item);
  result->detail = WideText(FreedItemDetail(of.image, of.tree, *freed, item));
  Deliver(window.selection.item_box, serial, std::move(result), window.handle, kItemReady);
}

void GatherRemoved(MainWindow& window, const ReadHive& of, uint32_t serial, uint32_t item,
                   ValueViewOptions options, const Removed& removed) {
  if (!IsNewest(window.selection.item_box, serial)) return;
  auto result = std::make_unique<ItemResult>();
  result->item = item;
  result->hive = &removed->before.image;
  result->removed = removed;
  result->options = options;
  result->values = RemovedRows(*removed, item, options);
  result->detail = WideText(RemovedItemDetail(*of.image.logs, *removed, item));
  Deliver(window.selection.item_box, serial, std::move(result), window.handle, kItemReady);
}

// Of a deleted value, of one that the logs removed, or of the hive's own; at most one of `removed`
// and `freed` is about it.
DetailResult DetailOfValue(const ReadHive& of, uint32_t value, const Removed& removed,
                           const Freed& freed) {
  if (freed != nullptr && FreedValueAt(freed->records, value) != nullptr) {
    return {WideText(FreedValueDetail(of.image, of.tree, *freed, value)),
            BytesOfFreedValue(of.image, *freed, value)};
  }
  if (removed == nullptr) {
    return {WideText(ValueDetailOf(of.image, of.tree, value)), BytesOfValue(of.image, value)};
  }
  return {WideText(RemovedValueDetail(*of.image.logs, *removed, value)),
          BytesOfValue(removed->before.image, value)};
}

// On a value thread.
void GatherDetail(MainWindow& window, const ReadHive& of, uint32_t serial, uint32_t value,
                  const Removed& removed, const Freed& freed) {
  if (!IsNewest(window.selection.detail_box, serial)) return;
  Deliver(window.selection.detail_box, serial,
          std::make_unique<DetailResult>(DetailOfValue(of, value, removed, freed)), window.handle,
          kDetailReady);
}

void ShowDetail(MainWindow& window, std::wstring text, ValueBytes bytes = {}) {
  if (ShowInViewer(window.viewer, std::move(text), std::move(bytes))) {
    SetTimer(window.handle, kDetailTimer, kTimerPause, nullptr);
  }
}

// Of all hives, one after the other.
std::wstring WorkspaceText(const MainWindow& window) {
  std::wstring text;
  for (const auto& hive : window.hives) {
    if (hive->slot < 0) continue;
    if (!text.empty()) text += L"\r\n";
    text += WideText(WorkspaceDetail(GlanceOf(*hive)));
  }
  return text;
}

ItemValues RowsInWorkspace(const WindowHive& hive) {
  return hive.slot < 0 ? ItemValues()
                       : WorkspaceRows(HiveOfSlot(hive.slot), *hive.tree, hive.survey);
}

// Those of all hives, one after another, so a row leads to its hive by its number
// (HiveOfWorkspaceRow).
ItemValues RowsOfWorkspace(const MainWindow& window) {
  ItemValues all;
  for (const auto& hive : window.hives) {
    ItemValues rows = RowsInWorkspace(*hive);
    std::move(rows.info_rows.begin(), rows.info_rows.end(), std::back_inserter(all.info_rows));
  }
  return all;
}

bool IsRootShown(const MainWindow& window) {
  return window.selection.item == 0 && window.selection.removed == nullptr;
}

// The root's details end with what is known of the hive by now.
std::wstring KeyDetailNow(const MainWindow& window) {
  if (!IsRootShown(window)) return window.selection.key_detail;
  return window.selection.key_detail + L"\r\nState of the hive\r\n" +
         WindowText(GlanceLines(GlanceNow(window)));
}

void ShowPath(const MainWindow& window, uint32_t item) {
  const std::string path =
      item == kNoItem ? "" : LongItemPath(ShownHive(window), *window.shown->tree, item);
  SetWindowTextW(window.controls.path, WideName(path).c_str());
}

// What is on its way for a key or a value belongs to what was selected before.
void ForgetResults(MainWindow& window) {
  ++window.selection.item_box.newest;
  ++window.selection.detail_box.newest;
}

// Results that are on their way are of no use any more.
void ShowWorkspace(MainWindow& window) {
  ForgetResults(window);
  SetWindowTextW(window.controls.path, kWorkspaceTitle);
  ShowItemWords(window, std::wstring());
  window.selection.item = kNoItem;
  window.selection.value = kNoOffset;
  window.selection.removed = nullptr;
  window.selection.freed = nullptr;
  window.selection.deleted = kNoItem;
  window.selection.key_detail = WorkspaceText(window);
  ShowValues(window.values, {&ShownHive(window), RowsOfWorkspace(window), {}});
  FitValueColumns(window.values, window.dpi);
  ShowDetail(window, window.selection.key_detail);
  UpdateToolbar(window);
}

// The row of the value that was gone to, if it is among those shown.
void SelectWantedRow(MainWindow& window) {
  const uint32_t value = std::exchange(window.selection.wanted_value, kNoOffset);
  const int row = value == kNoOffset ? -1 : RowOfValue(window.values.rows, value);
  if (row < 0) return;
  const HWND list = window.values.window;
  ListView_SetItemState(list, row, LVIS_SELECTED | LVIS_FOCUSED, LVIS_SELECTED | LVIS_FOCUSED);
  ListView_EnsureVisible(list, row, FALSE);
}

}  // namespace

WindowHive* HiveOfWorkspaceRow(const MainWindow& window, int row) {
  int end = 0;
  for (const auto& hive : window.hives) {
    end += static_cast<int>(RowsInWorkspace(*hive).info_rows.size());
    if (row < end) return row < 0 ? nullptr : hive.get();
  }
  return nullptr;
}

void FollowSelection(MainWindow& window, LPARAM param) {
  if (window.tree_changes || window.host.ending) return;
  WindowHive* const hive = HiveOfParam(window, param);
  if (hive != nullptr) ViewHive(window, *hive);
  OnItemSelected(window, SelectedItem(window.viewed->pane));
}

void OnItemSelected(MainWindow& window, uint32_t item) {
  if (window.shown->slot < 0 || window.host.ending) return;  // items that go select others
  if (IsWorkspaceSelected(window.shown->pane)) return ShowWorkspace(window);
  if (IsRemovedSelected(window)) return OnRemovedSelected(window);
  if (IsFreedSelected(window)) return ShowFreedItem(window, SelectedItem(window.shown->freed_pane));
  if (item == kNoItem) return;
  ShowPath(window, item);
  NoteKeyShown(window);
  ShowItemWords(window, WideText(ItemWords(ShownHive(window), *window.shown->tree, item)));
  const uint32_t serial = ++window.selection.item_box.newest;
  const ValueViewOptions options = window.view;
  StartValueThread(window.selection.threads, [&window, of = ReadNow(window), serial, item, options,
                                              freed = ShownFreed(window)] {
    GatherItem(window, of, serial, item, options, freed);
  });
  UpdateToolbar(window);
}

void ShowFreedItem(MainWindow& window, uint32_t item) {
  const Freed freed = window.shown->findings.freed;
  if (item == kNoItem || freed == nullptr) return;
  const HiveImage& hive = ShownHive(window);
  SetWindowTextW(window.controls.path,
                 WideName(FreedItemPath(hive, *window.shown->tree, *freed, item)).c_str());
  ShowItemWords(window, WideText(FreedItemWords(*freed, item)));
  const uint32_t serial = ++window.selection.item_box.newest;
  const ValueViewOptions options = window.view;
  StartValueThread(window.selection.threads,
                   [&window, of = ReadNow(window), serial, item, options, freed] {
                     GatherFreed(window, of, serial, item, options, freed);
                   });
  UpdateToolbar(window);
}

void ShowRemovedItem(MainWindow& window, uint32_t item) {
  const Removed removed = window.shown->removed;
  const StateBefore& before = removed->before;
  SetWindowTextW(window.controls.path,
                 WideName(LongItemPath(before.image, before.tree, item)).c_str());
  const uint32_t serial = ++window.selection.item_box.newest;
  const ValueViewOptions options = window.view;
  StartValueThread(window.selection.threads,
                   [&window, of = ReadNow(window), serial, item, options, removed] {
                     GatherRemoved(window, of, serial, item, options, removed);
                   });
  UpdateToolbar(window);
}

void ShowRemovedRoot(MainWindow& window, const std::u16string& detail) {
  ForgetResults(window);
  SetWindowTextW(window.controls.path, WideName(kRemovedTitle).c_str());
  ShowItemWords(window, std::wstring());
  window.selection.item = kNoItem;
  window.selection.value = kNoOffset;
  window.selection.removed = window.shown->removed;
  window.selection.freed = nullptr;
  window.selection.deleted = kNoItem;
  window.selection.key_detail = WideText(detail);
  ValueRows rows{&ShownHive(window), {}, window.view};
  if (window.shown->removed != nullptr) {
    rows.hive = &window.shown->removed->before.image;
    rows.values = RemovedRows(*window.shown->removed, 0, window.view);
  }
  ShowValues(window.values, std::move(rows));
  FitValueColumns(window.values, window.dpi);
  ShowDetail(window, window.selection.key_detail);
  UpdateToolbar(window);
}

void ShowItemResult(MainWindow& window) {
  const std::unique_ptr<ItemResult> result = Take(window.selection.item_box);
  if (result == nullptr || window.shown->slot < 0) return;
  ++window.selection.detail_box.newest;  // details on their way belong to the rows that go
  const bool removed = result->removed != nullptr;
  window.selection.item = removed || result->deleted ? kNoItem : result->item;
  window.selection.deleted = result->deleted ? result->item : kNoItem;
  window.selection.value = kNoOffset;
  window.selection.key_detail = std::move(result->detail);
  window.selection.freed = result->freed;
  ShowValues(window.values,
             {result->hive, std::move(result->values), result->options, std::move(result->freed)});
  window.selection.removed = std::move(result->removed);  // after the rows that looked at it
  FitValueColumns(window.values, window.dpi);
  ShowDetail(window, KeyDetailNow(window));
  SelectWantedRow(window);
  UpdateToolbar(window);
}

void OnRowSelected(MainWindow& window) {
  const uint32_t value = ValueOfRow(window.values.rows, SelectedRow(window.values));
  // The control reports each row that gains or loses the selection, so most reports say nothing
  // new.
  if (value == window.selection.value || window.shown->slot < 0) return;
  window.selection.value = value;
  const uint32_t serial = ++window.selection.detail_box.newest;
  UpdateToolbar(window);
  if (value == kNoOffset) return ShowDetail(window, KeyDetailNow(window));
  StartValueThread(window.selection.threads,
                   [&window, of = ReadNow(window), serial, value,
                    removed = window.selection.removed, freed = window.selection.freed] {
                     GatherDetail(window, of, serial, value, removed, freed);
                   });
}

DetailResult DetailOfRecord(const HiveImage& hive, const KeyTree& tree,
                            const std::shared_ptr<const FreedTree>& freed, uint32_t position) {
  const uint32_t item = freed == nullptr ? kNoItem : FreedItemAt(*freed, position);
  if (item != kNoItem) return {WideText(FreedItemDetail(hive, tree, *freed, item)), {}};
  std::string key = KeyDetailAt(hive, tree, position);
  if (!key.empty()) return {WindowText(key), {}};
  return DetailOfValue({hive, tree}, position, nullptr, freed);
}

void ShowDetailResult(MainWindow& window) {
  const std::unique_ptr<DetailResult> result = Take(window.selection.detail_box);
  if (result != nullptr) ShowDetail(window, std::move(result->text), std::move(result->bytes));
}

void RenewStateDetail(MainWindow& window) {
  if (window.shown->slot < 0 || window.selection.value != kNoOffset) return;
  const bool workspace = IsWorkspaceSelected(window.shown->pane);
  if (!workspace && !IsRootShown(window)) return;
  if (workspace) window.selection.key_detail = WorkspaceText(window);
  const LRESULT line = SendMessageW(window.viewer.detail.window, EM_GETFIRSTVISIBLELINE, 0, 0);
  ShowDetail(window, KeyDetailNow(window));
  SendMessageW(window.viewer.detail.window, EM_LINESCROLL, 0, line);
}

// The rows come later, from a thread: the value wanted is kept until they do.
bool GoToPosition(MainWindow& window, uint32_t position) {
  if (window.shown->slot < 0) return false;
  if (GoToFreed(window, position)) return true;
  const uint32_t item = ItemShowing(ShownHive(window), *window.shown->tree, position);
  if (item == kNoItem) return false;
  const bool value = window.shown->tree->items[item].position != position;
  if (value || window.layout.arrangement == kOutputArrangement)
    ShowArrangement(window, kKeysArrangement);
  window.selection.wanted_value = value ? position : kNoOffset;
  if (SelectedItem(window.shown->pane) == item) RefreshItem(window);
  SelectItem(window.shown->pane, item);
  SetFocus(window.controls.tree);
  return true;
}

void RefreshItem(MainWindow& window) { OnItemSelected(window, SelectedItem(window.shown->pane)); }

}  // namespace hivequarry
