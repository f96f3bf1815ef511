#include "ui/commands/bookmarks_dialog.h"

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "app/bookmarks.h"
#include "app/key_paths.h"
#include "hive/timestamp.h"
#include "ui/commands/bookmark_file.h"
#include "ui/commands/bookmark_report.h"
#include "ui/draw/text_size.h"
#include "ui/dress/dress.h"
#include "ui/frame/dialog_layout.h"
#include "ui/frame/help.h"
#include "ui/frame/host_window.h"
#include "ui/frame/list_view.h"
#include "ui/frame/modal.h"
#include "ui/frame/text.h"
#include "ui/main/main_window.h"
#include "ui/resources/resource.h"

namespace hivequarry {
namespace {

// --- the list ------------------------------------------------------------------------------------

// Lives as long as its dialog.
struct BookmarkDialog {
  MainWindow* window = nullptr;
  HWND dialog = nullptr;
  HWND list = nullptr;
  bool may_go = false;  // a hive is shown
  Bookmarks bookmarks;
  std::vector<size_t> shown;  // numbers of its lines
  BookmarkFilter filter = BookmarkFilter::kAll;
  std::optional<Bookmark> chosen;  // to go to
  DialogLayout layout;
};

enum DialogColumn : int { kDialogPath, kDialogNote, kDialogTags, kDialogTime, kDialogHive };
constexpr ListColumn kColumns[] = {{L"Key", 240, false},
                                   {L"Note", 130, false},
                                   {L"Tags", 90, false},
                                   {L"Set", 150, false},
                                   {L"Hive file", 130, false}};

constexpr DialogAnchor kAnchors[] = {
    {.control = kBookmarkList, .grow_x = true, .grow_y = true},
    {.control = kBookmarkNoteLabel, .move_y = true},
    {.control = kBookmarkNote, .move_y = true, .grow_x = true},
    {.control = kBookmarkDelete, .move_y = true},
    {.control = kBookmarkHelp, .move_y = true},
    {.control = kBookmarkReport, .move_y = true},
    {.control = IDOK, .move_x = true, .move_y = true},
    {.control = IDCANCEL, .move_x = true, .move_y = true},
};

int SelectedRow(const BookmarkDialog& state) {
  return ListView_GetNextItem(state.list, -1, LVNI_SELECTED);
}

const Bookmark& BookmarkOfRow(const BookmarkDialog& state, int row) {
  return state.bookmarks.lines[state.shown[static_cast<size_t>(row)]].bookmark;
}

std::optional<Bookmark> Selected(const BookmarkDialog& state) {
  const int row = SelectedRow(state);
  return row < 0 ? std::nullopt : std::optional(BookmarkOfRow(state, row));
}

// UTF-8, not yet made safe for a control.
std::string TextOfColumn(const Bookmark& bookmark, int column) {
  switch (column) {
    case kDialogPath:
      return BookmarkTitle(bookmark);
    case kDialogNote:
      return bookmark.note;
    case kDialogTags:
      return TagWords(bookmark.tags);
    case kDialogTime:
      return bookmark.time == 0 ? std::string() : FormatTimestamp(bookmark.time, true);
    default:
      return bookmark.hive;
  }
}

void OnDisplay(const BookmarkDialog& state, LVITEMW& item) {
  const bool there = item.iItem >= 0 && static_cast<size_t>(item.iItem) < state.shown.size();
  if (!there || (item.mask & LVIF_TEXT) == 0) return;
  std::wstring text = WideName(TextOfColumn(BookmarkOfRow(state, item.iItem), item.iSubItem));
  if (item.iSubItem == kDialogPath) text = EndThatFits(state.list, kDialogPath, std::move(text), 0);
  GiveText(item, text.c_str());
}

void EnableFor(const BookmarkDialog& state) {
  const BOOL selected = SelectedRow(state) >= 0 ? TRUE : FALSE;
  for (const int control : {kBookmarkNote, kBookmarkDelete}) {
    EnableWindow(GetDlgItem(state.dialog, control), selected);
  }
  EnableWindow(GetDlgItem(state.dialog, IDOK), selected != FALSE && state.may_go);
}

// The note is not taken for one that the user changed.
void ShowSelected(const BookmarkDialog& state) {
  const int row = SelectedRow(state);
  const std::string note = row < 0 ? std::string() : BookmarkOfRow(state, row).note;
  SetDlgItemTextW(state.dialog, kBookmarkNote, WideName(note).c_str());
  SendDlgItemMessageW(state.dialog, kBookmarkNote, EM_SETMODIFY, FALSE, 0);
  EnableFor(state);
}

void SelectRow(const BookmarkDialog& state, int row) {
  ListView_SetItemState(state.list, -1, 0, LVIS_SELECTED | LVIS_FOCUSED);
  if (row >= 0) {
    ListView_SetItemState(state.list, row, LVIS_SELECTED | LVIS_FOCUSED,
                          LVIS_SELECTED | LVIS_FOCUSED);
    ListView_EnsureVisible(state.list, row, FALSE);
  }
  ShowSelected(state);
}

// The rows anew, with that bookmark selected; where it is not among them, the one that is at `row`
// now.
void ShowRows(BookmarkDialog& state, const std::optional<Bookmark>& bookmark, int row) {
  state.shown = ShownBookmarks(state.bookmarks, state.filter);
  const auto count = static_cast<int>(state.shown.size());
  ListView_SetItemCount(state.list, count);
  InvalidateRect(state.list, nullptr, TRUE);
  int wanted = std::min(row, count - 1);
  for (int at = 0; at < count && bookmark; ++at) {
    if (SameBookmark(BookmarkOfRow(state, at), *bookmark)) wanted = at;
  }
  EnableWindow(GetDlgItem(state.dialog, kBookmarkReport), state.may_go && count != 0);
  SelectRow(state, wanted);
}

// Those that the list shows.
std::vector<Bookmark> ListedBookmarks(const BookmarkDialog& state) {
  std::vector<Bookmark> bookmarks;
  for (const size_t line : state.shown) bookmarks.push_back(state.bookmarks.lines[line].bookmark);
  return bookmarks;
}

// --- what the user does --------------------------------------------------------------------------

// Puts a note that was edited into the file.
void KeepNote(BookmarkDialog& state) {
  const HWND edit = GetDlgItem(state.dialog, kBookmarkNote);
  const std::optional<Bookmark> bookmark = Selected(state);
  if (!bookmark || SendMessageW(edit, EM_GETMODIFY, 0, 0) == 0) return;
  SendMessageW(edit, EM_SETMODIFY, FALSE, 0);
  const std::string note = Utf8Name(TextOfControl(edit));
  // The file is read again: other copies of the program may have changed it since the dialog came
  // up.
  ChangeBookmarkWords(*state.window, *bookmark, note, TagWords(bookmark->tags));
  const int row = SelectedRow(state);
  state.bookmarks = ReadBookmarks();
  ShowRows(state, bookmark, row);
}

void DeleteSelected(BookmarkDialog& state) {
  const int row = SelectedRow(state);
  if (row < 0) return;
  RemoveBookmark(*state.window, BookmarkOfRow(state, row));
  state.bookmarks = ReadBookmarks();
  SetFocus(state.list);  // its button may become grey
  ShowRows(state, std::nullopt, row);
}

void GoToSelected(BookmarkDialog& state) {
  KeepNote(state);
  // After the note: keeping that reads the rows anew.
  state.chosen = Selected(state);
  if (state.may_go && state.chosen) EndDialog(state.dialog, IDOK);
}

// Enter in the note ends its editing alone.
void OnEnter(BookmarkDialog& state) {
  if (GetFocus() == GetDlgItem(state.dialog, kBookmarkNote)) {
    SetFocus(state.list);
  } else {
    GoToSelected(state);
  }
}

void CopyPath(const BookmarkDialog& state) {
  const std::optional<Bookmark> bookmark = Selected(state);
  if (bookmark) CopyText(state.dialog, WideName(ShownKeyPath(bookmark->path)));
}

POINT MenuPoint(const BookmarkDialog& state, LPARAM where) {
  if (where != -1) return {GET_X_LPARAM(where), GET_Y_LPARAM(where)};
  RECT area{};
  ListView_GetItemRect(state.list, SelectedRow(state), &area, LVIR_LABEL);
  POINT point{area.left, area.bottom};
  ClientToScreen(state.list, &point);
  return point;
}

// `where` as WM_CONTEXTMENU has it, -1 for the keyboard. What is chosen is sent to the dialog as
// its buttons send it.
void ShowMenu(BookmarkDialog& state, LPARAM where) {
  if (SelectedRow(state) < 0) return;
  const HMENU menu = CreatePopupMenu();
  AppendMenuW(menu, state.may_go ? MF_ENABLED : MF_GRAYED, IDOK, L"&Go to");
  AppendMenuW(menu, MF_STRING, kBookmarkCopy, L"&Copy Key Name");
  AppendMenuW(menu, MF_SEPARATOR, 0, nullptr);
  AppendMenuW(menu, MF_STRING, kBookmarkDelete, L"&Delete from Bookmarks\tDel");
  const int chosen = ChooseFromMenu(menu, state.dialog, MenuPoint(state, where));
  if (chosen != 0) SendMessageW(state.dialog, WM_COMMAND, static_cast<WPARAM>(chosen), 0);
}

void ChooseFilter(BookmarkDialog& state, int control) {
  KeepNote(state);
  state.filter = static_cast<BookmarkFilter>(control - kBookmarkAll);
  ShowRows(state, Selected(state), 0);
}

void OnCommand(BookmarkDialog& state, int control, WORD notice) {
  switch (control) {
    case kBookmarkAll:
    case kBookmarkMachine:
    case kBookmarkUser:
    case kBookmarkUsers:
      if (notice == BN_CLICKED) ChooseFilter(state, control);
      return;
    case kBookmarkNote:
      if (notice == EN_KILLFOCUS) KeepNote(state);
      return;
    case kBookmarkDelete:
      return DeleteSelected(state);
    case kBookmarkCopy:
      return CopyPath(state);
    case kBookmarkReport:
      KeepNote(state);
      EndDialog(state.dialog, kBookmarkReport);
      return;
    case kBookmarkHelp:
      return ShowHelp(state.dialog, kHelpBookmarks);
    case IDOK:
      return OnEnter(state);
    case IDCANCEL:
      // A note under way is dropped, also when the focus leaves it now.
      SendDlgItemMessageW(state.dialog, kBookmarkNote, EM_SETMODIFY, FALSE, 0);
      EndDialog(state.dialog, IDCANCEL);
      return;
    default:
      return;
  }
}

void OnListKey(BookmarkDialog& state, WORD key) {
  if (key == VK_DELETE) DeleteSelected(state);
  if (key == 'C' && GetKeyState(VK_CONTROL) < 0 && SelectedRow(state) >= 0) CopyPath(state);
}

void OnNotify(BookmarkDialog& state, NMHDR& notice) {
  if (notice.hwndFrom != state.list) return;
  switch (notice.code) {
    case LVN_GETDISPINFOW:
      return OnDisplay(state, reinterpret_cast<NMLVDISPINFOW&>(notice).item);
    case LVN_ITEMCHANGED:
      return ShowSelected(state);
    case LVN_KEYDOWN:
      return OnListKey(state, reinterpret_cast<NMLVKEYDOWN&>(notice).wVKey);
    case NM_DBLCLK:
      return GoToSelected(state);
    default:
      return;
  }
}

// --- the dialog ----------------------------------------------------------------------------------

// In the font that the dialog has now, which follows the user's choice of text sizes too.
int WidthOf(const BookmarkDialog& state, const ListColumn& column) {
  constexpr int kTenDigits = 70;  // in the system's font at 96 dpi
  const LONG digits = TextSize(FontOfControl(state.list), L"0123456789").cx;
  return MulDiv(column.width, digits, kTenDigits);
}

void AddColumns(const BookmarkDialog& state) {
  ListView_SetExtendedListViewStyle(state.list, LVS_EX_FULLROWSELECT | LVS_EX_LABELTIP);
  for (const ListColumn& column : kColumns) {
    LVCOLUMNW info{};
    info.mask = LVCF_TEXT | LVCF_WIDTH;
    info.pszText = const_cast<wchar_t*>(column.title);
    info.cx = WidthOf(state, column);
    ListView_InsertColumn(state.list, ColumnCount(state.list), &info);
  }
}

// The key takes the room that the other columns leave.
void FitKeyColumn(const BookmarkDialog& state) {
  RECT area;
  GetClientRect(state.list, &area);
  LONG room = area.right;
  if ((GetWindowLongW(state.list, GWL_STYLE) & WS_VSCROLL) == 0) {
    room -= GetSystemMetrics(SM_CXVSCROLL);
  }
  for (int column = kDialogNote; column <= kDialogHive; ++column) {
    room -= ListView_GetColumnWidth(state.list, column);
  }
  const int least = WidthOf(state, kColumns[kDialogPath]);
  ListView_SetColumnWidth(state.list, kDialogPath, std::max<int>(room, least));
}

// FALSE, since the focus is set to the list here.
INT_PTR OnStart(BookmarkDialog& state) {
  state.layout = MakeResizable(state.dialog, kAnchors);
  state.list = GetDlgItem(state.dialog, kBookmarkList);
  AddColumns(state);
  for (int filter = 0; filter <= kBookmarkUsers - kBookmarkAll; ++filter) {
    SetDlgItemTextW(state.dialog, kBookmarkAll + filter,
                    WideName(kBookmarkFilterNames[filter]).c_str());
  }
  CheckRadioButton(state.dialog, kBookmarkAll, kBookmarkUsers, kBookmarkAll);
  SendDlgItemMessageW(state.dialog, kBookmarkNote, EM_SETLIMITTEXT, kMaxBookmarkText, 0);
  state.bookmarks = ReadBookmarks();
  ShowRows(state, std::nullopt, 0);
  FitKeyColumn(state);
  SetFocus(state.list);
  return FALSE;
}

// New fonts: the columns stay in proportion to them.
void OnFontChanged(const BookmarkDialog& state) {
  for (int column = kDialogNote; column <= kDialogHive; ++column) {
    ListView_SetColumnWidth(state.list, column, WidthOf(state, kColumns[column]));
  }
  FitKeyColumn(state);
}

INT_PTR Route(BookmarkDialog& state, UINT message, WPARAM first, LPARAM second) {
  const INT_PTR laid_out = RouteLayout(state.dialog, state.layout, message, second);
  switch (message) {
    case WM_COMMAND:
      OnCommand(state, LOWORD(first), HIWORD(first));
      return TRUE;
    case WM_NOTIFY:
      OnNotify(state, *reinterpret_cast<NMHDR*>(second));
      return FALSE;
    case WM_CONTEXTMENU:
      if (reinterpret_cast<HWND>(first) != state.list) return FALSE;
      ShowMenu(state, second);
      return TRUE;
    case WM_HELP:
      ShowHelp(state.dialog, kHelpBookmarks);
      return TRUE;
    case WM_SIZE:
      FitKeyColumn(state);
      return TRUE;
    case kDialogFontChanged:
      OnFontChanged(state);
      return TRUE;
    default:
      return laid_out;
  }
}

constexpr DLGPROC kBookmarksProcedure = RecordDialogProc<BookmarkDialog, OnStart, Route>;

}  // namespace

void OnBookmarks(MainWindow& window) {
  BookmarkDialog state;
  state.window = &window;
  state.may_go = window.shown->slot >= 0;
  INT_PTR answer = IDCANCEL;
  {
    const ModalTurn turn(window.handle);
    answer = ShowDialogBox(window.instance, L"BMDLG", window.handle, kBookmarksProcedure,
                           reinterpret_cast<LPARAM>(&state));
  }
  if (answer == IDOK && state.chosen) GoToBookmark(window, *state.chosen);
  if (answer == kBookmarkReport) SaveBookmarkReport(window, ListedBookmarks(state));
}

}  // namespace hivequarry
