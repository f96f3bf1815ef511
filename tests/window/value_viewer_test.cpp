// The value viewer in the main window, and what follows the time zone of dates.
#include "ui/panes/value_viewer.h"

#include <algorithm>
#include <string>

#include "app/settings.h"
#include "hive/shown_zone.h"
#include "tests/window/dialog_fixture.h"
#include "tests/window/window_fixture.h"
#include "ui/hex/hex_edit.h"
#include "ui/resources/resource.h"
#include "view/command_numbers.h"

namespace hivequarry::testing {
namespace {

class ViewerTest : public WindowTest {
 protected:
  void SetUp() override {
    WindowTest::SetUp();
    HiveBuilder hive;
    hive.Key("Tools")
        .Sz("Path", "C:\\Tools")
        .Value("Blob", 3, {'a', 0, 'b', 0, 5, 0, 0, 0, 0xFF, 0xFF})
        .Value("Empty", 3, {})
        .Time(FileTime(2020, 7, 1, 12, 0, 0));
    OpenBytes(hive.Build().bytes);
    SelectPath("Tools");
  }
  void TearDown() override {
    SetShownZone({});
    WindowTest::TearDown();
  }
  const ValueViewer& Viewer() const { return window_->viewer; }
  bool Shown(HWND pane) const { return IsWindowVisible(pane) != FALSE; }
  void ShowRow(int row) {
    SelectRow(row);
    EXPECT_TRUE(PumpUntil([&] { return Shown(Viewer().hex) == (row < 2); }));
  }
  std::string Meaning(const std::string& label) const {
    for (int row = 0; row < ListView_GetItemCount(Viewer().meaning); ++row) {
      const Texts texts = RowTexts(Viewer().meaning, row);
      if (texts[0] == label) return texts[1];
    }
    return "none";
  }
};

TEST_F(ViewerTest, BytesAndMeaningOfTheSelectedValue) {
  EXPECT_FALSE(Shown(Viewer().hex)) << "of a key there are none";
  ShowRow(1);
  EXPECT_EQ(HexBytesOf(Viewer().hex).bytes.size(), 10U);
  EXPECT_EQ(Meaning("Type"), "REG_BINARY (3)");
  EXPECT_EQ(Meaning("Text, UTF-16"), "\"ab\"");
  ASSERT_TRUE(HexFilePosition(Viewer().hex, 4).has_value());
  SetHexSelection(Viewer().hex, {4, 8});
  EXPECT_EQ(Meaning("Selected"), "4 bytes");
  EXPECT_EQ(Meaning("32 bits"), "5, 0x00000005");
  EXPECT_EQ(Meaning("8 bits"), "none");
  ShowRow(0);
  EXPECT_EQ(Meaning("Type"), "REG_SZ (1)");
  ShowRow(2);
  EXPECT_FALSE(Shown(Viewer().meaning)) << "no bytes, nothing that they may mean";
}

// The keys of the bytes are theirs, whatever they mean in the main window.
TEST_F(ViewerTest, KeysAndTheClipboard) {
  ShowRow(1);
  SetFocus(Viewer().hex);
  SendMessageW(Viewer().hex, WM_CHAR, L'7', 0);
  EXPECT_EQ(HexBytesOf(Viewer().hex).bytes[0], 'a') << "they are only shown";
  SetHexSelection(Viewer().hex, {4, 6});
  SendMessageW(Viewer().hex, WM_COPY, 0, 0);
  EXPECT_EQ(ClipboardText(), "05 00");
  std::vector<uint8_t> saved;
  window_->viewer.save = [&saved](std::span<const uint8_t> bytes) {
    saved.assign(bytes.begin(), bytes.end());
  };
  SendMessageW(GetParent(Viewer().hex), WM_COMMAND,
               MAKEWPARAM(GetDlgCtrlID(Viewer().hex), kHexSave),
               reinterpret_cast<LPARAM>(Viewer().hex));
  EXPECT_EQ(saved, (std::vector<uint8_t>{5, 0}));
  ListView_SetItemState(Viewer().meaning, 0, LVIS_SELECTED, LVIS_SELECTED);
  SetFocus(Viewer().meaning);
  EXPECT_TRUE(Shown(Viewer().meaning));
  SelectPath("");
  EXPECT_TRUE(PumpUntil([&] { return !Shown(Viewer().hex); }));
  EXPECT_EQ(GetFocus() == Viewer().hex || GetFocus() == Viewer().meaning, false);
}

// Whatever its size, no part of the viewer lies over another, or outside of it.
TEST_F(ViewerTest, PartsHavePlacesOfTheirOwn) {
  ShowRow(1);
  for (const auto& [width, height] :
       {std::pair(1500, 900), std::pair(1120, 720), std::pair(800, 600), std::pair(480, 320)}) {
    SetWindowPos(handle_, nullptr, 0, 0, width, height, SWP_NOMOVE | SWP_NOZORDER);
    Pump();
    RECT all;
    GetWindowRect(Viewer().window, &all);
    std::array<RECT, 3> areas;
    for (size_t i = 0; i < areas.size(); ++i) {
      GetWindowRect(ViewerPanes(Viewer())[i], &areas[i]);
      RECT common;
      IntersectRect(&common, &areas[i], &all);
      EXPECT_TRUE(EqualRect(&common, &areas[i]) || IsRectEmpty(&areas[i])) << width << " " << i;
      for (size_t j = 0; j < i; ++j) {
        EXPECT_FALSE(IntersectRect(&common, &areas[i], &areas[j])) << width << " " << i << j;
      }
    }
  }
}

TEST_F(ViewerTest, DatesFollowTheChosenZone) {
  const auto detail = [this] { return TextOf(Viewer().detail.window); };
  const auto has = [&](const char* words) {
    return PumpUntil([&] { return detail().find(words) != std::string::npos; });
  };
  EXPECT_TRUE(has("Key date: 2020/07/01, 12:00:00\r\n"));
  InDialog(L"Time zone of dates", [](HWND dialog) {
    EXPECT_FALSE(IsWindowEnabled(GetDlgItem(dialog, kZoneRule))) << "this hive says none";
    Click(dialog, kZoneFixed);
    Type(dialog, kZoneOffset, L"+99");
    EXPECT_FALSE(IsWindowEnabled(GetDlgItem(dialog, IDOK)));
    Type(dialog, kZoneOffset, L"+05:30");
    Click(dialog, IDOK);
  });
  Run(kCommandTimeZone);
  EXPECT_TRUE(has("Key date: 2020/07/01, 17:30:00 +05:30\r\n"));
  EXPECT_EQ(TheSettings().time_zone, "+05:30");
  InDialog(L"Time zone of dates", [](HWND dialog) {
    EXPECT_TRUE(Ticked(dialog, kZoneFixed));
    EnableWindow(GetDlgItem(dialog, kZoneRule), TRUE);
    Click(dialog, kZoneRule);
    EXPECT_TRUE(Ticked(dialog, kZoneRule) != Ticked(dialog, kZoneFixed)) << "one of them";
    Click(dialog, kZoneUtc);
    Click(dialog, IDOK);
  });
  Run(kCommandTimeZone);
  EXPECT_TRUE(has("Key date: 2020/07/01, 12:00:00\r\n"));
  EXPECT_EQ(TheSettings().time_zone, "");
}

}  // namespace
}  // namespace hivequarry::testing
