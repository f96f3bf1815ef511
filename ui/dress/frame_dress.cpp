// Frames, dialogs and panes: what is behind their controls, and what those ask them for.
#include "ui/dress/dress_kinds.h"
#include "ui/dress/menu_dress.h"
#include "ui/dress/paint.h"
#include "ui/dress/system_dark.h"

namespace hivequarry {
namespace {

bool IsChildWindow(HWND window) { return (GetWindowLongPtrW(window, GWL_STYLE) & WS_CHILD) != 0; }

// Of what a toolbar's NM_CUSTOMDRAW answers, which not all headers have.
constexpr LRESULT kNoEdges = 0x00010000;
constexpr LRESULT kNoOffset = 0x00040000;
constexpr LRESULT kNoEtching = 0x00100000;
constexpr LRESULT kNoBackground = 0x00400000;
constexpr LRESULT kOwnColours = 0x00800000;

constexpr ULONG_PTR kDialogAtom = 32770;  // the class of dialogs has no other name

// Panes that draw themselves have no brush.
bool HasGround(HWND window) {
  return GetClassLongPtrW(window, GCLP_HBRBACKGROUND) != 0 ||
         GetClassLongPtrW(window, GCW_ATOM) == kDialogAtom;
}

void FillGround(HWND window, HDC dc) {
  RECT area;
  GetClientRect(window, &area);
  FillRect(dc, &area, BrushOf(Tone::kFace));
}

// The ground of a control that asks its parent; a parent that has answered with a colour of ours
// has its way.
LRESULT GroundFor(HWND parent, UINT message, WPARAM first, LPARAM second) {
  const LRESULT own = Undressed(parent, message, first, second);
  const bool field = message == WM_CTLCOLOREDIT || message == WM_CTLCOLORLISTBOX ||
                     own == reinterpret_cast<LRESULT>(BrushOf(Tone::kWindow));
  const HDC dc = reinterpret_cast<HDC>(first);
  SetTextColor(dc, ColourOf(field ? Tone::kText : Tone::kFaceText));
  SetBkColor(dc, ColourOf(field ? Tone::kWindow : Tone::kFace));
  return reinterpret_cast<LRESULT>(BrushOf(field ? Tone::kWindow : Tone::kFace));
}

Tone ToneOfButton(UINT state) {
  if ((state & CDIS_SELECTED) != 0) return Tone::kPressed;
  return (state & (CDIS_HOT | CDIS_CHECKED)) != 0 ? Tone::kHot : Tone::kFace;
}

// Texts have the colours that the window gave them, if it did.
LRESULT DrawToolButton(NMTBCUSTOMDRAW& notice, LRESULT own) {
  if (notice.nmcd.dwDrawStage == CDDS_PREPAINT) return own | CDRF_NOTIFYITEMDRAW;
  if (notice.nmcd.dwDrawStage != CDDS_ITEMPREPAINT) return own;
  if ((own & kOwnColours) == 0) {
    const bool usable = (notice.nmcd.uItemState & CDIS_DISABLED) == 0;
    notice.clrText = ColourOf(usable ? Tone::kFaceText : Tone::kFaint);
    notice.clrTextHighlight = notice.clrText;
  }
  const Tone ground = ToneOfButton(notice.nmcd.uItemState);
  FillRect(notice.nmcd.hdc, &notice.nmcd.rc, BrushOf(ground));
  if ((notice.nmcd.uItemState & CDIS_CHECKED) != 0) {
    FrameRect(notice.nmcd.hdc, &notice.nmcd.rc, BrushOf(Tone::kEdge));
  }
  return own | kNoEdges | kNoOffset | kNoEtching | kNoBackground | kOwnColours;
}

bool IsToolbar(HWND window) {
  wchar_t name[32] = L"";
  GetClassNameW(window, name, 32);
  return lstrcmpiW(name, TOOLBARCLASSNAMEW) == 0;
}

// Toolbars ask their parent how to draw; its own answer goes on to what is drawn here.
bool RouteNotice(HWND window, WPARAM first, LPARAM second, LRESULT& answer) {
  const auto& notice = *reinterpret_cast<const NMHDR*>(second);
  if (notice.code != NM_CUSTOMDRAW || !IsToolbar(notice.hwndFrom)) return false;
  answer = Undressed(window, WM_NOTIFY, first, second);
  answer = DrawToolButton(*reinterpret_cast<NMTBCUSTOMDRAW*>(second), answer);
  return true;
}

}  // namespace

void PutOnFrame(HWND window, bool dark) {
  if (!IsChildWindow(window)) return SetDarkTitle(window, dark);
  SetControlTheme(window, dark, L"DarkMode_Explorer", nullptr);  // its scroll bars
}

bool RouteFrame(HWND window, UINT message, WPARAM first, LPARAM second, LRESULT& answer) {
  switch (message) {
    case WM_ERASEBKGND:
      if (!HasGround(window)) return false;
      FillGround(window, reinterpret_cast<HDC>(first));
      answer = 1;
      return true;
    case WM_CTLCOLORDLG:
    case WM_CTLCOLORBTN:
    case WM_CTLCOLORSTATIC:
    case WM_CTLCOLOREDIT:
    case WM_CTLCOLORLISTBOX:
      answer = GroundFor(window, message, first, second);
      return true;
    case WM_NOTIFY:
      return RouteNotice(window, first, second, answer);
    // All of them may draw the bar again.
    case WM_NCPAINT:
    case WM_NCACTIVATE:
    case WM_SETTEXT:
    case WM_SETICON:
      answer = Undressed(window, message, first, second);
      IsChildWindow(window) ? DrawFrameEdge(window) : DrawBarRest(window);
      return true;
    default:
      return false;
  }
}

}  // namespace hivequarry
