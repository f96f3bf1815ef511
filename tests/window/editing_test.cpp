// Values edited in memory, and the way to a key by its path, in the real window.
#include <string>
#include <vector>

#include "hive/value_edits.h"
#include "tests/window/window_fixture.h"
#include "ui/lists/list_window.h"
#include "ui/main/address_bar.h"
#include "ui/resources/resource.h"

namespace hivequarry::testing {
namespace {

using Texts = std::vector<std::string>;

BuiltHive ToolsHive() {
  HiveBuilder hive("SOFTWARE");
  hive.Key("Tools").Dword("Count", 7);
  hive.Key("Tools\\Inner");
  return hive.Build();
}

// Types a number into the editor of the value and closes it, from inside its message loop.
void CALLBACK TypeNumber(HWND, UINT, UINT_PTR timer, DWORD) {
  const HWND dialog = GetLastActivePopup(FindWindowW(L"Hivequarry", nullptr));
  const HWND number = GetDlgItem(dialog, kEditNumber);
  if (number == nullptr || IsWindowVisible(number) == FALSE) return;
  KillTimer(nullptr, timer);
  SetWindowTextW(number, L"0x2a");
  SendMessageW(dialog, WM_COMMAND, MAKEWPARAM(kEditNumber, EN_CHANGE),
               reinterpret_cast<LPARAM>(number));
  SendMessageW(dialog, WM_COMMAND, IDOK, 0);
}

TEST_F(WindowTest, EditOfAValueIsShownListedAndTakenBack) {
  const BuiltHive built = ToolsHive();
  OpenBytes(built.bytes);
  SelectPath("Tools");
  SelectRow(0);
  SetTimer(nullptr, 0, 10, TypeNumber);
  Run(kCommandEditValue);
  WaitForRows();
  EXPECT_EQ(ValueRowTexts(0)[2], "0x0000002A (42)");
  const HiveImage& hive = ShownHive(*window_);
  EXPECT_EQ(EditsOfKey(hive, built.PositionOf("Tools")), 1U);
  SelectRow(0);
  EXPECT_TRUE(TextOf(window_->viewer.detail.window).starts_with("Edited in memory; the file has"));
  // The image is what it was.
  const uint32_t at = built.ValuePosition("Tools", "Count");
  EXPECT_EQ(ReadU32(hive, at + 12), 7U);

  Run(kCommandListEdits);
  const HWND list_window = FindWindowW(L"HivequarryList", L"Edited values");
  ASSERT_NE(list_window, nullptr);
  const ListPlace* place = FindListPlace(list_window);
  ASSERT_EQ(ListView_GetItemCount(place->list), 1);
  const Texts row = RowTexts(place->list, 0);
  EXPECT_EQ(row[3], "0x0000002A (42)");
  EXPECT_EQ(row[5], "0x00000007 (7)");

  SelectRow(0);
  Run(kCommandTakeBackEdit);
  WaitForRows();
  EXPECT_EQ(ValueRowTexts(0)[2], "0x00000007 (7)");
  EXPECT_FALSE(hive.edits.any);
}

TEST_F(WindowTest, TypedPathLeadsToItsKey) {
  OpenBytes(ToolsHive().bytes);
  const std::string root = window_->shown->tree->root_text;
  struct Case {
    const wchar_t* typed;
    const char* shown;  // below the root
    size_t boxes;
  };
  const Case kCases[] = {{L"Tools\\Inner", "\\Tools\\Inner", 0},
                         {L"\\tools", "\\Tools", 0},
                         {L"HKEY_LOCAL_MACHINE\\SOFTWARE\\Tools\\Inner\r\n", "\\Tools\\Inner", 0},
                         {L"HKLM\\SOFTWARE\\Tools", "\\Tools", 0},
                         {L"Tools\\Inner\\Nothing", "\\Tools\\Inner", 1},
                         {L" ", "\\Tools\\Inner", 0}};
  for (const Case& expected : kCases) {
    surroundings_.boxes.clear();
    SetWindowTextW(window_->controls.path, expected.typed);
    GoToTypedPath(*window_);
    EXPECT_EQ(TextOf(window_->controls.path), root + expected.shown);
    EXPECT_EQ(surroundings_.boxes.size(), expected.boxes);
  }
}

}  // namespace
}  // namespace hivequarry::testing
