#include "ui/main/status.h"

#include <algorithm>
#include <utility>

#include "hive/hive_table.h"
#include "ui/draw/text_size.h"
#include "ui/frame/text.h"
#include "ui/main/main_window.h"
#include "view/hive_status.h"

namespace hivequarry {
namespace {

// At 96 dpi.
constexpr int kProgressWidth = 180;
constexpr int kCountsWidth = 260;
constexpr int kStateMargin = 34;  // of the state's part: what is not its words
constexpr int kLeastState = 60;
constexpr int kProgressMargin = 3;

void SetPartText(const MainWindow& window, StatusPart part, const std::wstring& text) {
  SendMessageW(window.controls.status, SB_SETTEXTW, part, reinterpret_cast<LPARAM>(text.c_str()));
}

// A range of 0 steps hides the bar.
void ShowProgress(MainWindow& window) {
  const uint32_t steps = window.host.progress_steps;
  if ((IsWindowVisible(window.controls.progress) != FALSE) != (steps != 0)) {
    ShowWindow(window.controls.progress, steps != 0 ? SW_SHOWNA : SW_HIDE);
  }
  SendMessageW(window.controls.progress, PBM_SETRANGE32, 0, steps == 0 ? 1 : steps);
  SendMessageW(window.controls.progress, PBM_SETPOS, window.host.progress_position, 0);
}

// What the state's words and picture need; 0 without words.
int StateWidth(const MainWindow& window) {
  const std::wstring& words = window.shown->state_words;
  if (words.empty()) return 0;
  return TextSize(window.look.fonts.text, words).cx + Scale(kStateMargin, window.dpi);
}

}  // namespace

HWND MakeStatusBar(MainWindow& window) {
  const HWND status = CreateWindowExW(
      0, STATUSCLASSNAMEW, L"", WS_CHILD | WS_VISIBLE | SBARS_SIZEGRIP, 0, 0, 0, 0, window.handle,
      reinterpret_cast<HMENU>(static_cast<INT_PTR>(kStatusId)), window.instance, nullptr);
  if (status == nullptr) return nullptr;
  window.controls.progress = CreateWindowExW(0, PROGRESS_CLASSW, L"", WS_CHILD | PBS_SMOOTH, 0, 0,
                                             0, 0, status, nullptr, window.instance, nullptr);
  return status;
}

void LayOutStatus(MainWindow& window) {
  // The bar places itself whenever it is told of a size.
  SendMessageW(window.controls.status, WM_SIZE, 0, 0);
  RECT area;
  GetClientRect(window.controls.status, &area);
  const int width = area.right;
  // The state is seen whatever the width: in a narrow window the counts give way.
  const int state = std::min(StateWidth(window), width - Scale(kLeastState, window.dpi));
  const int counts = std::clamp(Scale(kCountsWidth, window.dpi), 0, std::max(width - state, 0));
  const int before_counts = width - counts;
  const int before_state = std::max(before_counts - state, 0);
  const int text = std::max(before_state - Scale(kProgressWidth, window.dpi), 0);
  const int edges[kStatusPartCount] = {text, before_state, before_counts, -1};
  SendMessageW(window.controls.status, SB_SETPARTS, kStatusPartCount,
               reinterpret_cast<LPARAM>(edges));
  RECT part;
  SendMessageW(window.controls.status, SB_GETRECT, kStatusProgress,
               reinterpret_cast<LPARAM>(&part));
  InflateRect(&part, -Scale(kProgressMargin, window.dpi), -Scale(kProgressMargin, window.dpi));
  MoveWindow(window.controls.progress, part.left, part.top, part.right - part.left,
             part.bottom - part.top, TRUE);
}

void ShowHostChanges(MainWindow& window) {
  HostWindow& host = window.host;
  // Before the changes are read: one that comes after this is announced anew, and none is missed.
  host.announced = false;
  std::wstring status;
  std::wstring title;
  bool status_changed = false;
  bool title_changed = false;
  {
    const std::lock_guard lock(host.mutex);
    status_changed = std::exchange(host.status_changed, false);
    title_changed = std::exchange(host.title_changed, false);
    if (status_changed) status = host.status;
    if (title_changed) title = host.title;
  }
  if (title_changed) SetWindowTextW(window.handle, title.c_str());
  if (status_changed) {
    SetPartText(window, kStatusText,
                L" " + (status.empty() ? window.selection.item_words : status));
    if (IsWindowVisible(window.controls.empty) != FALSE)
      InvalidateRect(window.controls.empty, nullptr, FALSE);
  }
  ShowProgress(window);
}

void ShowItemWords(MainWindow& window, std::wstring words) {
  if (words.empty() && window.selection.item_words.empty()) return;
  window.selection.item_words = std::move(words);
  std::wstring text = window.selection.item_words;
  if (text.empty()) {
    const std::lock_guard lock(window.host.mutex);
    text = window.host.status;
  }
  SetPartText(window, kStatusText, L" " + text);
}

void ShowHiveState(MainWindow& window) {
  const bool shown = window.viewed->slot >= 0;
  window.viewed->state_words =
      shown ? WideName(StatusWords(HiveOfSlot(window.viewed->slot), window.viewed->structure))
            : std::wstring();
  const HICON old = window.look.state;
  window.look.state = nullptr;
  if (shown) {
    window.look.state = ImageList_GetIcon(window.look.icons.states,
                                          static_cast<int>(MarkOf(HiveOfSlot(window.viewed->slot))),
                                          ILD_TRANSPARENT);
  }
  SetPartText(window, kStatusState, window.viewed->state_words);
  SendMessageW(window.controls.status, SB_SETICON, kStatusState,
               reinterpret_cast<LPARAM>(window.look.state));
  if (old != nullptr) DestroyIcon(old);
  LayOutStatus(window);
}

void ShowCounts(MainWindow& window) {
  std::wstring text;
  if (window.layout.arrangement == kOutputArrangement) {
    text = L" Number of Items : " + std::to_wstring(ShownRowCount(window.output));
    if (window.output.rows.filtered) {
      text += L" of " + std::to_wstring(RowCount(*window.output.model));
    }
  } else if (window.viewed->slot >= 0) {
    const ImageSummary& summary = window.viewed->summary;
    text = L" " + std::to_wstring(summary.keys) + L" keys, " +
           std::to_wstring(summary.disconnected_keys) + L" disconnected";
  }
  SetPartText(window, kStatusCounts, text);
}

}  // namespace hivequarry
