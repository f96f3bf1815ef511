#include "ui/lists/filter_box.h"

#include <algorithm>
#include <iterator>

#include "ui/dialogs/list_dialogs.h"
#include "ui/draw/dpi.h"
#include "ui/draw/text_size.h"
#include "ui/frame/text.h"
#include "ui/lists/list_place.h"
#include "ui/lists/list_work.h"
#include "ui/main/main_window.h"

namespace hivequarry {
namespace {

// At 96 dpi.
constexpr int kMargin = 4;
constexpr int kInside = 3;  // above and below the text, with the border
constexpr int kGap = 8;
constexpr int kTickRoom = 22;  // a box with what is around it
constexpr int kLeastWords = 90;
constexpr int kMostWords = 420;
// UTF-16 units that can be typed into the box.
constexpr WPARAM kLongestFilter = 1000;

HWND MakeChild(const ListPlace& place, const wchar_t* type, const wchar_t* text, DWORD style,
               FilterChildId identifier) {
  return CreateWindowExW(0, type, text, WS_CHILD | style, 0, 0, 0, 0, place.window,
                         reinterpret_cast<HMENU>(static_cast<INT_PTR>(identifier)),
                         place.owner->instance, nullptr);
}

// In the font that the control has.
SIZE SizeIn(HWND control, const std::wstring& text) {
  return TextSize(FontOfControl(control), text);
}

}  // namespace

bool MakeFilterBox(FilterControls& filter, const ListPlace& place, bool visible) {
  const DWORD shown = visible ? WS_VISIBLE : 0;
  const DWORD tick = shown | WS_TABSTOP | BS_AUTOCHECKBOX;
  filter.label = MakeChild(place, WC_STATICW, L"Filter:", shown | SS_NOPREFIX, kListFilterLabelId);
  filter.words = MakeChild(place, WC_EDITW, L"", shown | WS_TABSTOP | WS_BORDER | ES_AUTOHSCROLL,
                           kListFilterId);
  filter.match_case = MakeChild(place, WC_BUTTONW, L"Case", tick, kListFilterCaseId);
  filter.whole_words = MakeChild(place, WC_BUTTONW, L"Whole words", tick, kListFilterWordsId);
  filter.regular = MakeChild(place, WC_BUTTONW, L"Regular expression", tick, kListFilterRegularId);
  filter.note =
      MakeChild(place, WC_STATICW, L"", shown | SS_NOPREFIX | SS_ENDELLIPSIS, kListFilterNoteId);
  if (filter.words == nullptr) return false;
  SendMessageW(filter.words, EM_LIMITTEXT, kLongestFilter, 0);
  SendMessageW(filter.words, EM_SETCUEBANNER, TRUE,
               reinterpret_cast<LPARAM>(L"text   column:text   -without   \"with blanks\""));
  return std::ranges::none_of(ChildrenOf(filter), [](HWND child) { return child == nullptr; });
}

void SetFilterFont(const FilterControls& filter, HFONT font) {
  for (const HWND child : ChildrenOf(filter)) {
    SendMessageW(child, WM_SETFONT, reinterpret_cast<WPARAM>(font), FALSE);
  }
}

int PlaceFilterBox(const FilterControls& filter, uint32_t dpi, int left, int right, int top) {
  const int gap = Scale(kGap, dpi);
  const SIZE label = SizeIn(filter.label, L"Filter: ");
  const int inside = Scale(kInside, dpi);
  const int height = label.cy + 2 * inside;
  int ticks = 0;
  const HWND boxes[] = {filter.match_case, filter.whole_words, filter.regular};
  int widths[std::size(boxes)];
  for (size_t i = 0; i < std::size(boxes); ++i) {
    widths[i] = SizeIn(boxes[i], TextOfControl(boxes[i])).cx + Scale(kTickRoom, dpi);
    ticks += widths[i] + gap;
  }
  left += 2 * Scale(kMargin, dpi);
  MoveWindow(filter.label, left, top + inside, label.cx, label.cy, TRUE);
  left += label.cx;
  const int words =
      std::clamp(right - left - ticks - gap, Scale(kLeastWords, dpi), Scale(kMostWords, dpi));
  MoveWindow(filter.words, left, top, words, height, TRUE);
  left += words + gap;
  for (size_t i = 0; i < std::size(boxes); ++i) {
    MoveWindow(boxes[i], left, top, widths[i], height, TRUE);
    left += widths[i] + gap;
  }
  MoveWindow(filter.note, left, top + inside, std::max(right - left - gap, 0), label.cy, TRUE);
  return height + Scale(kMargin, dpi);
}

void ShowFilterNote(const ListPlace& place, const std::string& note) {
  const HWND shown = GetDlgItem(place.window, kListFilterNoteId);
  const std::wstring words = WindowText(note);
  // Else each row that comes into a list would write over the status bar.
  if (TextOfControl(shown) == words) return;
  SetWindowTextW(shown, words.c_str());
  // A narrow window has no room beside the box.
  ShowPlaceStatus(place, note.empty() ? "" : (" " + note).c_str());
}

FilterWords TypedFilter(const ListPlace& place) {
  FilterWords words;
  words.text = ControlText(place.window, kListFilterId);
  words.form.match_case = IsTicked(place.window, kListFilterCaseId);
  words.form.whole_words = IsTicked(place.window, kListFilterWordsId);
  words.form.regular = IsTicked(place.window, kListFilterRegularId);
  return words;
}

}  // namespace hivequarry
