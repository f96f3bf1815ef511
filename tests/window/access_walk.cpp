#include "tests/window/access_walk.h"

#include <initguid.h>
#include <oleacc.h>

#include <algorithm>
#include <array>
#include <cwctype>
#include <map>

#include "ui/draw/dpi.h"
#include "ui/draw/text_size.h"
#include "ui/frame/text.h"

namespace hivequarry::testing {
namespace {

std::wstring ClassOf(HWND control) {
  std::array<wchar_t, 64> name{};
  GetClassNameW(control, name.data(), static_cast<int>(name.size()));
  return name.data();
}

std::wstring OwnText(HWND control) {
  std::array<wchar_t, 256> text{};
  GetWindowTextW(control, text.data(), static_cast<int>(text.size()));
  return text.data();
}

bool Is(HWND control, const wchar_t* type) {
  return lstrcmpiW(ClassOf(control).c_str(), type) == 0;
}

LONG StyleOf(HWND control) { return GetWindowLongW(control, GWL_STYLE); }

// The one after "&", in capitals; 0 for none.
wchar_t LetterIn(const std::wstring& text) {
  for (size_t at = 0; at + 1 < text.size(); ++at) {
    if (text[at] != L'&') continue;
    if (text[++at] != L'&') return static_cast<wchar_t>(std::towupper(text[at]));
  }
  return 0;
}

std::string WithoutLetter(std::wstring text) {
  std::erase(text, L'&');
  return Utf8Name(text);
}

bool IsGroupBox(HWND control) {
  return Is(control, WC_BUTTONW) && (StyleOf(control) & BS_TYPEMASK) == BS_GROUPBOX;
}

bool IsChoice(HWND control) {
  const LONG type = StyleOf(control) & BS_TYPEMASK;
  return Is(control, WC_BUTTONW) && (type == BS_RADIOBUTTON || type == BS_AUTORADIOBUTTON);
}

bool TakesFocus(HWND control) {
  if (IsGroupBox(control)) return false;
  const LONG style = StyleOf(control);
  if (Is(control, WC_STATICW)) return false;
  return (style & WS_TABSTOP) != 0 || Is(control, WC_EDITW) || Is(control, WC_BUTTONW) ||
         Is(control, WC_COMBOBOXW) || Is(control, WC_LISTBOXW) || Is(control, WC_LISTVIEWW) ||
         Is(control, WC_TREEVIEWW);
}

// What belongs to another control: the edit of a box of texts, the titles of a list.
bool IsPart(HWND control) {
  const HWND parent = GetParent(control);
  return Is(parent, WC_COMBOBOXW) || Is(parent, WC_LISTVIEWW);
}

std::string Where(HWND control) {
  return Utf8Name(ClassOf(control)) + " " + std::to_string(GetDlgCtrlID(control)) + " \"" +
         Utf8Name(OwnText(control)) + "\"";
}

// A label is right before what it is the name of.
std::wstring LabelBefore(HWND control) {
  const HWND before = GetWindow(control, GW_HWNDPREV);
  return before != nullptr && Is(before, WC_STATICW) ? OwnText(before) : std::wstring();
}

bool ShowsValue(HWND control) {
  return Is(control, WC_EDITW) || Is(control, WC_COMBOBOXW) || Is(control, WC_LISTBOXW);
}

std::vector<HWND> ChildrenOf(HWND window) {
  std::vector<HWND> children;
  EnumChildWindows(
      window,
      [](HWND child, LPARAM into) {
        reinterpret_cast<std::vector<HWND>*>(into)->push_back(child);
        return TRUE;
      },
      reinterpret_cast<LPARAM>(&children));
  return children;
}

bool Overlap(HWND a, HWND b) {
  RECT first;
  RECT second;
  RECT both;
  GetWindowRect(a, &first);
  GetWindowRect(b, &second);
  return IntersectRect(&both, &first, &second) != FALSE;
}

}  // namespace

std::string AccessName(HWND control) {
  return WithoutLetter(ShowsValue(control) ? LabelBefore(control) : OwnText(control));
}

std::vector<MetControl> ControlsIn(HWND window) {
  std::vector<MetControl> controls;
  for (const HWND child : ChildrenOf(window)) {
    if (!TakesFocus(child) || IsPart(child)) continue;
    controls.push_back({child, Where(child), AccessName(child)});
  }
  return controls;
}

bool AskedName(HWND control, std::string& name) {
  using Function = HRESULT(WINAPI*)(HWND, DWORD, REFIID, void**);
  static const HMODULE library = LoadLibraryW(L"oleacc.dll");
  const FARPROC found =
      library == nullptr ? nullptr : GetProcAddress(library, "AccessibleObjectFromWindow");
  const auto ask = reinterpret_cast<Function>(reinterpret_cast<void*>(found));
  IAccessible* object = nullptr;
  if (ask == nullptr || FAILED(ask(control, static_cast<DWORD>(OBJID_CLIENT), IID_IAccessible,
                                   reinterpret_cast<void**>(&object)))) {
    return false;
  }
  VARIANT self{};
  self.vt = VT_I4;
  self.lVal = CHILDID_SELF;
  BSTR text = nullptr;
  const HRESULT result = object->get_accName(self, &text);
  object->Release();
  if (FAILED(result)) return false;
  name = text == nullptr ? std::string() : Utf8Name(text);
  return true;
}

std::vector<std::string> LettersTwice(HWND dialog) {
  std::map<wchar_t, std::vector<HWND>> users;
  for (const HWND child : ChildrenOf(dialog)) {
    const bool label = Is(child, WC_STATICW) && (StyleOf(child) & SS_NOPREFIX) == 0;
    const wchar_t letter = label || Is(child, WC_BUTTONW) ? LetterIn(OwnText(child)) : L'\0';
    if (letter != 0) users[letter].push_back(child);
  }
  std::vector<std::string> twice;
  for (const auto& [letter, controls] : users) {
    // Of what is in one place, one is shown at a time.
    for (size_t i = 1; i < controls.size(); ++i) {
      if (!Overlap(controls[0], controls[i]))
        twice.push_back(Where(controls[0]) + " and " + Where(controls[i]));
    }
  }
  return twice;
}

namespace {

// The box of a tick with what is beside it; nothing for a label.
int RoomBeforeText(HWND control) {
  if (!Is(control, WC_BUTTONW)) return 0;
  const LONG type = StyleOf(control) & BS_TYPEMASK;
  const bool push = type == BS_PUSHBUTTON || type == BS_DEFPUSHBUTTON;
  return Scale(push ? 6 : 16, DpiOfWindow(control));
}

bool IsCut(HWND control) {
  RECT area;
  GetClientRect(control, &area);
  if (IsRectEmpty(&area) != FALSE) return false;  // a name for screen readers
  const std::wstring text = OwnText(control);
  const bool lines = Is(control, WC_STATICW) || (StyleOf(control) & BS_MULTILINE) != 0;
  RECT needed{0, 0, area.right - RoomBeforeText(control), 0};
  const HDC dc = GetDC(control);
  const HGDIOBJ before = SelectObject(dc, FontOfControl(control));
  DrawTextW(dc, text.c_str(), -1, &needed, DT_CALCRECT | (lines ? DT_WORDBREAK : DT_SINGLELINE));
  SelectObject(dc, before);
  ReleaseDC(control, dc);
  // A line may lose what is below its letters.
  return needed.right > area.right - RoomBeforeText(control) || needed.bottom > area.bottom + 3;
}

}  // namespace

std::vector<std::string> CutTexts(HWND dialog) {
  std::vector<std::string> cut;
  for (const HWND child : ChildrenOf(dialog)) {
    const bool text = Is(child, WC_STATICW) || (Is(child, WC_BUTTONW) && !IsGroupBox(child));
    if (text && IsCut(child)) cut.push_back(Where(child) + " " + Utf8Name(OwnText(child)));
  }
  return cut;
}

std::vector<std::string> OutOfReach(HWND dialog) {
  std::vector<std::string> out;
  bool group = false;  // a choice before this one, in the same group, is come to
  for (const HWND child : ChildrenOf(dialog)) {
    if (GetParent(child) != dialog) continue;
    if ((StyleOf(child) & WS_GROUP) != 0) group = false;
    const bool stop = (StyleOf(child) & WS_TABSTOP) != 0;
    if (IsChoice(child)) {
      group = group || stop;
      if (!group) out.push_back(Where(child));
    } else if (TakesFocus(child) && !stop) {
      out.push_back(Where(child));
    }
  }
  return out;
}

}  // namespace hivequarry::testing
