#include "ui/lists/block_window.h"

#include <array>
#include <vector>

#include "app/opening_words.h"
#include "hive/bins.h"
#include "host/number_text.h"
#include "ui/draw/tones.h"
#include "ui/frame/list_view.h"
#include "ui/frame/text.h"
#include "ui/frame/window_class.h"
#include "ui/frame/window_place.h"
#include "ui/lists/list_notify.h"
#include "ui/main/main_window.h"
#include "words/bin_texts.h"

namespace hivequarry {
namespace {

constexpr wchar_t kBlockClassName[] = L"HivequarryBlocks";
constexpr int kBlockListId = 1;
constexpr ListColumn kColumns[] = {{L"Number", 80, false},
                                   {L"Position", 110, false},
                                   {L"Size", 110, false},
                                   {L"Copy", 110, false},
                                   {L"Own Offset", 110, false}};
constexpr int kWidth = 570;
constexpr int kHeight = 480;

// Goes with its window.
struct BlockWindow {
  MainWindow* owner = nullptr;
  uint32_t hive = 0;  // whose blocks
  HWND handle = nullptr;
  HWND list = nullptr;
  HFONT font = nullptr;
  uint32_t dpi = USER_DEFAULT_SCREEN_DPI;
  RECT put_beside{};  // where it began, if that was not its own place
  std::vector<BinRow> rows;
};

WindowPlace& SavedPlace() { return TheSettings().places[kPlaceBlocks]; }

std::string CellText(const BinRow& row, int column) {
  switch (column) {
    case 0:
      return BinNumberText(row);
    case 1:
      return Hex(row.place, 8);
    case 2:
      return BinSizeText(row);
    case 3:
      return BinCopyText(row);
    default:
      return row.invalid ? std::string() : Hex(row.own_offset, 8);
  }
}

void OnDisplay(const BlockWindow& blocks, NMLVDISPINFOW& notice) {
  const auto row = static_cast<size_t>(notice.item.iItem);
  if (row >= blocks.rows.size() || (notice.item.mask & LVIF_TEXT) == 0) return;
  GiveText(notice.item, WindowText(CellText(blocks.rows[row], notice.item.iSubItem)).c_str());
}

// The row that ends the walk, and rows whose sizes differ, are out.
LRESULT OnCustomDraw(const BlockWindow& blocks, NMLVCUSTOMDRAW& notice) {
  if (notice.nmcd.dwDrawStage == CDDS_PREPAINT) return CDRF_NOTIFYITEMDRAW;
  const size_t row = notice.nmcd.dwItemSpec;
  if (notice.nmcd.dwDrawStage != CDDS_ITEMPREPAINT || row >= blocks.rows.size()) return 0;
  const BinRow& bin = blocks.rows[row];
  const bool wrong = bin.invalid || !BinCopyText(bin).empty();
  notice.clrText = ColourOf(wrong ? Tone::kWarning : Tone::kText);
  return CDRF_DODEFAULT;
}

LRESULT OnListNotify(const BlockWindow& blocks, LPARAM notice) {
  switch (reinterpret_cast<const NMHDR*>(notice)->code) {
    case LVN_KEYDOWN:
      if (reinterpret_cast<const NMLVKEYDOWN*>(notice)->wVKey == VK_ESCAPE) {
        // Posted: the list that reports the key goes with the window.
        PostMessageW(blocks.handle, WM_CLOSE, 0, 0);
      }
      return 0;
    case LVN_GETDISPINFOW:
      OnDisplay(blocks, *reinterpret_cast<NMLVDISPINFOW*>(notice));
      return 0;
    case NM_CUSTOMDRAW:
      return OnCustomDraw(blocks, *reinterpret_cast<NMLVCUSTOMDRAW*>(notice));
    default:
      return 0;
  }
}

void SetListFont(BlockWindow& blocks) {
  Fonts fonts = MakeFonts(blocks.dpi);
  SendMessageW(blocks.list, WM_SETFONT, reinterpret_cast<WPARAM>(fonts.text), TRUE);
  std::swap(blocks.font, fonts.text);
  FreeFonts(fonts);
}

void OnDpiChanged(BlockWindow& blocks, WPARAM dpi, const RECT& place) {
  const uint32_t old_dpi = blocks.dpi;
  blocks.dpi = HIWORD(dpi);
  SetListFont(blocks);
  ScaleColumns(blocks.list, old_dpi, blocks.dpi);
  MoveToArea(blocks.handle, place);
}

void OnCreate(BlockWindow& blocks) {
  blocks.dpi = DpiOfWindow(blocks.handle);
  blocks.list = MakeVirtualList(blocks.handle, kBlockListId, kColumns, blocks.dpi);
  SetWindowTextW(blocks.list, L"Blocks");  // what a screen reader calls it
  SetListFont(blocks);
  SetColumnWidths(blocks.list, SavedPlace().columns, blocks.dpi);
  ListView_SetItemCountEx(blocks.list, static_cast<int>(blocks.rows.size()), 0);
  ShowWindow(blocks.list, SW_SHOWNA);
}

void SavePlace(const BlockWindow& blocks) {
  if (blocks.list == nullptr) return;  // its making failed
  const WindowPlace kept = SavedPlace();
  SavedPlace() = PlaceOfWindow(blocks.handle, blocks.dpi);
  KeepUnmovedPlace(blocks.put_beside, blocks.handle, kept, SavedPlace());
  SavedPlace().columns = ColumnWidths(blocks.list, blocks.dpi);
}

// The last message: the record goes.
void OnDestroy(BlockWindow* blocks) {
  blocks->owner->blocks = nullptr;
  DeleteObject(blocks->font);
  SetWindowLongPtrW(blocks->handle, GWLP_USERDATA, 0);
  delete blocks;
}

LRESULT CALLBACK BlockProc(HWND handle, UINT message, WPARAM first, LPARAM second) {
  auto* blocks = RecordOfWindow<BlockWindow>(handle, message, second);
  if (message == WM_NCCREATE) blocks->handle = handle;
  if (blocks == nullptr) return DefWindowProcW(handle, message, first, second);
  switch (message) {
    case WM_CREATE:
      OnCreate(*blocks);
      return 0;
    case WM_SIZE:
      MoveWindow(blocks->list, 0, 0, LOWORD(second), HIWORD(second), TRUE);
      return 0;
    case WM_SETFOCUS:
      SetFocus(blocks->list);
      return 0;
    case WM_NOTIFY:
      return OnListNotify(*blocks, second);
    case WM_DPICHANGED:
      OnDpiChanged(*blocks, first, *reinterpret_cast<const RECT*>(second));
      return 0;
    case WM_DESTROY:
      // The list and the widths of its columns are still there.
      SavePlace(*blocks);
      return 0;
    case WM_NCDESTROY:
      OnDestroy(blocks);
      return 0;
    default:
      return DefWindowProcW(handle, message, first, second);
  }
}

bool RegisterBlockClass(HINSTANCE instance) {
  return RegisterWindowClass(instance, {.name = kBlockClassName, .procedure = BlockProc});
}

// Over the middle of its owner.
RECT PlaceOver(const MainWindow& window) {
  RECT owner;
  GetWindowRect(window.handle, &owner);
  const int width = Scale(kWidth, window.dpi);
  const int height = Scale(kHeight, window.dpi);
  const LONG left = (owner.left + owner.right - width) / 2;
  const LONG top = (owner.top + owner.bottom - height) / 2;
  return {left, top, left + width, top + height};
}

}  // namespace

void ShowBlockList(MainWindow& window) {
  if (window.blocks != nullptr) {
    const auto* shown =
        reinterpret_cast<const BlockWindow*>(GetWindowLongPtrW(window.blocks, GWLP_USERDATA));
    if (shown->hive == window.shown->number) {
      SetForegroundWindow(window.blocks);
      return;
    }
    DestroyWindow(window.blocks);  // that of another hive
  }
  if (!RegisterBlockClass(window.instance)) return;
  auto* blocks = new BlockWindow;
  blocks->owner = &window;
  blocks->hive = window.shown->number;
  const HiveImage& hive = ShownHive(window);
  blocks->rows = ListHiveBins(hive);
  TellOfBlocks(blocks->rows);
  // From here on the record goes with the window, also when its making fails half-way.
  const WindowPlace& saved = SavedPlace();
  const bool placed = IsPlaced(saved);
  const RECT place = placed ? OnScreen(AreaOfPlace(saved, window.dpi)) : PlaceOver(window);
  window.blocks =
      CreateWindowExW(0, kBlockClassName, L"Block list", WS_OVERLAPPEDWINDOW, CW_USEDEFAULT, 0,
                      CW_USEDEFAULT, 0, window.handle, nullptr, window.instance, blocks);
  if (window.blocks == nullptr) return;
  blocks->put_beside = MoveBesideOthers(window.blocks, place);
  ShowWindow(window.blocks, placed && saved.maximised ? SW_SHOWMAXIMIZED : SW_SHOW);
}

}  // namespace hivequarry
