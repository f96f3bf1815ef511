// The hex edit control in a plain window, driven by what keyboard and mouse send; and the editor of
// values.
#include "ui/hex/hex_edit.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <string>

#include "tests/support/hex_bytes.h"
#include "tests/window/dialog_fixture.h"
#include "tests/window/window_fixture.h"
#include "ui/dialogs/value_editor.h"
#include "ui/draw/dpi.h"
#include "ui/frame/text.h"
#include "ui/frame/window_class.h"
#include "ui/resources/resource.h"
#include "words/value_text.h"

namespace hivequarry::testing {
namespace {

// --- control -------------------------------------------------------------------------------------

class HexControl : public ::testing::Test {
 protected:
  void SetUp() override {
    const HINSTANCE instance = GetModuleHandleW(nullptr);
    ASSERT_TRUE(RegisterHexClass(instance));
    ASSERT_TRUE(RegisterWindowClass(instance, {.name = L"HexTest", .procedure = ParentProc}));
    Notices().clear();
    parent_ = CreateWindowExW(0, L"HexTest", L"", WS_POPUP | WS_VISIBLE, 40, 40, 800, 300, nullptr,
                              nullptr, instance, nullptr);
    hex_ = CreateWindowExW(0, kHexClassName, L"Bytes", WS_CHILD | WS_VISIBLE | WS_VSCROLL, 0, 0,
                           800, 300, parent_, nullptr, instance, nullptr);
    SetForegroundWindow(parent_);
    SetFocus(hex_);
    Pump();
  }
  void TearDown() override { DestroyWindow(parent_); }

  static std::vector<WORD>& Notices() {
    static std::vector<WORD> notices;
    return notices;
  }
  static LRESULT CALLBACK ParentProc(HWND handle, UINT message, WPARAM first, LPARAM second) {
    if (message == WM_COMMAND) Notices().push_back(HIWORD(first));
    return DefWindowProcW(handle, message, first, second);
  }

  static void Down(WORD key, bool down, DWORD flags = 0) {
    INPUT input{};
    input.type = INPUT_KEYBOARD;
    (flags == 0 ? input.ki.wVk : input.ki.wScan) = key;
    input.ki.dwFlags = flags | (down ? 0 : KEYEVENTF_KEYUP);
    SendInput(1, &input, sizeof input);
  }
  // A script: characters to type; "<" ">" around names of keys, "^" for Ctrl and "+" for Shift
  // before them, as in "<^A>", "<+Right>".
  static void Press(const std::wstring& script) {
    for (size_t at = 0; at < script.size(); ++at) {
      if (script[at] == L'<') {
        const size_t end = script.find(L'>', at);
        PressNamed(script.substr(at + 1, end - at - 1));
        at = end;
      } else {
        for (const bool down : {true, false}) Down(script[at], down, KEYEVENTF_UNICODE);
      }
      Pump();
    }
  }
  static void PressNamed(std::wstring name) {
    constexpr std::pair<const wchar_t*, WORD> kKeys[] = {
        {L"Left", VK_LEFT},  {L"Right", VK_RIGHT}, {L"Up", VK_UP},     {L"Down", VK_DOWN},
        {L"Home", VK_HOME},  {L"End", VK_END},     {L"PgDn", VK_NEXT}, {L"PgUp", VK_PRIOR},
        {L"Ins", VK_INSERT}, {L"Del", VK_DELETE},  {L"Back", VK_BACK}, {L"Tab", VK_TAB},
        {L"F3", VK_F3},      {L"F4", VK_F4}};
    const WORD modifier = name[0] == L'^' ? VK_CONTROL : name[0] == L'+' ? VK_SHIFT : 0;
    if (modifier != 0) name.erase(0, 1);
    WORD key = name[0];
    for (const auto& [known, code] : kKeys) {
      if (name == known) key = code;
    }
    if (modifier != 0) Down(modifier, true);
    for (const bool down : {true, false}) Down(key, down);
    if (modifier != 0) Down(modifier, false);
  }

  // Where the caret is on a side for a position.
  POINT PlaceOf(uint32_t position, HexSide side = HexSide::kHex) {
    SetHexSelection(hex_, {position, position});
    if (ActiveHexSide(hex_) != side) Press(L"<Tab>");
    POINT point{};
    GetCaretPos(&point);
    return point;
  }
  void MoveTo(POINT point) const {
    ClientToScreen(hex_, &point);
    SetCursorPos(point.x, point.y);
    Pump();
  }
  static void Button(bool down) {
    mouse_event(down ? MOUSEEVENTF_LEFTDOWN : MOUSEEVENTF_LEFTUP, 0, 0, 0, 0);
    Pump();
  }
  void ClickAt(POINT point) const {
    MoveTo(point);
    Button(true);
    Button(false);
  }
  const HexBytes& Model() const { return HexBytesOf(hex_); }

  HWND parent_ = nullptr;
  HWND hex_ = nullptr;
};

void SetClipboard(HWND owner, const std::wstring& text) {
  const HGLOBAL memory = GlobalAlloc(GMEM_MOVEABLE, (text.size() + 1) * sizeof(wchar_t));
  std::copy_n(text.c_str(), text.size() + 1, static_cast<wchar_t*>(GlobalLock(memory)));
  GlobalUnlock(memory);
  ASSERT_TRUE(OpenClipboard(owner));
  EmptyClipboard();
  SetClipboardData(CF_UNICODETEXT, memory);
  CloseClipboard();
}

TEST_F(HexControl, KeysReachTheBytes) {
  struct Case {
    const wchar_t* keys;
    Bytes before;
    Bytes after;
    HexCaret caret;
  };
  const Bytes abc{0xA1, 0xB2, 0xC3};
  const Bytes lines = Counting(40);
  const Case cases[] = {
      {L"45f", abc, {0x45, 0xF2, 0xC3}, {1, true, 1}},
      {L"<Ins>45<Back>", abc, abc, {0, false, 0}},
      {L"<Tab><Ins>\u20AC", abc, {0x80, 0xA1, 0xB2, 0xC3}, {1, false, 1}},
      {L"<^End><Back>", abc, {0xA1, 0xB2}, {2, false, 2}},
      {L"<+Right><+Right><Del>", abc, {0xC3}, {0, false, 0}},
      {L"<Down><End>", lines, lines, {31, false, 31}},
      {L"<PgDn><+Home>", lines, lines, {32, false, 32}},
      {L"12345<^Z><^Y>", abc, {0x12, 0x34, 0x53}, {2, true, 2}},
  };
  for (const Case& row : cases) {
    SCOPED_TRACE(::testing::PrintToString(std::wstring(row.keys)));
    if (!Model().overwrite) Press(L"<Ins>");
    if (ActiveHexSide(hex_) == HexSide::kText) Press(L"<Tab>");
    SetHexBytes(hex_, row.before, nullptr);
    Press(row.keys);
    PumpUntil([&] { return Model().bytes == row.after && Model().caret == row.caret; });
    EXPECT_EQ(Model().bytes, row.after);
    EXPECT_EQ(Model().caret, row.caret);
  }
}

TEST_F(HexControl, ClipboardTakesTheFormOfTheSide) {
  struct Case {
    const wchar_t* keys;
    const wchar_t* given;
    Bytes after;
    const wchar_t* copied;
    bool refused = false;
  };
  const Bytes before{0x41, 0x00, 0xE4};
  const Case cases[] = {
      {L"<^A><^C>", L"", before, L"41 00 e4"},
      {L"<^A><Tab><^X><^V>", L"", before, L"A\u2400\u00E4"},
      {L"<Ins><^A><^V><^Z><^Y>", L"0a", {0x0A}, nullptr},
      {L"<^V>", L"hello", before, nullptr, true},
      {L"<Tab><^V>", L"hello", {'h', 'e', 'l', 'l', 'o'}, nullptr},
  };
  for (const Case& row : cases) {
    SCOPED_TRACE(::testing::PrintToString(std::wstring(row.keys)));
    if (!Model().overwrite) Press(L"<Ins>");
    if (ActiveHexSide(hex_) == HexSide::kText) Press(L"<Tab>");
    SetHexBytes(hex_, before, nullptr);
    SetClipboard(parent_, row.given);
    Notices().clear();
    Press(row.keys);
    PumpUntil([&] { return Model().bytes == row.after; });
    EXPECT_EQ(Model().bytes, row.after);
    EXPECT_EQ(std::count(Notices().begin(), Notices().end(), kHexRefused), row.refused ? 1 : 0);
    EXPECT_EQ(ClipboardText(), Utf8Name(row.copied != nullptr ? row.copied : row.given));
  }
}

TEST_F(HexControl, MouseSetsCaretSelectsAndScrolls) {
  SetHexBytes(hex_, Counting(4000), nullptr);
  const POINT at_5 = PlaceOf(5);
  const POINT at_20 = PlaceOf(20);
  const POINT text_7 = PlaceOf(7, HexSide::kText);
  MoveTo(at_20);
  Button(true);
  MoveTo({at_20.x + 1, at_20.y});
  Button(false);
  EXPECT_EQ(Model().caret, (HexCaret{20, false, 20})) << "a click that trembles";
  MoveTo(at_20);
  Button(true);
  MoveTo(at_5);
  EXPECT_EQ(SelectionOf(Model()), (HexRange{5, 20}));
  Button(false);
  MoveTo(text_7);
  EXPECT_EQ(SelectionOf(Model()), (HexRange{5, 20})) << "the button is up";
  ClickAt(text_7);
  EXPECT_EQ(ActiveHexSide(hex_), HexSide::kText);
  // Wine takes the state of Shift from the display, where nobody holds it.
  SendMessageW(hex_, WM_LBUTTONDOWN, MK_LBUTTON | MK_SHIFT, MAKELPARAM(at_20.x, at_20.y));
  SendMessageW(hex_, WM_LBUTTONUP, MK_SHIFT, MAKELPARAM(at_20.x, at_20.y));
  EXPECT_EQ(SelectionOf(Model()), (HexRange{7, 20}));

  // A pointer that rests below the lines goes on selecting.
  MoveTo(at_5);
  Button(true);
  MoveTo({at_5.x, 400});
  EXPECT_TRUE(PumpUntil([&] { return Length(SelectionOf(Model())) > 1000; }));
  Button(false);
  EXPECT_EQ(SelectionOf(Model()).start, 5U);
}

TEST_F(HexControl, WheelAndScrollBarMoveTheLines) {
  SetHexBytes(hex_, Counting(4000), nullptr);
  const auto turned = [](int delta) { return static_cast<WPARAM>(delta) << 16; };
  const auto top_after = [&](UINT message, WPARAM first) {
    SendMessageW(hex_, message, first, 0);
    return GetScrollPos(hex_, SB_VERT);
  };
  const int notch = top_after(WM_MOUSEWHEEL, turned(-WHEEL_DELTA));
  EXPECT_GT(notch, 0);
  EXPECT_LE(top_after(WM_MOUSEWHEEL, turned(-WHEEL_DELTA / 2)), notch + notch / 2);
  EXPECT_GT(top_after(WM_VSCROLL, SB_BOTTOM), 100);
  EXPECT_EQ(top_after(WM_VSCROLL, SB_TOP), 0);
  EXPECT_EQ(top_after(WM_VSCROLL, SB_LINEUP), 0);
}

TEST_F(HexControl, PositionsAreFoundAgainAtEveryResolution) {
  for (const HWND window : {parent_, hex_}) {
    SetWindowPos(window, nullptr, 0, 0, 1000, 300, SWP_NOZORDER);
  }
  for (const uint32_t dpi : {96U, 144U, 192U}) {
    SCOPED_TRACE(dpi);
    SetHexDpi(hex_, dpi);
    SetHexBytes(hex_, Counting(100), [](uint32_t position) { return 0x1000 + position; });
    EXPECT_EQ(HexFilePosition(hex_, 5), 0x1005U);
    const POINT start = PlaceOf(0);
    EXPECT_GE(PlaceOf(1).x - start.x, Scale(18, dpi)) << "three characters";
    for (const HexSide side : {HexSide::kHex, HexSide::kText}) {
      for (const uint32_t position : {0U, 7U, 8U, 31U, 99U, 100U}) {
        const POINT point = PlaceOf(position, side);
        ClickAt(start);
        ClickAt(point);
        EXPECT_EQ(Model().caret, (HexCaret{position, false, position}));
        EXPECT_EQ(ActiveHexSide(hex_), side);
      }
    }
  }
}

TEST_F(HexControl, SelectionIsPaintedOnItsBytes) {
  SetHexBytes(hex_, Bytes(64, 0x11), nullptr);
  const POINT from = PlaceOf(3);
  const POINT behind = PlaceOf(6);
  SetHexSelection(hex_, {3, 5});
  UpdateWindow(hex_);
  const HDC dc = GetDC(hex_);
  // In the corner of a cell there is no part of a digit.
  EXPECT_EQ(GetPixel(dc, from.x, from.y), GetSysColor(COLOR_HIGHLIGHT));
  EXPECT_EQ(GetPixel(dc, from.x - 1, from.y), GetSysColor(COLOR_WINDOW));
  EXPECT_EQ(GetPixel(dc, behind.x, behind.y), GetSysColor(COLOR_WINDOW));
  ReleaseDC(hex_, dc);
}

TEST_F(HexControl, FiveMegabytesDoNotLag) {
  const Bytes before(kMaxHexBytes - 200, 0x5A);
  SetHexBytes(hex_, before, [](uint32_t position) { return position; });
  const auto start = std::chrono::steady_clock::now();
  Press(L"<Ins>");
  // At the worst place, each undone on its own.
  for (int i = 0; i < 40; ++i) Press(L"ab<Left><Left>");
  for (int i = 0; i < 40; ++i) Press(L"<PgDn>");
  Press(L"<^End><^A><^C><^Home>");
  for (int i = 0; i < 40; ++i) Press(L"<^Z>");
  EXPECT_EQ(Model().bytes, before);
  const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - start;
  EXPECT_LT(passed.count(), 30.0) << "for some three hundred keys, on a busy machine";
}

// --- dialogs -------------------------------------------------------------------------------------

void ChooseType(HWND dialog, uint32_t type) {
  const HWND box = GetDlgItem(dialog, kEditType);
  ComboBox_SetCurSel(box, static_cast<int>(type));
  SendMessageW(dialog, WM_COMMAND, MAKEWPARAM(kEditType, CBN_SELCHANGE),
               reinterpret_cast<LPARAM>(box));
}
Bytes Units(const std::u16string& text) {
  Bytes bytes;
  for (const char16_t unit : text) {
    bytes.push_back(static_cast<uint8_t>(unit & 0xFF));
    bytes.push_back(static_cast<uint8_t>(unit >> 8));
  }
  return bytes;
}

TEST_F(HexControl, FindDialogFindsAndKeysGoOn) {
  SetHexBytes(hex_, {'a', 0, 'b', 0, 'a', 0, 'b', 0, 0xAB}, nullptr);
  InNextDialog([](HWND dialog) {
    Type(dialog, kHexFindWhat, L"ab");
    Click(dialog, kHexFindWide);
    Type(dialog, kHexFindWhat, L"");
    EXPECT_FALSE(IsOn(dialog, kHexFindNext));
    Type(dialog, kHexFindWhat, L"ab");
    Click(dialog, kHexFindNext);
  });
  Press(L"<^F>");
  EXPECT_EQ(SelectionOf(Model()), (HexRange{0, 4}));
  Press(L"<F3>");
  EXPECT_EQ(SelectionOf(Model()), (HexRange{4, 8}));
  Press(L"<F4>");
  EXPECT_EQ(SelectionOf(Model()), (HexRange{0, 4}));
  InNextDialog(Clicks({kHexFindBytes, kHexFindPrevious}));
  Press(L"<^F>");
  EXPECT_EQ(SelectionOf(Model()), (HexRange{8, 9}));
}

struct EditCase {
  const char* name;
  uint32_t type;
  Bytes data;
  std::function<void(HWND dialog)> use;  // until OK
  int shown;                             // the input that the dialog begins with
  uint32_t type_after;
  Bytes data_after;
};

class EditorCases : public ::testing::TestWithParam<EditCase> {};

TEST_P(EditorCases, EndsWithTheData) {
  const EditCase& row = GetParam();
  EditedValue edit{"HKLM\\Key", "Name", row.type, row.data, nullptr};
  InNextDialog([&row](HWND dialog) {
    EXPECT_TRUE(IsShown(dialog, row.shown));
    row.use(dialog);
    EXPECT_TRUE(IsOn(dialog, IDOK));
    Click(dialog, IDOK);
  });
  const bool changed = row.type != row.type_after || row.data != row.data_after;
  EXPECT_EQ(EditValue(nullptr, edit), changed);
  EXPECT_EQ(edit.type, row.type_after);
  EXPECT_EQ(edit.data, row.data_after);
}

// Types a text that is wrong, then one that is right.
std::function<void(HWND)> Corrected(int control, const wchar_t* wrong, const wchar_t* right) {
  return [=](HWND dialog) {
    Type(dialog, control, wrong);
    const int message = control == kEditNumber ? kEditNumberMessage : kEditMessage;
    EXPECT_FALSE(IsOn(dialog, IDOK));
    EXPECT_GT(GetWindowTextLengthW(GetDlgItem(dialog, message)), 0);
    Type(dialog, control, right);
    EXPECT_EQ(GetWindowTextLengthW(GetDlgItem(dialog, message)), 0);
  };
}
EditCase Kept(const char* name, uint32_t type, const Bytes& data, int shown) {
  return {name, type, data, Clicks({}), shown, type, data};
}

const std::u16string kEnd(1, u'\0');
const Bytes kNumber{0x12, 0x34, 0x56, 0x78};
const Bytes kA = Units(u"a" + kEnd);
const Bytes kB = Units(u"b" + kEnd);
const EditCase kEdits[] = {
    {"Text", kRegSz, kA, [](HWND dialog) { Type(dialog, kEditText, L"\u00E9 \u4E2D"); }, kEditText,
     kRegSz, Units(u"\u00E9 \u4E2D" + kEnd)},
    Kept("Untouched", kRegExpandSz, Units(u"a\r\nb\t" + kEnd), kEditText),
    Kept("OddLength", kRegSz, {'a', 0, 0, 0, 7}, kEditBytes),
    Kept("NoEndZero", kRegSz, Units(u"ab"), kEditBytes),
    Kept("InnerZero", kRegSz, Units(u"a" + kEnd + u"b" + kEnd), kEditBytes),
    Kept("LoneSurrogate", kRegSz, {0, 0xD8, 'a', 0, 0, 0}, kEditBytes),
    Kept("LongText", kRegSz, Units(std::u16string(50000, u'x') + kEnd), kEditBytes),
    Kept("NumberOfOtherLength", kRegDword, {1, 2, 3}, kEditBytes),
    {"Lines", kRegMultiSz, Units(u"a" + kEnd + u"b" + kEnd + kEnd),
     Corrected(kEditLines, L"a\r\n\r\nb", L"one\r\ntwo"), kEditLines, kRegMultiSz,
     Units(u"one" + kEnd + u"two" + kEnd + kEnd)},
    {"DoubleWord", kRegDword, kNumber, Corrected(kEditNumber, L"123456789", L"fffffffe"),
     kEditNumber, kRegDword, Bytes{0xFE, 0xFF, 0xFF, 0xFF}},
    {"Decimal", kRegQword, Bytes(8, 0),
     [](HWND dialog) {
       Click(dialog, kEditDecimal);
       Corrected(kEditNumber, L"18446744073709551616", L"18446744073709551615")(dialog);
     },
     kEditNumber, kRegQword, Bytes(8, 0xFF)},
    {"Notation", kRegDwordBigEndian, kNumber,
     Clicks({kEditDecimal, kEditHexadecimal, kEditDecimal}), kEditNumber, kRegDwordBigEndian,
     kNumber},
    {"NumberFromNothing", kRegDword, Bytes(), Clicks({kEditInForm}), kEditBytes, kRegDword,
     Bytes(4, 0)},
    {"OtherType", kRegSz, kA,
     [](HWND dialog) {
       Type(dialog, kEditText, L"b");
       ChooseType(dialog, kRegDword);
       EXPECT_TRUE(IsShown(dialog, kEditNumber));
       ChooseType(dialog, kRegBinary);
       EXPECT_TRUE(IsShown(dialog, kEditBytes));
     },
     kEditText, kRegBinary, kB},
    {"BytesOfText", kRegSz, kA,
     [](HWND dialog) {
       Click(dialog, kEditAsBytes);
       for (const WPARAM digit : {'6', '2'}) {
         SendDlgItemMessageW(dialog, kEditBytes, WM_CHAR, digit, 0);
       }
       Click(dialog, kEditInForm);
       EXPECT_TRUE(IsShown(dialog, kEditText));
     },
     kEditText, kRegSz, kB},
    Kept("UnknownType", 0x12345, {1}, kEditBytes),
};
INSTANTIATE_TEST_SUITE_P(Values, EditorCases, ::testing::ValuesIn(kEdits),
                         [](const auto& row) { return row.param.name; });

std::vector<RECT> PlacesIn(HWND dialog) {
  std::vector<RECT> places;
  for (HWND control = GetWindow(dialog, GW_CHILD); control != nullptr;
       control = GetWindow(control, GW_HWNDNEXT)) {
    RECT area;
    GetWindowRect(control, &area);
    MapWindowPoints(nullptr, dialog, reinterpret_cast<POINT*>(&area), 2);
    const bool seen = area.right > area.left;  // others are names alone
    if (seen && IsWindowVisible(control) != FALSE) places.push_back(area);
  }
  return places;
}

TEST(ValueEditor, ControlsKeepApartAtEverySize) {
  EditedValue edit{"Key", "Name", kRegBinary, Counting(500), nullptr};
  InNextDialog([](HWND dialog) {
    for (const int size : {100, 900, 1200}) {
      SetWindowPos(dialog, nullptr, 0, 0, size, size * 3 / 4, SWP_NOZORDER);
      RECT common;
      RECT client;
      GetClientRect(dialog, &client);
      const std::vector<RECT> places = PlacesIn(dialog);
      for (size_t i = 0; i < places.size(); ++i) {
        EXPECT_TRUE(IntersectRect(&common, &places[i], &client) && EqualRect(&common, &places[i]));
        for (size_t j = 0; j < i; ++j) EXPECT_FALSE(IntersectRect(&common, &places[i], &places[j]));
      }
    }
    Click(dialog, IDCANCEL);
  });
  EXPECT_FALSE(EditValue(nullptr, edit));
}

}  // namespace
}  // namespace hivequarry::testing
