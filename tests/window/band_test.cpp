// The band above the tree: the hive's state at a glance.
#include "ui/main/band.h"

#include "tests/support/sample_hives.h"
#include "tests/window/list_fixture.h"
#include "ui/frame/text.h"

namespace hivequarry::testing {
namespace {

class BandTest : public ListTest {
 protected:
  HWND BandWindow() const { return window_->band.window; }
  bool IsKnown() const {
    const HiveFindings& known = window_->shown->findings.known;
    return known.freed_known && known.checked && !window_->shown->hashing.hashes.hive.empty();
  }
  Texts Buttons() const {
    Texts texts;
    const LRESULT count = SendMessageW(BandWindow(), TB_BUTTONCOUNT, 0, 0);
    for (WPARAM i = 0; i < static_cast<WPARAM>(count); ++i) {
      TBBUTTON button{};
      SendMessageW(BandWindow(), TB_GETBUTTON, i, reinterpret_cast<LPARAM>(&button));
      wchar_t text[1000] = L"";
      SendMessageW(BandWindow(), TB_GETBUTTONTEXTW, static_cast<WPARAM>(button.idCommand),
                   reinterpret_cast<LPARAM>(text));
      texts.push_back(Utf8Name(text));
    }
    return texts;
  }
  // Presses the button with that text, as a click does.
  void Press(const std::string& text) {
    const Texts buttons = Buttons();
    const auto at = std::ranges::find(buttons, text);
    ASSERT_NE(at, buttons.end()) << text;
    TBBUTTON button{};
    SendMessageW(BandWindow(), TB_GETBUTTON, static_cast<WPARAM>(at - buttons.begin()),
                 reinterpret_cast<LPARAM>(&button));
    SendMessageW(handle_, WM_COMMAND, static_cast<WPARAM>(button.idCommand),
                 reinterpret_cast<LPARAM>(BandWindow()));
  }
  bool ListOpens(const wchar_t* title) {
    return PumpUntil([&] {
      const HWND list = FindWindowW(L"HivequarryList", title);
      return list != nullptr && !window_->work.thread.joinable();
    });
  }
};

BuiltHive WithFreedKey() {
  HiveBuilder builder;
  builder.Key("A\\Kept");
  builder.Key("A\\Gone").Dword("number", 7).FreeBehind(64);
  BuiltHive built = builder.Build();
  const uint32_t cells[] = {built.PositionOf("A\\Gone"), built.ValuePosition("A\\Gone", "number"),
                            built.ValueListPosition("A\\Gone")};
  built.Unlink("A\\Gone");
  for (const uint32_t cell : cells) built.Free(cell);
  return built;
}

TEST_F(BandTest, SaysWhatIsKnownAndLeadsToIt) {
  EXPECT_TRUE(Buttons().empty());
  OpenBytes(WithFreedKey().bytes);
  ASSERT_TRUE(PumpUntil([&] { return IsKnown(); }));
  const Texts buttons = Buttons();
  for (const char* text : {"Clean", "No logs", "Checksum right", "3 keys", "0 disconnected",
                           "1 freed key", "1 freed value"}) {
    EXPECT_NE(std::ranges::find(buttons, text), buttons.end()) << text;
  }
  EXPECT_NE(IsWindowVisible(BandWindow()), FALSE);
  RECT band;
  RECT tree;
  GetWindowRect(BandWindow(), &band);
  GetWindowRect(window_->controls.tree, &tree);
  EXPECT_GT(band.bottom, band.top);
  EXPECT_LE(band.bottom, tree.top);
  // The dialog of the state says the same as the band.
  EXPECT_NE(HiveStateNow(*window_).find(u"Structure: Structure, the file as it is: "),
            std::u16string::npos);
  Press("1 freed key");
  EXPECT_TRUE(ListOpens(L"Freed Keys"));
}

// Those that hang in the tree by their parent field are among them.
TEST_F(BandTest, DisconnectedKeysLeadToAListOfAllOfThem) {
  const TempFile file(DamagedSample(), "SOFTWARE");
  Open(file.name());
  const uint32_t count = window_->shown->summary.disconnected_keys;
  const KeyTree& tree = *window_->shown->tree;
  ASSERT_GT(count, tree.items[tree.disconnected_keys].end - tree.disconnected_keys - 1)
      << "else the sample shows nothing";
  Press(std::to_string(count) + " disconnected keys");
  EXPECT_TRUE(ListOpens(L"Key tree"));
  ListPlace* const list = FindListPlace(FindWindowW(L"HivequarryList", nullptr));
  ASSERT_NE(list, nullptr);
  EXPECT_EQ(RowCount(*list->model), count);
}

// Of a hive where all is well one row is enough, in a window as wide as it is at first.
TEST_F(BandTest, OneRowWhereShorterTextsFit) {
  HiveBuilder builder("SYSTEM");
  builder.Key("Select");
  OpenBytes(builder.Build().bytes);
  ASSERT_TRUE(PumpUntil([&] { return IsKnown(); }));
  const auto rows = [&] {
    RECT first{};
    RECT last{};
    SendMessageW(BandWindow(), TB_GETITEMRECT, 0, reinterpret_cast<LPARAM>(&first));
    SendMessageW(BandWindow(), TB_GETITEMRECT, Buttons().size() - 1,
                 reinterpret_cast<LPARAM>(&last));
    return last.bottom / std::max<LONG>(first.bottom, 1);
  };
  const std::string whole = window_->shown->tree->root_text + " by the root key's name";
  const auto width = [&](int wide) { MoveWindow(handle_, 0, 0, wide, 700, TRUE); };
  const auto says = [&](const std::string& text) {
    const Texts buttons = Buttons();
    return std::ranges::find(buttons, text) != buttons.end();
  };
  width(2400);
  EXPECT_EQ(rows(), 1);
  EXPECT_TRUE(says(whole)) << Buttons()[6];
  int least = 2400;
  while (says(whole) && rows() == 1) width(least -= 20);
  EXPECT_EQ(rows(), 1) << "shorter texts first";
  EXPECT_TRUE(says(window_->shown->tree->root_text));
  width(500);
  EXPECT_GT(rows(), 1);
  EXPECT_TRUE(says(whole)) << "what takes two rows anyway says all";
}

TEST_F(BandTest, TakesTheRoomOfItsRowsAtEachResolution) {
  OpenBytes(WithFreedKey().bytes);
  ASSERT_TRUE(PumpUntil([&] { return IsKnown(); }));
  for (const uint32_t dpi : {192U, 96U}) {
    ApplyDpi(*window_, dpi);
    RECT band;
    GetClientRect(BandWindow(), &band);
    RECT last{};
    SendMessageW(BandWindow(), TB_GETITEMRECT, Buttons().size() - 1,
                 reinterpret_cast<LPARAM>(&last));
    EXPECT_EQ(band.bottom, last.bottom) << dpi;
  }
}

TEST_F(BandTest, KeysGoFromFigureToFigure) {
  OpenBytes(WithFreedKey().bytes);
  ASSERT_TRUE(PumpUntil([&] { return IsKnown(); }));
  SetFocus(BandWindow());
  SendMessageW(BandWindow(), WM_KEYDOWN, VK_END, 0);
  const auto last = static_cast<LRESULT>(Buttons().size()) - 1;
  EXPECT_EQ(SendMessageW(BandWindow(), TB_GETHOTITEM, 0, 0), last);
  SendMessageW(BandWindow(), WM_KEYDOWN, VK_RIGHT, 0);
  EXPECT_EQ(SendMessageW(BandWindow(), TB_GETHOTITEM, 0, 0), 0);
  SendMessageW(BandWindow(), WM_KEYDOWN, VK_LEFT, 0);
  SendMessageW(BandWindow(), WM_KEYDOWN, VK_RETURN, 0);
  EXPECT_TRUE(ListOpens(
      (L"Structure: " + WideName(window_->shown->findings.known.structure.verdict)).c_str()));
}

TEST_F(BandTest, RootAndWorkspaceSayTheSame) {
  OpenBytes(WithFreedKey().bytes);
  ASSERT_TRUE(PumpUntil([&] { return IsKnown(); }));
  WaitForRows();
  const auto says = [&](const char* words) {
    return TextOf(window_->viewer.detail.window).find(words) != std::string::npos;
  };
  EXPECT_TRUE(PumpUntil([&] { return says("Freed: 1 freed key\r\n"); }));
  EXPECT_TRUE(says("State of the hive\r\nSHA-256: "));
  TreeView_SelectItem(window_->controls.tree, WorkspaceHandle());
  EXPECT_TRUE(says("Freed: 1 freed key\r\n"));
}

}  // namespace
}  // namespace hivequarry::testing
