// From the tree's selected item to the rows and the details beside it.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "hive/key_tree.h"
#include "reports/removed_state.h"
#include "ui/draw/win.h"
#include "ui/panes/mailbox.h"
#include "ui/panes/value_threads.h"
#include "view/freed_tree.h"
#include "view/value_viewer.h"
#include "words/item_values.h"

namespace hivequarry {

struct MainWindow;
struct WindowHive;

// Posted by value threads when a result is in its mailbox.
inline constexpr UINT kItemReady = WM_APP + 4;
inline constexpr UINT kDetailReady = WM_APP + 5;

// What a value thread gathered for an item of the tree.
struct ItemResult {
  const HiveImage* hive = nullptr;  // that the rows are read from
  uint32_t item = kNoItem;
  std::shared_ptr<const RemovedState> removed;  // whose tree it is of; null: the hive's own
  std::shared_ptr<const FreedTree> freed;       // whose deleted values are among the rows
  bool deleted = false;                         // `item` is of that tree
  ItemValues values;
  ValueViewOptions options;
  std::wstring detail;
};

// What a value thread gathered for a value.
struct DetailResult {
  std::wstring text;
  ValueBytes bytes;
};

// What the value and detail panes show of the tree's selected item, and what is on its way there.
struct PaneSelection {
  ValueThreads threads;
  Mailbox<ItemResult> item_box;
  Mailbox<DetailResult> detail_box;
  uint32_t item = kNoItem;                      // whose rows the value pane holds
  std::shared_ptr<const RemovedState> removed;  // where these are of a key that logs removed
  std::shared_ptr<const FreedTree> freed;       // of deleted values among these rows
  uint32_t deleted = kNoItem;                   // the deleted key that they are of, an item of it
  uint32_t value = kNoOffset;                   // whose detail is shown or on its way
  std::wstring key_detail;                      // of `item`
  std::wstring item_words;                      // status and info words of the selected item
  uint32_t wanted_value = kNoOffset;            // to be selected when the rows on their way come
  uint32_t branch_return = kNoItem;             // where "Current Branch" came from
};

// Another item of the tree control was selected, which is told by its lParam: of the hive that is
// viewed, or of another one, which is viewed from then on.
void FollowSelection(MainWindow& window, LPARAM param);
// The hive that a row of the Workspace is about; null for none.
WindowHive* HiveOfWorkspaceRow(const MainWindow& window, int row);
// Its rows and details are gathered by a value thread; path and words are shown at once.
void OnItemSelected(MainWindow& window, uint32_t item);
// The same of an item below "Removed by the logs", and of that folder.
void ShowRemovedItem(MainWindow& window, uint32_t item);
void ShowRemovedRoot(MainWindow& window, const std::u16string& detail);
// The same of an item of what was deleted.
void ShowFreedItem(MainWindow& window, uint32_t item);
// The answer to kItemReady. A result that is not the newest is dropped.
void ShowItemResult(MainWindow& window);
// The details of the selected value, or of the key where no value is selected.
void OnRowSelected(MainWindow& window);
// More is known of the hive: the details of the Workspace and of the root say it, if shown.
void RenewStateDetail(MainWindow& window);
// What the details show of a record, for any thread: of a value, deleted or not, with its bytes; of
// a key its fields.
DetailResult DetailOfRecord(const HiveImage& hive, const KeyTree& tree,
                            const std::shared_ptr<const FreedTree>& freed, uint32_t position);
// The answer to kDetailReady, likewise.
void ShowDetailResult(MainWindow& window);
// Selects the key at an image position, or the value there with its key, and shows the tree; false
// when that has neither.
bool GoToPosition(MainWindow& window, uint32_t position);
// Gathers the selected item's rows anew, after a change of the view.
void RefreshItem(MainWindow& window);

}  // namespace hivequarry
