#include "ui/panes/value_viewer.h"

#include <algorithm>
#include <utility>

#include "ui/draw/tones.h"
#include "ui/frame/access_name.h"
#include "ui/frame/host_window.h"
#include "ui/frame/list_view.h"
#include "ui/frame/text.h"
#include "ui/frame/window_class.h"
#include "ui/hex/hex_edit.h"

namespace hivequarry {
namespace {

constexpr wchar_t kClassName[] = L"HivequarryViewer";
constexpr int kDetailPart = 1;  // identifiers of the panes
constexpr int kHexPart = 2;
constexpr int kMeaningPart = 3;

// At 96 dpi.
constexpr int kGap = 4;
constexpr int kLeastText = 310;     // width of the details beside the bytes: a line of a dump
constexpr int kLeastMeaning = 250;  // and of the meanings
constexpr int kLabelWidth = 150;
constexpr int kLine = 18;  // of the bytes, with room to spare
constexpr int kEditMargin = 8;

constexpr ListColumn kValueViewerColumns[] = {{L"Bytes here as", kLabelWidth, false},
                                              {L"May mean", 260, false}};

// --- layout --------------------------------------------------------------------------------------

// Where the viewer's three children are in it.
struct Parts {
  RECT detail;
  RECT hex;
  RECT meaning;
};

// All three in a row.
Parts InARow(const RECT& area, int hex, int least_text, int gap) {
  const int rest = area.right - hex - 2 * gap;
  const int text = std::max<int>(rest * 2 / 5, least_text);
  return {{0, 0, text, area.bottom},
          {text + gap, 0, text + gap + hex, area.bottom},
          {text + hex + 2 * gap, 0, area.right, area.bottom}};
}

// What the lines of a short value and the titles take.
int HeightOfLines(const ValueViewer& viewer) {
  // More than any screen has room for; the product stays small.
  constexpr uint32_t kMost = 1000;
  const uint32_t lines = std::min(ByteCount(HexBytesOf(viewer.hex)) / 16 + 3, kMost);
  return static_cast<int>(lines) * Scale(kLine, viewer.dpi);
}

// The bytes below the others, or where there is room at their side, the meanings beside both.
Parts InTwoRows(const RECT& area, int hex, int least_meaning, int lines, int gap) {
  const int lower = std::min<int>(area.bottom * 11 / 20, lines);
  const int top = std::max<int>(area.bottom - lower - gap, 0);
  if (area.right >= hex + gap + least_meaning) {
    return {{0, 0, hex, top},
            {0, top + gap, hex, area.bottom},
            {hex + gap, 0, area.right, area.bottom}};
  }
  const int text = (area.right - gap) * 9 / 20;
  return {
      {0, 0, text, top}, {0, top + gap, area.right, area.bottom}, {text + gap, 0, area.right, top}};
}

// Side by side where there is room for all three, else in two rows.
Parts PartsOf(const ValueViewer& viewer, const RECT& area) {
  const int gap = Scale(kGap, viewer.dpi);
  const int hex = HexWidthWanted(viewer.hex);
  const int text = Scale(kLeastText, viewer.dpi);
  const int meaning = Scale(kLeastMeaning, viewer.dpi);
  if (area.right >= hex + text + meaning + 2 * gap) return InARow(area, hex, text, gap);
  return InTwoRows(area, hex, meaning, HeightOfLines(viewer), gap);
}

void Place(HWND child, const RECT& area) {
  SetWindowPos(child, nullptr, area.left, area.top, std::max<LONG>(area.right - area.left, 0),
               std::max<LONG>(area.bottom - area.top, 0),
               SWP_NOZORDER | SWP_NOACTIVATE | SWP_NOCOPYBITS);
}

// The second column has what the first one leaves.
void FitMeaning(const ValueViewer& viewer) {
  RECT area;
  GetWindowRect(viewer.meaning, &area);  // with the scroll bar, be it there or not
  const int width = area.right - area.left - GetSystemMetrics(SM_CXVSCROLL) -
                    ListView_GetColumnWidth(viewer.meaning, 0);
  ListView_SetColumnWidth(viewer.meaning, 1, std::max(width, Scale(kLabelWidth, viewer.dpi)));
}

bool HasBytes(const ValueViewer& viewer) {
  return viewer.hex != nullptr && ByteCount(HexBytesOf(viewer.hex)) != 0;
}

void LayOut(const ValueViewer& viewer) {
  RECT area;
  GetClientRect(viewer.window, &area);
  const bool bytes = HasBytes(viewer);
  const HWND focus = GetFocus();
  // The focus leaves a pane before that is hidden: it would stay there, and keys would go nowhere.
  const bool leaves = !bytes && (focus == viewer.hex || focus == viewer.meaning);
  if (leaves) SetFocus(viewer.detail.window);
  if (bytes) {
    const Parts parts = PartsOf(viewer, area);
    Place(viewer.detail.window, parts.detail);
    Place(viewer.hex, parts.hex);
    Place(viewer.meaning, parts.meaning);
    FitMeaning(viewer);
  } else {
    Place(viewer.detail.window, area);
  }
  for (const HWND pane : {viewer.hex, viewer.meaning}) {
    ShowWindow(pane, bytes ? SW_SHOWNA : SW_HIDE);
  }
}

// --- meanings ------------------------------------------------------------------------------------

// After the caret or the selection has moved; the rows stay in view as far as there are as many.
void RenewMeaning(ValueViewer& viewer) {
  const HexBytes& bytes = HexBytesOf(viewer.hex);
  viewer.rows = MeaningRows(viewer.value, bytes.bytes, bytes.caret);
  ListView_SetItemCountEx(viewer.meaning, static_cast<int>(viewer.rows.size()),
                          LVSICF_NOSCROLL | LVSICF_NOINVALIDATEALL);
  InvalidateRect(viewer.meaning, nullptr, FALSE);
}

std::wstring CellOf(const ValueViewer& viewer, int row, int column) {
  if (row < 0 || row >= static_cast<int>(viewer.rows.size())) return std::wstring();
  const Meaning& meaning = viewer.rows[static_cast<size_t>(row)];
  return WindowText(column == 0 ? meaning.label : meaning.text);
}

// Label and text of the selected rows, a tab between them, a line each.
void CopyMeanings(const ValueViewer& viewer) {
  std::wstring text;
  int row = -1;
  while ((row = ListView_GetNextItem(viewer.meaning, row, LVNI_SELECTED)) >= 0) {
    text += CellOf(viewer, row, 0) + L"\t" + CellOf(viewer, row, 1) + L"\r\n";
  }
  if (!text.empty()) CopyText(viewer.window, std::move(text));
}

void OnMeaningKey(const ValueViewer& viewer, WORD key) {
  if (GetKeyState(VK_CONTROL) >= 0) return;
  if (key == 'C') CopyMeanings(viewer);
  if (key == 'A') ListView_SetItemState(viewer.meaning, -1, LVIS_SELECTED, LVIS_SELECTED);
}

// Below the focused row.
POINT MenuPoint(const ValueViewer& viewer) {
  RECT area{};
  const int row = ListView_GetNextItem(viewer.meaning, -1, LVNI_FOCUSED);
  if (row >= 0) ListView_GetItemRect(viewer.meaning, row, &area, LVIR_LABEL);
  POINT at{area.left, area.bottom};
  ClientToScreen(viewer.meaning, &at);
  return at;
}

// `at`: screen coordinates.
void ShowMeaningMenu(const ValueViewer& viewer, POINT at) {
  constexpr UINT kCopy = 1;
  constexpr UINT kSelectAll = 2;
  const HMENU menu = CreatePopupMenu();
  const bool any = ListView_GetSelectedCount(viewer.meaning) != 0;
  AppendMenuW(menu, MF_STRING | (any ? MF_ENABLED : MF_GRAYED), kCopy, L"&Copy\tCtrl+C");
  AppendMenuW(menu, MF_STRING, kSelectAll, L"Select &all\tCtrl+A");
  const auto chosen = static_cast<UINT>(
      TrackPopupMenu(menu, TPM_RETURNCMD | TPM_RIGHTBUTTON, at.x, at.y, 0, viewer.window, nullptr));
  DestroyMenu(menu);
  if (chosen == kCopy) CopyMeanings(viewer);
  if (chosen == kSelectAll) {
    ListView_SetItemState(viewer.meaning, -1, LVIS_SELECTED, LVIS_SELECTED);
  }
}

LRESULT OnMeaningNotify(const ValueViewer& viewer, const NMHDR& notice) {
  switch (notice.code) {
    case LVN_GETDISPINFOW: {
      auto& item = const_cast<NMLVDISPINFOW&>(reinterpret_cast<const NMLVDISPINFOW&>(notice)).item;
      if ((item.mask & LVIF_TEXT) != 0) {
        GiveText(item, CellOf(viewer, item.iItem, item.iSubItem).c_str());
      }
      return 0;
    }
    case NM_CUSTOMDRAW:
      return DrawListRow(
          const_cast<NMLVCUSTOMDRAW&>(reinterpret_cast<const NMLVCUSTOMDRAW&>(notice)));
    case LVN_KEYDOWN:
      OnMeaningKey(viewer, reinterpret_cast<const NMLVKEYDOWN&>(notice).wVKey);
      return 0;
    default:
      return 0;
  }
}

// --- messages ------------------------------------------------------------------------------------

void OnHexNotice(ValueViewer& viewer, WORD code) {
  if (code == kHexCaretMoved) RenewMeaning(viewer);
  if (code == kHexSave && viewer.save) viewer.save(HexSaved(viewer.hex));
  if (code == kHexRefused && viewer.tell) viewer.tell(HexRefusal(viewer.hex));
}

// The colours of a read-only edit are those of a disabled one; texts to be read have their own.
LRESULT OnDetailColour(WPARAM dc) {
  const HDC device = reinterpret_cast<HDC>(dc);
  SetTextColor(device, ColourOf(Tone::kText));
  SetBkColor(device, ColourOf(Tone::kWindow));
  return reinterpret_cast<LRESULT>(BrushOf(Tone::kWindow));
}

// The record is the caller's and outlives the container. Sizes may come before all panes are made.
LRESULT CALLBACK ViewerProc(HWND handle, UINT message, WPARAM first, LPARAM second) {
  auto* viewer = RecordOfWindow<ValueViewer>(handle, message, second);
  if (viewer == nullptr) return DefWindowProcW(handle, message, first, second);
  switch (message) {
    case WM_SIZE:
      if (viewer->meaning != nullptr) LayOut(*viewer);
      return 0;
    case WM_COMMAND:
      if (LOWORD(first) == kHexPart) OnHexNotice(*viewer, HIWORD(first));
      return 0;
    case WM_NOTIFY: {
      const auto& notice = *reinterpret_cast<const NMHDR*>(second);
      return notice.hwndFrom == viewer->meaning ? OnMeaningNotify(*viewer, notice) : 0;
    }
    case WM_CONTEXTMENU:
      if (reinterpret_cast<HWND>(first) != viewer->meaning) break;
      ShowMeaningMenu(*viewer, second == -1 ? MenuPoint(*viewer)
                                            : POINT{GET_X_LPARAM(second), GET_Y_LPARAM(second)});
      return 0;
    case WM_CTLCOLORSTATIC:
      return OnDetailColour(first);
    case WM_ERASEBKGND: {
      RECT area;
      GetClientRect(handle, &area);
      FillRect(reinterpret_cast<HDC>(first), &area, BrushOf(Tone::kFace));
      return 1;
    }
    case WM_NCDESTROY:
      SetWindowLongPtrW(handle, GWLP_USERDATA, 0);
      break;
    default:
      break;
  }
  return DefWindowProcW(handle, message, first, second);
}

HMENU IdentifierOf(int identifier) {
  return reinterpret_cast<HMENU>(static_cast<INT_PTR>(identifier));
}

}  // namespace

bool MakeValueViewer(ValueViewer& viewer, HWND parent, int identifier, uint32_t dpi) {
  const HINSTANCE instance = GetModuleHandleW(nullptr);
  if (!RegisterHexClass(instance) ||
      !RegisterWindowClass(instance, {.name = kClassName, .procedure = ViewerProc})) {
    return false;
  }
  viewer.dpi = dpi;
  viewer.window = CreateWindowExW(WS_EX_CONTROLPARENT, kClassName, L"", WS_CHILD | WS_CLIPCHILDREN,
                                  0, 0, 0, 0, parent, IdentifierOf(identifier), instance, &viewer);
  if (viewer.window == nullptr) return false;
  constexpr DWORD kChild = WS_CHILD | WS_TABSTOP | WS_VSCROLL;
  MakeUnseenLabel(viewer.window, L"Details");
  viewer.detail.window = CreateWindowExW(
      0, WC_EDITW, L"", kChild | WS_VISIBLE | ES_READONLY | ES_MULTILINE | ES_NOHIDESEL, 0, 0, 0, 0,
      viewer.window, IdentifierOf(kDetailPart), instance, nullptr);
  viewer.hex = CreateWindowExW(0, kHexClassName, L"Bytes of the value", kChild, 0, 0, 0, 0,
                               viewer.window, IdentifierOf(kHexPart), instance, nullptr);
  viewer.meaning = MakeVirtualList(viewer.window, kMeaningPart, kValueViewerColumns, dpi);
  if (viewer.detail.window == nullptr || viewer.hex == nullptr || viewer.meaning == nullptr) {
    return false;
  }
  SetWindowTextW(viewer.meaning, L"Meaning of the bytes");  // what a screen reader calls it
  // No limit of length: the usual one counts for the slices that are added, too.
  SendMessageW(viewer.detail.window, EM_SETLIMITTEXT, 0, 0);
  return true;
}

void SetViewerLook(ValueViewer& viewer, const Fonts& fonts, uint32_t dpi) {
  const uint32_t old_dpi = std::exchange(viewer.dpi, dpi);
  SendMessageW(viewer.detail.window, WM_SETFONT, reinterpret_cast<WPARAM>(fonts.fixed), FALSE);
  const int margin = Scale(kEditMargin, dpi);
  SendMessageW(viewer.detail.window, EM_SETMARGINS, EC_LEFTMARGIN | EC_RIGHTMARGIN,
               MAKELPARAM(margin, margin));
  SendMessageW(viewer.meaning, WM_SETFONT, reinterpret_cast<WPARAM>(fonts.text), FALSE);
  SetHexDpi(viewer.hex, dpi);
  if (old_dpi != dpi) ScaleColumns(viewer.meaning, old_dpi, dpi);
  LayOut(viewer);
}

bool ShowInViewer(ValueViewer& viewer, std::wstring detail, ValueBytes value) {
  FilePosition in_file;
  if (!value.places.empty()) {
    auto places = std::make_shared<const std::vector<DataPiece>>(value.places);
    in_file = [places](uint32_t offset) { return FilePositionIn(*places, offset); };
  }
  std::vector<uint8_t> data = std::exchange(value.data, {});
  viewer.value = std::move(value);
  ShowHexBytes(viewer.hex, std::move(data), std::move(in_file));
  LayOut(viewer);
  RenewMeaning(viewer);
  return SetDetail(viewer.detail, std::move(detail));
}

bool KeepsTab(const ValueViewer& viewer, MSG& message) {
  return message.hwnd == viewer.hex &&
         (SendMessageW(message.hwnd, WM_GETDLGCODE, VK_TAB, reinterpret_cast<LPARAM>(&message)) &
          DLGC_WANTTAB) != 0;
}

std::array<HWND, 3> ViewerPanes(const ValueViewer& viewer) {
  return {viewer.detail.window, viewer.hex, viewer.meaning};
}

}  // namespace hivequarry
