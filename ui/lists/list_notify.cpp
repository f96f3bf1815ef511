#include "ui/lists/list_notify.h"

#include <algorithm>

#include "host/text.h"
#include "reports/freed_find.h"
#include "ui/draw/text_size.h"
#include "ui/frame/list_view.h"
#include "ui/frame/text.h"
#include "ui/lists/column_choice.h"
#include "ui/lists/list_menu.h"
#include "ui/lists/list_place.h"
#include "ui/lists/list_sorting.h"
#include "view/list_commands.h"
#include "view/shown_text.h"

namespace hivequarry {
namespace {

// The control offers `room` units, and no more are made of a long text.
std::wstring CellStart(const ListPlace& place, uint32_t shown, int column, size_t room) {
  return WindowText(FirstUnits(CellText(*place.model, ModelRow(place, shown), column), room));
}

// A path that the column has no room for is cut in its middle, on the screen alone: who asks for a
// text gets it as it is. Empty for what is no path.
std::wstring PaintedPath(const ListPlace& place, uint32_t shown, int column) {
  constexpr size_t kLongest = 4096;  // units, wider than any screen
  if (HoldsOf(FindListKind(ListKindOf(*place.model)), column) != CellHolds::kName) return {};
  const std::string_view cell = CellText(*place.model, ModelRow(place, shown), column);
  if (cell.size() > kLongest || cell.find('\\') == cell.npos) return {};
  const std::u16string path = ShownText(cell);
  const HFONT font = FontOfControl(place.list);
  const std::vector<int> ends = TextEnds(font, WideText(path));
  const int cut = static_cast<int>(TextSize(font, WideText(kPathCut)).cx);
  return WideText(FitPath(path, RoomOfCell(place, column), ends, cut));
}

// The list is virtual: only what is in view is asked for. Rows may be fewer than the control knows.
void OnDisplay(const ListPlace& place, NMLVDISPINFOW& notice) {
  LVITEMW& item = notice.item;
  if (item.iItem < 0 || static_cast<uint32_t>(item.iItem) >= ShownRowCount(place)) return;
  const auto shown = static_cast<uint32_t>(item.iItem);
  if ((item.mask & LVIF_IMAGE) != 0) item.iImage = RowIcon(*place.model, ModelRow(place, shown));
  if ((item.mask & LVIF_TEXT) != 0 && item.cchTextMax > 0) {
    const auto room = static_cast<size_t>(item.cchTextMax);
    std::wstring text;
    if (place.painting) text = PaintedPath(place, shown, item.iSubItem);
    // What is no path, or is asked for by others, is given as it is.
    if (text.empty()) text = CellStart(place, shown, item.iSubItem, room);
    GiveText(item, text.c_str());
  }
}

// Typing to find: the next row whose first column begins with the text.
int OnTypedText(const ListPlace& place, const NMLVFINDITEMW& notice) {
  if ((notice.lvfi.flags & (LVFI_STRING | LVFI_PARTIAL)) == 0) return -1;
  const std::wstring start = notice.lvfi.psz;
  const uint32_t count = ShownRowCount(place);
  for (uint32_t step = 0; step < count; ++step) {
    const uint32_t shown = (static_cast<uint32_t>(std::max(notice.iStart, 0)) + step) % count;
    if (StartsWith(CellStart(place, shown, 0, start.size()), start)) return static_cast<int>(shown);
  }
  return -1;
}

// What a double click or Enter does.
CommandNumber CommandOfRow(int kind) {
  if (kind == kListLogs) return kCommandShowAsOf;
  if (kind == kListCheck) return kCommandListRawRecord;
  return FindListKind(kind).leads == RowLeads::kField ? kCommandFollowRecord : kCommandGoToTree;
}

// Of a list that has both, rows about what was deleted are as in tree and values.
LRESULT DrawRow(ListPlace& place, NMLVCUSTOMDRAW& notice) {
  const DWORD stage = notice.nmcd.dwDrawStage;
  // The control asks for the same texts to draw them and for other reasons, such as a tip or a
  // screen reader; between these two stages it draws.
  if (stage == CDDS_PREPAINT || stage == CDDS_POSTPAINT) place.painting = stage == CDDS_PREPAINT;
  if (stage == CDDS_PREPAINT) return DrawListRow(notice) | CDRF_NOTIFYPOSTPAINT;
  const auto shown = static_cast<uint32_t>(notice.nmcd.dwItemSpec);
  const bool row = stage == CDDS_ITEMPREPAINT && shown < ShownRowCount(place);
  return row && IsFreedAmongOthers(*place.model, ModelRow(place, shown))
             ? DrawDeletedRow(notice, place.struck)
             : DrawListRow(notice);
}

template <typename Notice>
Notice& As(const NMHDR& notice) {
  return const_cast<Notice&>(reinterpret_cast<const Notice&>(notice));
}

}  // namespace

LRESULT OnListNotify(ListPlace& place, const NMHDR& notice) {
  switch (notice.code) {
    case LVN_GETDISPINFOW:
      OnDisplay(place, As<NMLVDISPINFOW>(notice));
      return 0;
    case NM_CUSTOMDRAW:
      // The header draws itself.
      return notice.hwndFrom == place.list ? DrawRow(place, As<NMLVCUSTOMDRAW>(notice)) : 0;
    case LVN_ODFINDITEMW:
      return OnTypedText(place, As<NMLVFINDITEMW>(notice));
    case LVN_COLUMNCLICK:
      OnHeaderClick(place, As<NMLISTVIEW>(notice).iSubItem, GetKeyState(VK_SHIFT) < 0);
      return 0;
    case NM_CLICK:
      EndSelecting(place);  // the user selects
      return 0;
    case LVN_ITEMACTIVATE: {
      RunListCommand(place, CommandOfRow(ListKindOf(*place.model)));
      return 0;
    }
    case HDN_BEGINTRACKW:
    case HDN_ENDDRAG:
      return OnColumnsNotify(place, As<NMHEADERW>(notice));
    case HDN_ENDTRACKW:
    case HDN_DIVIDERDBLCLICKW:
      // From now on the user's widths stay.
      place.columns_touched = true;
      return OnColumnsNotify(place, As<NMHEADERW>(notice));
    default:
      return 0;
  }
}

}  // namespace hivequarry
