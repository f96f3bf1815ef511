// Times of rows are read by a worker whenever the list has other rows. A view of them (a range and
// a unit) is counted into bars (Recount), and the bars become a picture (Redraw), which is painted,
// and saved with colours for paper.
#include "ui/lists/activity_pane.h"

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

#include "host/host.h"
#include "host/long_operation.h"
#include "host/number_text.h"
#include "ui/dialogs/list_dialogs.h"
#include "ui/draw/dpi.h"
#include "ui/draw/tones.h"
#include "ui/frame/text.h"
#include "ui/frame/window_class.h"
#include "ui/lists/list_filtering.h"
#include "ui/lists/list_saving.h"
#include "ui/lists/list_window.h"
#include "ui/lists/list_work.h"
#include "ui/main/main_window.h"
#include "view/activity.h"

namespace hivequarry {
namespace {

constexpr wchar_t kClassName[] = L"HivequarryActivity";
constexpr UINT kReadTimes = WM_APP + 21;  // posted to the pane: its list has other rows

// At 96 dpi.
constexpr int kButtonWidth = 52;
constexpr int kButtonHeight = 20;
constexpr int kButtonGap = 2;

// A button over the picture.
struct PaneButton {
  const wchar_t* text;
  wchar_t key;  // that does the same
};
// Units first, as ActivityUnit counts them down from the year.
constexpr PaneButton kButtons[] = {{L"Year", 'Y'},   {L"Month", 'M'}, {L"Day", 'D'}, {L"Hour", 'H'},
                                   {L"Minute", 'N'}, {L"Whole", 'W'}, {L"Log", 'L'}};
constexpr int kFirstButton = 100;  // identifier
constexpr int kButtonCount = static_cast<int>(std::size(kButtons));
constexpr int kWholeButton = 5;

}  // namespace

// Goes with its window.
struct ActivityPane {
  ListPlace* place = nullptr;
  HWND window = nullptr;
  HFONT font = nullptr;  // the list window's
  HWND buttons[kButtonCount] = {};
  const OutputList* read_of = nullptr;  // the model whose rows were read, and how many it had
  uint32_t rows_read = 0;
  Activity activity;
  ActivityView view;
  ActivityBins bins;
  ActivityPicture picture;
  bool dragging = false;
  size_t drag_bar = 0;  // where the drag began
  TimeRange kept;       // what was picked before it
  size_t told_bar = SIZE_MAX;
};

namespace {

COLORREF SystemColour(uint32_t colour) {
  return RGB(colour >> 16 & 0xFF, colour >> 8 & 0xFF, colour & 0xFF);
}
// Half-way between two colours.
uint32_t Between(uint32_t a, uint32_t b) { return ((a ^ b) & 0xFEFEFE) / 2 + (a & b); }

int ButtonsWidth(uint32_t dpi) { return kButtonCount * Scale(kButtonWidth + kButtonGap, dpi); }

// Without colours: those are for paper.
PictureLook LookOf(const ActivityPane& pane) {
  RECT area;
  GetClientRect(pane.window, &area);
  const HDC dc = GetDC(pane.window);
  const HGDIOBJ previous = SelectObject(dc, pane.font);
  TEXTMETRICW metrics{};
  GetTextMetricsW(dc, &metrics);
  SIZE digits{};
  GetTextExtentPoint32W(dc, L"0123456789", 10, &digits);
  SelectObject(dc, previous);
  ReleaseDC(pane.window, dc);
  PictureLook look;
  look.width = std::max<int>(area.right, 1);
  look.height = std::max<int>(area.bottom, 1);
  look.line_height = std::max<int>(metrics.tmHeight, 8);
  look.char_width = std::max<int>((digits.cx + 9) / 10, 4);
  return look;
}

// In the colours of the window; a saved picture has its own.
PictureLook ShownLook(const ActivityPane& pane) {
  PictureLook look = LookOf(pane);
  look.right_free = ButtonsWidth(DpiOfWindow(pane.window));
  look.paper = PlainColourOf(Tone::kWindow);
  look.ink = PlainColourOf(Tone::kText);
  look.grid = Between(look.paper, Between(look.paper, look.ink));
  look.mark = Between(look.paper, PlainColourOf(Tone::kSelection));
  return look;
}

void Redraw(ActivityPane& pane) {
  pane.picture = DrawActivity(pane.activity, pane.view, pane.bins, ShownLook(pane));
  InvalidateRect(pane.window, nullptr, FALSE);
}

void Recount(ActivityPane& pane) {
  pane.told_bar = SIZE_MAX;
  pane.bins = CountBins(pane.activity, pane.view);
  Redraw(pane);
}

size_t MostBars(const ActivityPane& pane) { return hivequarry::MostBars(LookOf(pane)); }

// --- drawing -------------------------------------------------------------------------------------

void DrawBox(HDC dc, const PictureBox& box) {
  const RECT area{box.left, box.top, box.right, box.bottom};
  // The stock brush takes its colour from the context: no brush is made for each of many bars.
  SetDCBrushColor(dc, SystemColour(box.colour));
  FillRect(dc, &area, static_cast<HBRUSH>(GetStockObject(DC_BRUSH)));
}

// Boxes in their order, texts over them.
void DrawPicture(HDC dc, HFONT font, const Picture& picture) {
  DrawBox(dc, {0, 0, picture.width, picture.height, picture.paper});
  for (const PictureBox& box : picture.boxes) DrawBox(dc, box);
  const HGDIOBJ previous = SelectObject(dc, font);
  SetBkMode(dc, TRANSPARENT);
  for (const PictureText& text : picture.texts) {
    SetTextColor(dc, SystemColour(text.colour));
    SetTextAlign(dc, TA_TOP | (text.align == TextAlign::kLeft     ? TA_LEFT
                               : text.align == TextAlign::kCentre ? TA_CENTER
                                                                  : TA_RIGHT));
    const std::wstring wide = WindowText(text.text);
    TextOutW(dc, text.x, text.y, wide.c_str(), static_cast<int>(wide.size()));
  }
  SelectObject(dc, previous);
}

// Into a buffer where the system gives one, so that nothing flickers while bars change.
void OnPaint(const ActivityPane& pane) {
  PAINTSTRUCT paint;
  const HDC dc = BeginPaint(pane.window, &paint);
  RECT area;
  GetClientRect(pane.window, &area);
  HDC buffer = nullptr;
  const HPAINTBUFFER painting =
      BeginBufferedPaint(dc, &area, BPBF_COMPATIBLEBITMAP, nullptr, &buffer);
  const HDC target = painting != nullptr ? buffer : dc;
  DrawPicture(target, pane.font, pane.picture.picture);
  if (GetFocus() == pane.window) DrawFocusRect(target, &area);
  if (painting != nullptr) EndBufferedPaint(painting, TRUE);
  EndPaint(pane.window, &paint);
}

// The pixels of a picture, 0x00RRGGBB; empty when there is no memory for them.
std::vector<uint32_t> PixelsOf(const Picture& picture, HFONT font) {
  BITMAPINFO info{};
  info.bmiHeader = {
      sizeof info.bmiHeader, picture.width, -picture.height, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
  void* bits = nullptr;
  const HDC dc = CreateCompatibleDC(nullptr);
  const HBITMAP bitmap = CreateDIBSection(dc, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
  std::vector<uint32_t> pixels;
  if (bitmap != nullptr && bits != nullptr) {
    const HGDIOBJ previous = SelectObject(dc, bitmap);
    DrawPicture(dc, font, picture);
    GdiFlush();
    const auto* first = static_cast<const uint32_t*>(bits);
    const auto count = static_cast<size_t>(picture.width) * static_cast<size_t>(picture.height);
    pixels.assign(first, first + count);
    SelectObject(dc, previous);
  }
  if (bitmap != nullptr) DeleteObject(bitmap);
  DeleteDC(dc);
  // What GDI leaves in the upper byte is not of the colour.
  for (uint32_t& pixel : pixels) pixel &= 0xFFFFFF;
  return pixels;
}

// --- ranges --------------------------------------------------------------------------------------

// Filters the list by the range, on a worker; when that cannot begin, what was picked before stays.
void ShowRange(ActivityPane& pane, const TimeRange& range) {
  ListPlace& place = *pane.place;
  const int column = TimeColumnOf(*place.model);
  const RowTest test = [range, column](const OutputList& list, uint32_t row) {
    const uint64_t time = TimeOfRow(list, row, column);
    return time != kNoValue && IsIn(range, time);
  };
  const bool started = FilterList(place, test, RangeWords(range));
  // At once, not at the worker's end: the picture shows what was asked for.
  pane.view.picked = started ? range : pane.kept;
  if (!started) BeepAtUser();
  if (started) ShowPlaceStatus(place, (" " + RangeWords(range)).c_str());
  Redraw(pane);
}

size_t BarUnder(const ActivityPane& pane, LPARAM point) {
  return BarAt(pane.picture, pane.bins, GET_X_LPARAM(point));
}

// Not while a worker reads the list: picking would have to wait for it.
void StartDrag(ActivityPane& pane, LPARAM point) {
  SetFocus(pane.window);
  if (pane.bins.totals.empty() || pane.place->working) return;
  SetCapture(pane.window);
  pane.dragging = true;
  pane.kept = pane.view.picked;
  pane.drag_bar = BarUnder(pane, point);
  pane.view.picked = RangeOfBars(pane.bins, pane.drag_bar, pane.drag_bar);
  Redraw(pane);
}

// Without a drag the bar below the pointer is told in the status bar.
void MoveOver(ActivityPane& pane, LPARAM point) {
  if (pane.bins.totals.empty()) return;
  const size_t bar = BarUnder(pane, point);
  if (pane.dragging) {
    const TimeRange range = RangeOfBars(pane.bins, pane.drag_bar, bar);
    if (range == pane.view.picked) return;
    pane.view.picked = range;
    Redraw(pane);
    return;
  }
  if (bar == pane.told_bar || pane.place->working) return;
  pane.told_bar = bar;
  ShowPlaceStatus(*pane.place, (" " + BarWords(pane.activity, pane.view, pane.bins, bar)).c_str());
}

// The flag goes first: releasing the pointer sends WM_CAPTURECHANGED, which ends a drag too.
void EndDrag(ActivityPane& pane, bool pick) {
  if (!pane.dragging) return;
  pane.dragging = false;
  if (GetCapture() == pane.window) ReleaseCapture();
  if (pick) return ShowRange(pane, pane.view.picked);
  pane.view.picked = pane.kept;
  Redraw(pane);
}

// --- zoom ----------------------------------------------------------------------------------------

void Zoom(ActivityPane& pane, bool closer, uint64_t around) {
  ZoomView(pane.activity, pane.view, closer, around, MostBars(pane));
  Recount(pane);
}

uint64_t Middle(const ActivityPane& pane) {
  const TimeRange& picked = pane.view.picked;
  const TimeRange& range = picked.from < picked.to ? picked : pane.view.shown;
  return range.from + (range.to - range.from) / 2;
}

void Move(ActivityPane& pane, int eighths) {
  MoveView(pane.activity, pane.view, eighths);
  Recount(pane);
}

void ShowWhole(ActivityPane& pane) {
  if (pane.activity.events != 0) {
    const ActivityView whole = WholeView(pane.activity, MostBars(pane));
    pane.view.shown = whole.shown;
    pane.view.unit = whole.unit;
  }
  Recount(pane);
}

void OnButton(ActivityPane& pane, int button) {
  if (button < 0 || button >= kButtonCount || pane.activity.events == 0) return;
  if (button < kWholeButton) {
    constexpr int kYear = static_cast<int>(ActivityUnit::kYear);
    ShowByUnit(pane.activity, pane.view, static_cast<ActivityUnit>(kYear - button), MostBars(pane));
    return Recount(pane);
  }
  if (button == kWholeButton) return ShowWhole(pane);
  pane.view.logarithmic = !pane.view.logarithmic;
  Redraw(pane);
}

// About the bar below the pointer; with Shift to the side.
void OnWheel(ActivityPane& pane, WPARAM first, LPARAM second) {
  if (pane.bins.totals.empty()) return;
  const int turn = GET_WHEEL_DELTA_WPARAM(first);
  if ((LOWORD(first) & MK_SHIFT) != 0) return Move(pane, turn > 0 ? -1 : 1);
  POINT point{GET_X_LPARAM(second), GET_Y_LPARAM(second)};
  ScreenToClient(pane.window, &point);
  const size_t bar = BarAt(pane.picture, pane.bins, point.x);
  Zoom(pane, turn > 0, pane.bins.edges[bar]);
}

void OnKey(ActivityPane& pane, WPARAM key) {
  switch (key) {
    case VK_ADD:
    case VK_OEM_PLUS:
      Zoom(pane, true, Middle(pane));
      return;
    case VK_SUBTRACT:
    case VK_OEM_MINUS:
      Zoom(pane, false, Middle(pane));
      return;
    case VK_LEFT:
    case VK_RIGHT:
      Move(pane, key == VK_LEFT ? -1 : 1);
      return;
    case VK_HOME:
      ShowWhole(pane);
      return;
    default:
      break;
  }
  for (int button = 0; button < kButtonCount; ++button) {
    if (key == static_cast<WPARAM>(kButtons[button].key)) OnButton(pane, button);
  }
}

// --- the window ----------------------------------------------------------------------------------

void LayOut(ActivityPane& pane) {
  const uint32_t dpi = DpiOfWindow(pane.window);
  RECT area;
  GetClientRect(pane.window, &area);
  int left = area.right - ButtonsWidth(dpi);
  for (const HWND button : pane.buttons) {
    MoveWindow(button, left, Scale(kButtonGap, dpi), Scale(kButtonWidth, dpi),
               Scale(kButtonHeight, dpi), TRUE);
    left += Scale(kButtonWidth + kButtonGap, dpi);
  }
  Redraw(pane);
}

bool MakeButtons(ActivityPane& pane) {
  for (int i = 0; i < kButtonCount; ++i) {
    pane.buttons[i] = CreateWindowExW(
        0, WC_BUTTONW, kButtons[i].text, WS_CHILD | WS_VISIBLE | BS_PUSHBUTTON, 0, 0, 0, 0,
        pane.window, reinterpret_cast<HMENU>(static_cast<INT_PTR>(kFirstButton + i)), nullptr,
        nullptr);
    if (pane.buttons[i] == nullptr) return false;
  }
  return true;
}

// The worker's own reading until it has ended.
void ReadTimes(ActivityPane& pane) {
  ListPlace& place = *pane.place;
  const OutputList& list = *place.model;
  if (!ShowsActivity(place) || place.working) return;
  // Several messages may have been posted since: the first one has done the work.
  if (pane.read_of == &list && pane.rows_read == RowCount(list)) return;
  const auto read = std::make_shared<Activity>();
  const uint32_t rows = RowCount(list);
  StartListWork(
      place, kOperationFind, [&list, read] { *read = ReadActivity(list, StopRequested); },
      [&pane, &list, rows, read] {
        pane.read_of = &list;
        pane.rows_read = rows;
        pane.activity = std::move(*read);
        pane.view = ActivityView();
        ShowWhole(pane);
      });
}

LRESULT Route(ActivityPane& pane, UINT message, WPARAM first, LPARAM second) {
  switch (message) {
    case WM_PAINT:
      OnPaint(pane);
      return 0;
    case WM_ERASEBKGND:
      return 1;
    case WM_SIZE:
      LayOut(pane);
      return 0;
    case WM_SYSCOLORCHANGE:
    case WM_THEMECHANGED:
      Redraw(pane);
      return 0;
    case WM_LBUTTONDOWN:
      StartDrag(pane, second);
      return 0;
    case WM_MOUSEMOVE:
      MoveOver(pane, second);
      return 0;
    case WM_LBUTTONUP:
      EndDrag(pane, true);
      return 0;
    case WM_CAPTURECHANGED:
      EndDrag(pane, false);
      return 0;
    case WM_MOUSEWHEEL:
      OnWheel(pane, first, second);
      return 0;
    case WM_KEYDOWN:
      OnKey(pane, first);
      return 0;
    case WM_COMMAND:
      OnButton(pane, LOWORD(first) - kFirstButton);
      SetFocus(pane.window);
      return 0;
    case WM_SETFOCUS:
    case WM_KILLFOCUS:
      InvalidateRect(pane.window, nullptr, FALSE);
      return 0;
    case kReadTimes:
      ReadTimes(pane);
      return 0;
    default:
      return DefWindowProcW(pane.window, message, first, second);
  }
}

// The pane owns its record and takes itself out of the place that it belongs to.
LRESULT CALLBACK ActivityProc(HWND window, UINT message, WPARAM first, LPARAM second) {
  auto* pane = RecordOfWindow<ActivityPane>(window, message, second);
  if (pane == nullptr) return DefWindowProcW(window, message, first, second);
  pane->window = window;
  if (message == WM_CREATE) return MakeButtons(*pane) ? 0 : -1;
  if (message != WM_NCDESTROY) return Route(*pane, message, first, second);
  SetWindowLongPtrW(window, GWLP_USERDATA, 0);
  pane->place->activity = nullptr;
  delete pane;
  return 0;
}

// --- saving --------------------------------------------------------------------------------------

bool EndsWithSvg(const std::string& file) {
  return file.size() >= 4 && (file.ends_with(".svg") || file.ends_with(".SVG"));
}

std::string BytesOfPicture(const ActivityPane& pane, bool svg) {
  const Picture picture = DrawActivity(pane.activity, pane.view, pane.bins, LookOf(pane)).picture;
  if (svg) return SvgOf(picture);
  return PngOf(picture.width, picture.height, PixelsOf(picture, pane.font));
}

}  // namespace

HWND MakeActivityPane(ListPlace& place, int identifier) {
  if (!RegisterWindowClass(place.owner->instance,
                           {.name = kClassName, .procedure = ActivityProc})) {
    return nullptr;
  }
  // Goes with its window, from WM_NCCREATE on.
  auto* pane = new ActivityPane;
  pane->place = &place;
  place.activity = pane;
  return CreateWindowExW(
      0, kClassName, L"Activity", WS_CHILD | WS_TABSTOP | WS_CLIPCHILDREN, 0, 0, 0, 0, place.window,
      reinterpret_cast<HMENU>(static_cast<INT_PTR>(identifier)), place.owner->instance, pane);
}

bool HasActivity(const ListPlace& place) {
  return place.activity != nullptr && place.model != nullptr && TimeColumnOf(*place.model) >= 0;
}

bool ShowsActivity(const ListPlace& place) {
  if (!HasActivity(place)) return false;
  const int kind = ListKindOf(*place.model);
  const bool by_itself = kind == kListTimeline || kind == kListKeyDates;
  return by_itself != place.activity_turned;
}

void FollowActivity(ListPlace& place) {
  if (!ShowsActivity(place) || place.working) return;
  const ActivityPane& pane = *place.activity;
  if (pane.read_of == place.model.get() && pane.rows_read == RowCount(*place.model)) return;
  // Posted: this is called in the middle of what changed the list, and reading starts a worker.
  PostMessageW(pane.window, kReadTimes, 0, 0);
}

bool CancelDrag(const ListPlace& place) {
  if (place.activity == nullptr || !place.activity->dragging) return false;
  EndDrag(*place.activity, false);
  return true;
}

void ForgetPickedRange(const ListPlace& place) {
  if (place.activity == nullptr) return;
  place.activity->view.picked = TimeRange();
  Redraw(*place.activity);
}

void SetActivityFont(HWND window, HFONT font) {
  auto* pane = reinterpret_cast<ActivityPane*>(GetWindowLongPtrW(window, GWLP_USERDATA));
  if (pane == nullptr) return;
  pane->font = font;
  for (const HWND button : pane->buttons) {
    SendMessageW(button, WM_SETFONT, reinterpret_cast<WPARAM>(font), FALSE);
  }
  LayOut(*pane);
}

void OnActivity(ListPlace& place) {
  place.activity_turned = !place.activity_turned;
  PlaceChanged(place);
}

void OnSavePicture(ListPlace& place) {
  if (place.activity == nullptr) return;
  FileRequest request;
  request.filter = L"PNG picture\0*.png\0SVG picture\0*.svg\0";
  request.extension = L"png";
  request.ask_to_replace = true;
  request.name = "Picture of " + ProposedNameOf(place);
  const std::string file = ChooseListFile(place, true, kFolderTexts, request);
  if (file.empty()) return;
  const std::string bytes = BytesOfPicture(*place.activity, EndsWithSvg(file));
  OutputFile out;
  if (!OpenListFile(file, OutputMode::kReplace, kFileNotWritten, out)) return;
  const bool written = !bytes.empty() && WriteOutput(out, bytes);
  if (CloseOutput(out, written) && written) return ShowPassingStatus(place, " Picture saved.");
  ReportFileFailure("Could not write %s !", file);
}

}  // namespace hivequarry
