// An Output List on the screen: a virtual list control over the model, in the main window's pane or
// in a window of its own. All functions are for the interface thread.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "hive/shown_zone.h"
#include "lists/list_order.h"
#include "lists/list_writers.h"
#include "lists/output_list.h"
#include "lists/rows_shown.h"
#include "ui/draw/win.h"
#include "ui/frame/named_file.h"
#include "ui/lists/list_filtering.h"
#include "ui/lists/list_selection.h"
#include "ui/main/window_hive.h"

namespace hivequarry {

struct MainWindow;
struct ActivityPane;

// Of a list of several hives: where the rows of one begin in the model.
struct RowsOfHive {
  uint32_t first = 0;
  uint32_t hive = kAnyHive;  // its number in the main window
};

// A list that is shown somewhere: its model and the control for it. The interface thread's; other
// threads have the model alone.
struct ListPlace {
  MainWindow* owner = nullptr;
  uint32_t hive = kAnyHive;  // that it was made of; any where there was none, none while several
                             // of them still give rows
  std::vector<RowsOfHive> hives;  // ascending; empty for a list of one hive
  bool pane = false;              // the main window's own list
  HWND window = nullptr;          // takes the commands of the list: its window, or the main window
  HWND list = nullptr;            // the control
  HWND status = nullptr;          // status bar of a list window; null: the main window's is used
  HFONT struck = nullptr;         // for rows about what was deleted; the window's
  bool painting = false;          // the control draws rows: paths are cut in their middle
  OutputListPtr model;            // never null once the control is made
  ShownZone dates_in;             // the zone that the model's dates are shown in
  bool zone_due = false;          // another one was chosen, and waits for a worker
  RowsShown rows;                 // which of the model's, and in which order
  int sorted_column = -1;         // by a click; -1: none
  std::vector<SortRequest> sort_keys;  // columns of the order, the first one foremost
  bool loaded = false;                 // from a file: rows lead to keys by their paths
  std::array<bool, kMaxColumns> descending{};
  ListFilter filter;
  PendingSelection selecting;
  std::vector<std::string> asked;  // what the list answers, and when it was made: for its head
  std::vector<int> hidden_widths;  // by column: 0 where it is shown, else the width it had, pixels
  bool columns_touched = false;    // the user's widths stay as they are
  uint32_t fitted_rows = 0;        // of the model when the columns were last made to fit
  std::string last_find;
  bool find_adds = false;      // what is found joins the selection
  std::vector<uint32_t> keys;  // by the model's row: position of the key that it belongs to, where
                               // its own is no key's; may be empty
  std::vector<NamedFile> files;  // by the model's row: what it opens, where rows are about files;
                                 // may be empty
  std::function<void()> again;   // makes the rows anew; null where that can't be
  ActivityPane* activity = nullptr;  // the picture over the rows; none in the pane
  bool activity_turned = false;      // it was shown or hidden by the user
  bool filling = false;              // a worker adds rows to the model
  bool working = false;              // a worker reads or fills the model (list_work.h)
  bool closing = false;              // the window goes when that worker has ended
};

// Makes the control of the main window's pane, with an empty list of 18 columns named "Col00" on.
HWND MakeListPane(MainWindow& window, int identifier);
// Makes the control of a place whose window and owner are set.
HWND MakeListControl(ListPlace& place, int identifier);
// The hive that the list was made of; null where it is no longer open, or was loaded again since.
const HiveImage* HiveOfList(const ListPlace& place);
// The number of the hive that a row of the model is of, and of the row in focus.
uint32_t HiveOfRow(const ListPlace& place, uint32_t row);
uint32_t HiveInFocus(const ListPlace& place);
// The resolution of the place's window.
uint32_t DpiOfPlace(const ListPlace& place);

// Replaces what is shown by another list, with the columns of its kind, which fit what is in them
// (or have the given widths, pixels). Sorting is forgotten. A list without columns gets those of an
// empty pane.
void ShowList(ListPlace& place, OutputListPtr list, const std::vector<int>& widths = {});
// The model has more rows, or others, than the control knows.
void ListChanged(ListPlace& place);
// Deletes all rows.
void EmptyList(ListPlace& place);
// What the control leaves for the text of a cell, pixels.
int RoomOfCell(const ListPlace& place, int column);
// Makes the columns fit titles and texts; without rows they get the widths of the list's kind.
void ResizeListColumns(ListPlace& place);
// The same when the room changed, unless the user chose widths.
void FitListColumns(ListPlace& place);

// Rows are numbered in two ways: by the model, which never changes, and by their place in the order
// shown, which filtering and sorting change. The control knows places alone.
uint32_t ShownRowCount(const ListPlace& place);
// The model's row at a place in the order shown.
uint32_t ModelRow(const ListPlace& place, uint32_t shown);
// Numbers of the model's rows: those that are shown, and all that the model has, in the order
// shown.
std::vector<uint32_t> ShownRows(const ListPlace& place);
std::vector<uint32_t> AllRows(const ListPlace& place);
// Puts all rows in another order, which holds each row once; what is selected and in focus stays
// so.
void ShowInOrder(ListPlace& place, std::vector<uint32_t> order);
// Shows the rows chosen, by their numbers in the model; of what is selected those stay so that are
// still shown.
void ShowChosenRows(ListPlace& place, std::vector<bool> chosen);
// The same for rows that were added last, which were not shown as yet.
void ShowAddedRows(ListPlace& place, uint32_t from, const std::vector<bool>& chosen);
void ShowAllRows(ListPlace& place);
// The arrows in the header, with numbers where several columns make the order.
void ShowSortArrows(const ListPlace& place);

// What a command writes of a list: its selected rows, or all in the order shown.
struct RowChoice {
  std::vector<uint32_t> rows;
  bool listed = false;
  bool selection = false;
  std::vector<std::string> lines;  // of the head: which rows are shown
};
// A copy of numbers, which stays right while the list is sorted or filtered anew.
RowChoice ChooseRows(const ListPlace& place, bool selection);
// Valid as long as the choice.
inline WrittenRows RowsOf(const RowChoice& choice) {
  return {choice.rows, choice.listed, choice.selection, false, choice.lines};
}

}  // namespace hivequarry
