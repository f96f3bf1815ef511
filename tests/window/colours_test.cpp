// Colours as they are on the screen: dark by choice or with the system, in every control, and back.
#include <algorithm>
#include <cstdlib>
#include <map>
#include <set>

#include "tests/window/dialog_fixture.h"
#include "tests/window/list_fixture.h"
#include "ui/draw/tones.h"
#include "ui/frame/text.h"
#include "ui/resources/resource.h"
#include "view/palette.h"
// After the platform's other headers.
#include <oleacc.h>

namespace hivequarry::testing {
namespace {

// What a window shows, once it has painted what was asked of it: 0x00RRGGBB.
std::vector<uint32_t> PixelsOf(HWND window) {
  RedrawWindow(window, nullptr, nullptr, RDW_UPDATENOW | RDW_ALLCHILDREN);
  RECT area;
  GetClientRect(window, &area);
  BITMAPINFO info{};
  info.bmiHeader = {sizeof info.bmiHeader, area.right, -area.bottom, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
  void* bits = nullptr;
  const HDC screen = GetDC(window);
  const HDC dc = CreateCompatibleDC(screen);
  const HBITMAP bitmap = CreateDIBSection(dc, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
  const HGDIOBJ previous = SelectObject(dc, bitmap);
  BitBlt(dc, 0, 0, area.right, area.bottom, screen, 0, 0, SRCCOPY);
  GdiFlush();
  const auto* first = static_cast<const uint32_t*>(bits);
  std::vector<uint32_t> pixels(first, first + static_cast<ptrdiff_t>(area.right) * area.bottom);
  for (uint32_t& pixel : pixels) pixel &= 0xFFFFFF;
  SelectObject(dc, previous);
  DeleteObject(bitmap);
  DeleteDC(dc);
  ReleaseDC(window, screen);
  return pixels;
}

struct Look {
  uint32_t ground = 0;  // the colour of most pixels
  double contrast = 1;  // of what differs most from it: texts and lines
  bool operator==(const Look&) const = default;
};

Look LookOf(HWND window) {
  std::map<uint32_t, size_t> counts;
  for (const uint32_t pixel : PixelsOf(window)) ++counts[pixel];
  Look look;
  if (counts.empty()) return look;
  look.ground =
      std::ranges::max_element(counts, {}, [](const auto& entry) { return entry.second; })->first;
  for (const auto& [colour, count] : counts) {
    look.contrast = std::max(look.contrast, ContrastOf(colour, look.ground));
  }
  return look;
}

bool IsDarkGround(uint32_t colour) { return ContrastOf(colour, 0) < 2; }

// Each part that has texts, by a name for messages.
using Parts = std::vector<std::pair<const char*, HWND>>;

void ExpectDark(const Parts& parts) {
  for (const auto& [name, window] : parts) {
    const Look look = LookOf(window);
    EXPECT_TRUE(IsDarkGround(look.ground)) << name << std::hex << " " << look.ground;
    EXPECT_GE(look.contrast, 4.5) << name;
  }
}

std::vector<Look> LooksOf(const Parts& parts) {
  std::vector<Look> looks;
  for (const auto& part : parts) looks.push_back(LookOf(part.second));
  return looks;
}

class ColoursTest : public ListTest {
 protected:
  void SetUp() override {
    state_ = TheColours();
    TheColours().is_system_dark = [] { return false; };
    TheColours().is_high_contrast = [] { return false; };
    ListTest::SetUp();
  }
  void TearDown() override {
    ListTest::TearDown();
    TheColours() = state_;
  }
  void OpenHive() {
    HiveBuilder hive;
    hive.Key("Alpha\\Beta").Sz("Path", "C:\\Tools").Binary("Blob", 200);
    OpenBytes(hive.Build().bytes);
    SelectPath("Alpha\\Beta");
    SelectRow(1);
    // Until nothing changes any more by itself: the band fills with what is found out.
    const WindowHive& shown = *window_->shown;
    ASSERT_TRUE(PumpUntil([&] {
      return IsWindowVisible(window_->viewer.hex) != FALSE && shown.findings.known.freed_known &&
             shown.findings.known.checked && !shown.hashing.hashes.hive.empty();
    }));
    Pump();
  }
  Parts MainParts() const {
    return {{"toolbar", window_->controls.toolbar},
            {"path", window_->controls.path},
            {"band", window_->band.window},
            {"tree", window_->controls.tree},
            {"values", window_->values.window},
            {"hex", window_->viewer.hex},
            {"titles", ListView_GetHeader(window_->values.window)},
            {"status", window_->controls.status}};
  }
  void SayToAll() {
    SendMessageW(handle_, WM_SETTINGCHANGE, 0, reinterpret_cast<LPARAM>(L"ImmersiveColorSet"));
    Pump();
  }
  ColourState state_;
};

TEST_F(ColoursTest, ChoiceIsSeenInAllWindowsAtOnceAndGoesBack) {
  OpenHive();
  const Parts parts = MainParts();
  const std::vector<Look> before = LooksOf(parts);
  Run(kCommandColoursDark);
  Pump();
  ExpectDark(parts);
  EXPECT_EQ(TheSettings().colours, ColourChoice::kDark);
  Run(kCommandColoursLight);
  Pump();
  const std::vector<Look> after = LooksOf(parts);
  for (size_t i = 0; i < parts.size(); ++i) EXPECT_EQ(after[i], before[i]) << parts[i].first;
}

TEST_F(ColoursTest, ListWindowsAreDarkWhetherOpenBeforeOrAfter) {
  const ListPlace& before = OpenList(MakeManyRows(30));
  Run(kCommandColoursDark);
  const ListPlace& after = OpenList(MakeRows(51, {{"One"}, {"Two"}}));
  for (const ListPlace* place : {&before, &after}) {
    SetWindowPos(place->window, HWND_TOP, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE);
    Pump();
    Parts parts = {{"list", place->list}, {"titles", ListView_GetHeader(place->list)}};
    for (HWND child = GetWindow(place->window, GW_CHILD); child != nullptr;
         child = GetWindow(child, GW_HWNDNEXT)) {
      const bool says = IsWindowVisible(child) != FALSE && !TextOf(child).empty();
      if (says) parts.emplace_back("part", child);
    }
    EXPECT_GT(parts.size(), 4U);  // the filter's ticks and its label
    ExpectDark(parts);
  }
}

// What a window has made for the colours before is made anew: the picture of a timeline.
TEST_F(ColoursTest, PicturesFollow) {
  OpenHive();
  InNextDialog(Clicks({IDOK}));
  Run(kCommandTimeline);
  const HWND list = FindWindowW(L"HivequarryList", L"Timeline");
  ASSERT_NE(list, nullptr);
  ListPlace& place = *FindListPlace(list);
  Finish(place);
  Pump();  // the picture is read once the list is filled
  Finish(place);
  const HWND picture = FindWindowExW(list, nullptr, L"HivequarryActivity", nullptr);
  ASSERT_NE(IsWindowVisible(picture), FALSE);
  Pump();
  const std::vector<Look> before = LooksOf({{"picture", picture}});
  Run(kCommandColoursDark);
  Pump();
  const std::vector<uint32_t> pixels = PixelsOf(picture);
  EXPECT_GT(std::ranges::count(pixels, ColoursOfTone(Tone::kWindow).dark), 100);
  EXPECT_EQ(std::ranges::count(pixels, 0xFFFFFFU), 0);
  Run(kCommandColoursLight);
  Pump();
  EXPECT_EQ(LooksOf({{"picture", picture}}), before);
}

// How far the farthest pixel of a picture is from the ground that it is drawn on, of 255.
int FarthestFromGround(HIMAGELIST list, int icon) {
  int width = 0;
  int height = 0;
  ImageList_GetIconSize(list, &width, &height);
  const HDC screen = GetDC(nullptr);
  const HDC dc = CreateCompatibleDC(screen);
  const HBITMAP bitmap = CreateCompatibleBitmap(screen, width, height);
  const HGDIOBJ before = SelectObject(dc, bitmap);
  const RECT area{0, 0, width, height};
  FillRect(dc, &area, BrushOf(Tone::kFace));
  ImageList_Draw(list, icon, dc, 0, 0, ILD_NORMAL);
  int farthest = 0;
  for (int i = 0; i < width * height; ++i) {
    const int green = GetGValue(GetPixel(dc, i % width, i / width));
    farthest = std::max(farthest, std::abs(green - GetGValue(ColourOf(Tone::kFace))));
  }
  SelectObject(dc, before);
  DeleteObject(bitmap);
  DeleteDC(dc);
  ReleaseDC(nullptr, screen);
  return farthest;
}

TEST_F(ColoursTest, IconsOfButtonsThatCanNotBeUsedAreSeen) {
  for (const uint32_t colours : {kCommandColoursLight, kCommandColoursDark}) {
    Run(colours);
    for (int icon = 0; icon < static_cast<int>(ToolIcon::kCount); ++icon) {
      EXPECT_GT(FarthestFromGround(window_->look.icons.faded_tools, icon), 30)
          << colours << " " << icon;
    }
  }
}

TEST_F(ColoursTest, DialogsAreDark) {
  Run(kCommandColoursDark);
  bool seen = false;
  InNextDialog([&](HWND dialog) {
    Pump();
    ExpectDark({{"dialog", dialog},
                {"tick", GetDlgItem(dialog, kOptionWrapFind)},
                {"button", GetDlgItem(dialog, IDOK)}});
    seen = true;
    Click(dialog, IDCANCEL);
  });
  Run(kCommandOptions);
  EXPECT_TRUE(seen);
}

TEST_F(ColoursTest, MenusKeepTheirTextsAndKeys) {
  const auto text = [&](HMENU menu, int at) {
    wchar_t words[100] = L"";
    MENUITEMINFOW info{};
    info.cbSize = sizeof info;
    info.fMask = MIIM_STRING | MIIM_FTYPE;
    info.dwTypeData = words;
    info.cch = 100;
    GetMenuItemInfoW(menu, static_cast<UINT>(at), TRUE, &info);
    return std::pair((info.fType & MFT_OWNERDRAW) != 0, Utf8Name(words));
  };
  const HMENU bar = GetMenu(handle_);
  Run(kCommandColoursDark);
  EXPECT_EQ(text(bar, 0), std::pair(true, std::string("&File")));
  const HMENU file = GetSubMenu(bar, 0);
  SendMessageW(handle_, WM_INITMENUPOPUP, reinterpret_cast<WPARAM>(file), 0);
  EXPECT_EQ(text(file, 0), std::pair(true, std::string("&Open File\tCtrl+O")));
  MENUITEMINFOW info{};
  info.cbSize = sizeof info;
  info.fMask = MIIM_DATA;
  GetMenuItemInfoW(file, 0, TRUE, &info);
  const auto& spoken = *reinterpret_cast<const MSAAMENUINFO*>(info.dwItemData);
  EXPECT_EQ(spoken.dwMSAASignature, static_cast<DWORD>(MSAA_MENU_SIG));  // for screen readers
  EXPECT_EQ(Utf8Name(spoken.pszWText), "&Open File\tCtrl+O");
  const auto found = [&](wchar_t key) {
    return SendMessageW(handle_, WM_MENUCHAR, MAKEWPARAM(key, MF_POPUP),
                        reinterpret_cast<LPARAM>(file));
  };
  EXPECT_EQ(found(L'O'), MAKELRESULT(0, MNC_EXECUTE));
  EXPECT_EQ(HIWORD(found(L'#')), MNC_IGNORE);
  Run(kCommandColoursLight);
  SendMessageW(handle_, WM_INITMENUPOPUP, reinterpret_cast<WPARAM>(file), 0);
  EXPECT_FALSE(text(bar, 0).first || text(file, 0).first);
}

TEST_F(ColoursTest, SystemIsFollowedUnlessSomethingWasChosen) {
  OpenHive();
  TheColours().is_system_dark = [] { return true; };
  EXPECT_FALSE(IsDark());
  SayToAll();
  EXPECT_TRUE(IsDark());
  ExpectDark(MainParts());
  Run(kCommandColoursLight);
  SayToAll();
  EXPECT_FALSE(IsDark());
  Run(kCommandColoursSystem);
  EXPECT_TRUE(IsDark());
  TheColours().is_system_dark = [] { return false; };
  SayToAll();
  EXPECT_FALSE(IsDark());
}

TEST_F(ColoursTest, HighContrastIsTheSystemsWhateverWasChosen) {
  OpenHive();
  const std::vector<Look> before = LooksOf({{"tree", window_->controls.tree}});
  Run(kCommandColoursDark);
  TheColours().is_high_contrast = [] { return true; };
  SayToAll();
  std::set<COLORREF> system;
  for (int index = 0; index <= COLOR_MENUBAR; ++index) system.insert(GetSysColor(index));
  for (size_t tone = 0; tone < kToneCount; ++tone) {
    EXPECT_TRUE(system.contains(ColourOf(static_cast<Tone>(tone)))) << tone;
  }
  EXPECT_EQ(ListView_GetBkColor(window_->values.window), GetSysColor(COLOR_WINDOW));
  EXPECT_EQ(LooksOf({{"tree", window_->controls.tree}}), before);
  TheColours().is_high_contrast = [] { return false; };
  SayToAll();
  EXPECT_TRUE(IsDark());
}

TEST_F(ColoursTest, ChoiceAndToolbarOutliveTheWindow) {
  OpenHive();
  Run(kCommandColoursDark);
  Run(kCommandToolbar);
  CloseWindow();
  MakeWindow();
  EXPECT_TRUE(IsDark());
  EXPECT_EQ(IsWindowVisible(window_->controls.toolbar), FALSE);
  OpenHive();
  ExpectDark({{"tree", window_->controls.tree}, {"status", window_->controls.status}});
}

TEST_F(ColoursTest, WithoutTheToolbarThePanesHaveItsRoom) {
  OpenHive();
  const auto top = [&] {
    RECT area;
    GetWindowRect(window_->controls.path, &area);
    return area.top;
  };
  const LONG before = top();
  Run(kCommandToolbar);
  EXPECT_EQ(IsWindowVisible(window_->controls.toolbar), FALSE);
  EXPECT_LT(top(), before);
  Run(kCommandToolbar);
  EXPECT_NE(IsWindowVisible(window_->controls.toolbar), FALSE);
  EXPECT_EQ(top(), before);
}

}  // namespace
}  // namespace hivequarry::testing
