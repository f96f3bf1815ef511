// The check of a hive's structure, asked for as a user does.
#include "tests/support/sample_hives.h"
#include "tests/window/list_fixture.h"
#include "ui/commands/misc_commands.h"
#include "ui/main/status.h"

namespace hivequarry::testing {
namespace {

class CheckWindowTest : public ListTest {
 protected:
  std::string State() const { return StatusText(kStatusState); }
  ListPlace* Checked(const wchar_t* title) {
    Run(kCommandCheckStructure);
    HWND list = nullptr;
    PumpUntil([&] { return (list = FindWindowW(L"HivequarryList", title)) != nullptr; });
    return list == nullptr ? nullptr : FindListPlace(list);
  }
};

TEST_F(CheckWindowTest, SoundHiveHasNoRowsAndTheStateSaysSo) {
  OpenBytes(SoundSample().bytes);
  EXPECT_EQ(State().find("structure"), std::string::npos);
  const ListPlace* place = Checked(L"Structure: sound");
  ASSERT_NE(place, nullptr);
  EXPECT_TRUE(State().ends_with(", structure: sound")) << State();
  EXPECT_TRUE(PartText(*place, 0).starts_with(" Structure, the file as it is: sound; "));
  const std::string all = TextOfWide(HiveStateNow(*window_));
  EXPECT_NE(all.find("Structure: Structure, the file as it is: sound; "), std::string::npos) << all;
}

TEST_F(CheckWindowTest, RowsLeadToTheRecordAndToTheKey) {
  HiveBuilder builder;
  builder.Key("A\\B").Sz("v", "text");
  BuiltHive hive = builder.Build();
  hive.SetU32(hive.EntryPosition("A", 0), 4, 0x1234);  // the hash, in a list cell of its own
  hive.SetU32(hive.PositionOf("A\\B"), field::kKeyTime + 4, 0);
  hive.SetU32(hive.PositionOf("A\\B"), field::kKeyTime, 0);
  FixChecksum(hive.bytes);
  OpenBytes(hive.bytes);
  ListPlace* place = Checked(L"Structure: 1 fault");
  ASSERT_NE(place, nullptr);
  EXPECT_EQ(State().substr(State().rfind(',')), ", structure: 1 fault");
  const Texts codes = Column(*place, 0);
  ASSERT_GE(codes.size(), 2U);
  EXPECT_EQ(codes[0] + codes[1], "L12K13") << "faults before oddities";
  EXPECT_EQ(Column(*place, 1)[0] + Column(*place, 1)[1], "FW");
  FocusRow(*place, 0, false);
  RunList(*place, kCommandGoToTree);
  EXPECT_EQ(
      ItemPath(ShownHive(*window_), *window_->shown->tree, SelectedItem(window_->shown->pane)),
      Column(*place, 3)[0]);
  NMITEMACTIVATE notice{};
  notice.hdr = {place->list, 0, LVN_ITEMACTIVATE};
  SendMessageW(place->window, WM_NOTIFY, 0, reinterpret_cast<LPARAM>(&notice));  // a double click
  bool list_cell = false;
  for (HWND at = nullptr;
       (at = FindWindowExW(nullptr, at, L"HivequarryList", nullptr)) != nullptr;) {
    const ListPlace& other = *FindListPlace(at);
    list_cell |= ListKindOf(*other.model) == kListRawRecord && Column(other, 4)[1] == "lh";
  }
  EXPECT_TRUE(list_cell);
  ReloadHive(*window_, window_->shown->origin.logs);
  ASSERT_TRUE(PumpUntil([&] { return IsLoaded(); }));
  EXPECT_EQ(State().find("structure"), std::string::npos) << "the verdict was of an earlier load";
}

}  // namespace
}  // namespace hivequarry::testing
