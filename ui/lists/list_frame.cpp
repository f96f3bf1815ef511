#include "ui/lists/list_frame.h"

#include <algorithm>
#include <mutex>
#include <string>
#include <vector>

#include "host/number_text.h"
#include "ui/draw/text_size.h"
#include "ui/frame/text.h"
#include "ui/frame/tool_buttons.h"
#include "ui/lists/activity_pane.h"
#include "ui/lists/list_menu.h"
#include "ui/lists/list_work.h"
#include "ui/main/main_window.h"
#include "view/list_commands.h"

namespace hivequarry {
namespace {

// At 96 dpi.
constexpr int kListFrameMargin = 4;
constexpr int kSourceMargin = 3;  // above and below the source's name, with the border
constexpr int kToolbarHeight = 34;
constexpr int kSmallIcon = 16;
constexpr int kToolIcon = 20;
constexpr int kProgressWidth = 160;
constexpr int kCountWidth = 190;
constexpr int kProgressMargin = 3;
constexpr int kLeastActivity = 110;
constexpr int kMostActivity = 240;

HWND MakeChild(const ListWindow& window, const wchar_t* type, const wchar_t* text, DWORD style,
               ListChildId identifier) {
  return CreateWindowExW(0, type, text, WS_CHILD | style, 0, 0, 0, 0, window.place.window,
                         reinterpret_cast<HMENU>(static_cast<INT_PTR>(identifier)),
                         window.place.owner->instance, nullptr);
}

// --- toolbar -------------------------------------------------------------------------------------

// The commands that have a tooltip, in the order of the menu.
std::vector<TBBUTTON> ToolButtons() {
  std::vector<TBBUTTON> buttons;
  for (const ListCommand& command : ListCommands()) {
    if (command.tooltip == nullptr) continue;
    if (command.group_start && !buttons.empty()) buttons.push_back(ToolGap());
    buttons.push_back(ToolButton(command.icon, command.number, BTNS_BUTTON));
  }
  return buttons;
}

void ShowButtons(const ListWindow& window) {
  for (const ListCommand& command : ListCommands()) {
    if (command.tooltip == nullptr) continue;
    EnableToolButton(window.toolbar, command.number,
                     IsListCommandAvailable(window.place, command.number));
  }
}

// --- the source's name ---------------------------------------------------------------------------

bool HasSource(const ListWindow& window) { return !ListSource(*window.place.model).empty(); }

// Its height; 0 where there is none.
int PlaceSource(const ListWindow& window, int width, int top) {
  if (!HasSource(window)) return 0;
  const int margin = Scale(kListFrameMargin, window.dpi);
  const SIZE label = TextSize(window.fonts.text, L"File: ");
  const int inside = Scale(kSourceMargin, window.dpi);
  const int height = label.cy + 2 * inside;
  const int left = 2 * margin + label.cx;
  MoveWindow(window.label, 2 * margin, top + inside, label.cx, label.cy, TRUE);
  MoveWindow(window.source, left, top, std::max(width - left - margin, 0), height, TRUE);
  return height + margin;
}

// --- the picture of activity ---------------------------------------------------------------------

// By the child's own style: IsWindowVisible is false as long as the window itself is hidden.
bool IsShown(HWND child) { return (GetWindowLongW(child, GWL_STYLE) & WS_VISIBLE) != 0; }

// Its height, a part of the room; 0 where there is none.
int PlaceActivity(const ListWindow& window, int width, int top, int room) {
  if (!IsShown(window.activity)) return 0;
  const int height =
      std::clamp(room / 3, Scale(kLeastActivity, window.dpi), Scale(kMostActivity, window.dpi));
  MoveWindow(window.activity, 0, top, width, height, TRUE);
  return height;
}

// Places the children anew only when the pane comes or goes.
void ShowActivityPane(ListWindow& window) {
  const bool shown = ShowsActivity(window.place);
  if (shown != IsShown(window.activity)) {
    ShowWindow(window.activity, shown ? SW_SHOWNA : SW_HIDE);
    LayOutListWindow(window);
  }
  FollowActivity(window.place);
}

// --- status bar ----------------------------------------------------------------------------------

void LayOutParts(const ListWindow& window) {
  const HWND status = window.place.status;
  SendMessageW(status, WM_SIZE, 0, 0);
  RECT area;
  GetClientRect(status, &area);
  // The bar has placed itself by now, so its client area is that of the new width.
  const int count = area.right - Scale(kCountWidth, window.dpi);
  const int edges[kListStatusParts] = {count - Scale(kProgressWidth, window.dpi), count, -1};
  SendMessageW(status, SB_SETPARTS, kListStatusParts, reinterpret_cast<LPARAM>(edges));
  RECT part;
  SendMessageW(status, SB_GETRECT, kListProgress, reinterpret_cast<LPARAM>(&part));
  const int margin = Scale(kProgressMargin, window.dpi);
  InflateRect(&part, -margin, -margin);
  MoveWindow(window.progress, part.left, part.top, part.right - part.left, part.bottom - part.top,
             TRUE);
}

void ShowPart(const ListWindow& window, ListStatusPart part, const std::wstring& text) {
  SendMessageW(window.place.status, SB_SETTEXTW, part, reinterpret_cast<LPARAM>(text.c_str()));
}

// With a filter also how many rows the list has.
void ShowCount(const ListWindow& window) {
  const ListPlace& place = window.place;
  std::string text = Concat({"Number of Items : ", Decimal(ShownRowCount(place))});
  if (place.rows.filtered) text += Concat({" of ", Decimal(RowCount(*place.model))});
  ShowPart(window, kListRows, WideName(text));
}

// What the worker says of itself in the main window is shown here as well.
void ShowWork(const ListWindow& window) {
  HostWindow& host = window.place.owner->host;
  const uint32_t steps = window.place.working ? host.progress_steps.load() : 0;
  ShowWindow(window.progress, steps != 0 ? SW_SHOWNA : SW_HIDE);
  SendMessageW(window.progress, PBM_SETRANGE32, 0, steps == 0 ? 1 : steps);
  SendMessageW(window.progress, PBM_SETPOS, host.progress_position.load(), 0);
  if (!window.place.filling) return;
  const std::lock_guard lock(host.mutex);
  ShowPart(window, kListWords, L" " + host.status);
}

// --- title ---------------------------------------------------------------------------------------

// Setting the text that is there already would flicker.
void ShowText(HWND window, const std::wstring& text) {
  if (TextOfControl(window) != text) SetWindowTextW(window, text.c_str());
}

void ShowSource(ListWindow& window) {
  const bool shown = HasSource(window);
  ShowText(window.source, WideName(ListSource(*window.place.model)));
  if (shown == IsShown(window.source)) return;
  ShowWindow(window.label, shown ? SW_SHOWNA : SW_HIDE);
  ShowWindow(window.source, shown ? SW_SHOWNA : SW_HIDE);
  LayOutListWindow(window);
}

}  // namespace

bool MakeListFrame(ListWindow& window) {
  ListPlace& place = window.place;
  window.toolbar = MakeToolbarControl(place.window, kListToolbarId, WS_TABSTOP, ToolButtons());
  window.label = MakeChild(window, WC_STATICW, L"File:", SS_NOPREFIX, kListLabelId);
  window.source = MakeChild(window, WC_EDITW, L"",
                            WS_TABSTOP | WS_BORDER | ES_READONLY | ES_AUTOHSCROLL, kListSourceId);
  if (!MakeFilterBox(window.filter, place, true)) return false;
  window.activity = MakeActivityPane(place, kListActivityId);
  place.status =
      MakeChild(window, STATUSCLASSNAMEW, L"", WS_VISIBLE | SBARS_SIZEGRIP, kListStatusId);
  window.progress = CreateWindowExW(0, PROGRESS_CLASSW, L"", WS_CHILD | PBS_SMOOTH, 0, 0, 0, 0,
                                    place.status, nullptr, place.owner->instance, nullptr);
  for (const HWND child : {window.toolbar, window.label, window.source, window.activity,
                           place.status, window.progress}) {
    if (child == nullptr) return false;
  }
  if (MakeListControl(place, kListId) == nullptr) return false;
  ShowWindow(place.list, SW_SHOWNA);
  return true;
}

void RefreshListLook(ListWindow& window) {
  Fonts old_fonts = window.fonts;
  IconLists old_icons = window.icons;
  window.fonts = MakeFonts(window.dpi);
  window.icons = MakeIconLists(Scale(kSmallIcon, window.dpi), Scale(kToolIcon, window.dpi));
  for (const HWND child :
       {window.toolbar, window.label, window.source, window.place.list, window.place.status}) {
    SendMessageW(child, WM_SETFONT, reinterpret_cast<WPARAM>(window.fonts.text), FALSE);
  }
  SetFilterFont(window.filter, window.fonts.text);
  SetActivityFont(window.activity, window.fonts.text);
  window.place.struck = window.fonts.struck;
  ListView_SetImageList(window.place.list, window.icons.values, LVSIL_SMALL);
  SendMessageW(window.toolbar, TB_SETIMAGELIST, 0, reinterpret_cast<LPARAM>(window.icons.tools));
  SendMessageW(window.toolbar, TB_SETDISABLEDIMAGELIST, 0,
               reinterpret_cast<LPARAM>(window.icons.faded_tools));
  const int side = Scale(kToolButtonSide, window.dpi);
  SendMessageW(window.toolbar, TB_SETBUTTONSIZE, 0, MAKELPARAM(side, side));
  FreeFonts(old_fonts);
  FreeIconLists(old_icons);
}

void LayOutListWindow(ListWindow& window) {
  LayOutParts(window);
  RECT client;
  GetClientRect(window.place.window, &client);
  RECT status;
  GetWindowRect(window.place.status, &status);
  const int side = Scale(kListFrameMargin, window.dpi);
  int top = Scale(kToolbarHeight, window.dpi);
  MoveWindow(window.toolbar, side, side / 2, client.right - 2 * side, top - side / 2, TRUE);
  top += PlaceSource(window, client.right, top);
  top += PlaceFilterBox(window.filter, window.dpi, 0, client.right, top);
  const int bottom = client.bottom - (status.bottom - status.top);
  top += PlaceActivity(window, client.right, top, bottom - top);
  MoveWindow(window.place.list, 0, top, client.right, std::max(bottom - top, 0), TRUE);
  FitListColumns(window.place);
}

void ShowListState(ListWindow& window) {
  ShowText(window.place.window, WindowText(ListTitle(*window.place.model)));
  ShowSource(window);
  ShowActivityPane(window);
  ShowCount(window);
  ShowWork(window);
  ShowButtons(window);
}

void OnListToolTip(NMTTDISPINFOW& notice) {
  const ListCommand* command = FindListCommand(static_cast<uint32_t>(notice.hdr.idFrom));
  if (command == nullptr || command->tooltip == nullptr) return;
  lstrcpynW(notice.szText, WideName(command->tooltip).c_str(), 80);
}

}  // namespace hivequarry
