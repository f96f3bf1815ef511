// Windows, dialogs and lists about security records.
#include "ui/security/security_window.h"

#include <algorithm>
#include <atomic>

#include "hive/file_place.h"
#include "host/long_operation.h"
#include "security/security_lists.h"
#include "tests/support/deadline.h"
#include "tests/window/dialog_fixture.h"
#include "tests/window/list_fixture.h"
#include "ui/frame/text.h"
#include "ui/resources/resource.h"
#include "ui/security/permissions_dialog.h"
#include "ui/security/replace_sid_dialog.h"

namespace hivequarry::testing {
namespace {

constexpr const char* kTrustee = "S-1-5-21-1-2-3-1001";
constexpr const wchar_t* kDialogClass = L"#32770";

BuiltHive SecuredHive() {
  HiveBuilder hive;
  const uint32_t own = hive.AddSecurity(SecurityDescriptor(
      kTrustee, "S-1-5-32-545", {{0, 0, 0x20019, "S-1-1-0"}, {1, 0, 2, kTrustee}},
      {{2, 0x80, 0xF003F, "S-1-1-0"}}));
  hive.Key("Owned").Security(own);
  hive.Key("Owned\\Inner").Security(own);
  hive.Key("Plain");
  return hive.Build();
}

struct Beeps {
  static inline int count;
};

class SecurityWindowTest : public ListTest {
 protected:
  void SetUp() override {
    ListTest::SetUp();
    TheSettings().options.resolve_sids = false;
    Host host = CurrentHost();
    host.beep = [](void*) { ++Beeps::count; };
    SetHost(host);
    Open(file_.name());
    Beeps::count = 0;  // the end of a load has one
  }
  void OpenOn(const char* path) {
    SelectPath(path);
    Run(kCommandSecurityRecord);
  }
  static HWND Find() { return FindWindowW(kDialogClass, L"Security Record"); }
  static void Close(HWND dialog) { SendMessageW(dialog, WM_COMMAND, IDCANCEL, 0); }
  static std::string ReportIn(HWND dialog) { return TextOf(GetDlgItem(dialog, kSecurityText)); }
  std::string Report(uint32_t position) const {
    SecurityRecordInfo info;
    const HiveImage& hive = ShownHive(*window_);
    EXPECT_TRUE(ReadSecurityRecord(ImageBytes(hive), position, info));
    return FormatSecurityRecord(ImageBytes(hive), info, PlaceOf(hive, position), false);
  }
  // The list window that has come up last, when it is filled.
  ListPlace& NewList() {
    const HWND list = FindWindowW(L"HivequarryList", nullptr);
    EXPECT_NE(list, nullptr);
    ListPlace& place = *FindListPlace(list);
    Finish(place);
    return place;
  }
  ListPlace& RunForList(uint32_t command) {
    Run(command);
    return NewList();
  }
  ListPlace& Follow(ListPlace& place, uint32_t row, uint32_t command) {
    FocusRow(place, row, false);
    SendMessageW(place.window, WM_COMMAND, command, 0);
    return NewList();
  }

  BuiltHive hive_ = SecuredHive();
  TempFile file_{hive_.bytes};
};

void SetText(HWND dialog, int control, const char* text) {
  SetDlgItemTextW(dialog, control, WideName(text).c_str());
}

TEST_F(SecurityWindowTest, ShowsAndCopiesTheRecordOfTheKey) {
  OpenOn("Owned");
  const HWND first = Find();
  ASSERT_NE(first, nullptr);
  const std::string report = Report(hive_.SecurityPosition(1));
  EXPECT_EQ(ReportIn(first), report);
  OpenOn("Plain");
  EXPECT_EQ(ReportIn(Find()), Report(hive_.SecurityPosition(0)));
  SendMessageW(first, WM_COMMAND, kSecurityCopy, 0);
  EXPECT_EQ(ClipboardText(), report);
  CloseWindow();
  EXPECT_EQ(Find(), nullptr);
}

// A machine that has to ask the network for an account: nobody waits for its answer.
struct SlowMachine {
  static inline std::atomic<bool> answers;
  static inline std::atomic<int> asked;
  static AccountAnswer Answer(void*, std::span<const uint8_t>) {
    ++asked;
    PollUntil([] { return answers.load(); });
    return {AccountAnswer::kFound, "PC", "Ann", 1};
  }
};

TEST_F(SecurityWindowTest, NamesComeWhenTheyAreThere) {
  SlowMachine::answers = false;
  SlowMachine::asked = 0;
  Host host = CurrentHost();
  host.account = SlowMachine::Answer;
  SetHost(host);
  TheSettings().options.resolve_sids = true;
  OpenOn("Owned");
  const HWND closed = Find();
  OpenOn("Owned");
  const HWND dialog = Find();
  ASSERT_TRUE(PumpUntil([] { return SlowMachine::asked == 2; }));
  Close(closed == dialog ? nullptr : closed);
  const std::string before = ReportIn(dialog);
  EXPECT_NE(before.find(std::string("Owner : ") + kTrustee), std::string::npos);
  EXPECT_EQ(before.find("Ann"), std::string::npos);
  SendMessageW(dialog, WM_COMMAND, kSecurityCopy, 0);
  EXPECT_EQ(ClipboardText(), before);
  SlowMachine::answers = true;
  EXPECT_TRUE(PumpUntil([&] { return ReportIn(dialog) != before; }));
  EXPECT_NE(ReportIn(dialog).find(std::string(kTrustee) + "\r\n        PC\\Ann"),
            std::string::npos);
  // A SID is asked for once, and of the closed window no further one.
  EXPECT_EQ(SlowMachine::asked, 4);
}

TEST_F(SecurityWindowTest, KeysAndOptionWorkWithoutTouchingOpenWindows) {
  OpenOn("Owned");
  const HWND dialog = Find();
  const std::string report = ReportIn(dialog);
  EXPECT_EQ(IsDlgButtonChecked(dialog, kSecurityLocalAccounts), BST_UNCHECKED);
  Click(dialog, kSecurityLocalAccounts);
  EXPECT_EQ(ReportIn(dialog), report);
  EXPECT_FALSE(TheSettings().options.resolve_sids);
  MSG escape{GetDlgItem(dialog, kSecurityText), WM_KEYDOWN, VK_ESCAPE, 0, 0, {}};
  HandleMessage(handle_, escape);
  EXPECT_TRUE(PumpUntil([&] { return IsWindow(dialog) == FALSE; }));
  EXPECT_TRUE(TheSettings().options.resolve_sids);
}

TEST_F(SecurityWindowTest, LaysOutAsFarAsItIsLarge) {
  OpenOn("Owned");
  const HWND dialog = Find();
  const auto scale = [&](int measure) { return Scale(measure, window_->dpi); };
  SetWindowPos(dialog, nullptr, 0, 0, scale(700), scale(400), SWP_NOMOVE | SWP_NOZORDER);
  RECT client;
  GetClientRect(dialog, &client);
  const auto place = [&](int control) {
    RECT area;
    GetWindowRect(GetDlgItem(dialog, control), &area);
    MapWindowPoints(nullptr, dialog, reinterpret_cast<POINT*>(&area), 2);
    return area;
  };
  const RECT text = place(kSecurityText);
  EXPECT_EQ(text.left, scale(2));
  EXPECT_EQ(text.top, 0);
  EXPECT_EQ(text.right, client.right - scale(110));
  EXPECT_EQ(text.bottom, client.bottom - scale(4));
  const std::pair<int, int> tops[] = {
      {kSecurityCopy, 4}, {IDCANCEL, 34}, {kSecurityLocalAccounts, 64}};
  for (const auto& [control, top] : tops) {
    EXPECT_EQ(place(control).left, client.right - scale(98));
    EXPECT_EQ(place(control).top, scale(top));
  }
}

TEST_F(SecurityWindowTest, OpensWhereTheLastOneWasClosedOrAtTheMainWindow) {
  RECT main;
  GetWindowRect(handle_, &main);
  const SIZE size{Scale(500, window_->dpi), Scale(300, window_->dpi)};
  const struct {
    POINT closed, opened;
  } cases[] = {{{main.left + 40, main.top + 30}, {main.left + 40, main.top + 30}},
               {{main.right + 5, main.bottom + 5}, {main.left, main.top}}};
  for (const auto& c : cases) {
    OpenOn("Owned");
    SetWindowPos(Find(), nullptr, c.closed.x, c.closed.y, size.cx, size.cy, SWP_NOZORDER);
    Close(Find());
    OpenOn("Plain");
    RECT opened;
    GetWindowRect(Find(), &opened);
    const RECT expected{c.opened.x, c.opened.y, c.opened.x + size.cx, c.opened.y + size.cy};
    EXPECT_NE(EqualRect(&opened, &expected), FALSE);
    Close(Find());
  }
}

TEST_F(SecurityWindowTest, ClosesItselfAfterAnInvalidRecord) {
  EXPECT_EQ(OpenSecurityWindow(*window_, hive_.PositionOf("Owned")), nullptr);
  ASSERT_EQ(surroundings_.boxes.size(), 1U);
  EXPECT_EQ(surroundings_.boxes[0].icon, Icon::kExclamation);
  EXPECT_EQ(TakeBoxes(), Texts{Formatted("Hivequarry: Invalid security key at 0x%X",
                                         hive_.PositionOf("Owned") - 4096)});
  EXPECT_EQ(Find(), nullptr);
}

TEST_F(SecurityWindowTest, ThereAreAtMostThirtyTwoAndNoneMoreDuringAnOperation) {
  const uint32_t record = hive_.SecurityPosition(0);
  TheLongOperation().running = 1;
  EXPECT_EQ(OpenSecurityWindow(*window_, record), nullptr);
  TheLongOperation().running = 0;
  for (size_t i = 0; i < kSecurityWindows; ++i) {
    ASSERT_NE(OpenSecurityWindow(*window_, record), nullptr);
  }
  EXPECT_EQ(OpenSecurityWindow(*window_, record), nullptr);
  EXPECT_EQ(Beeps::count, 1);
  Close(Find());
  EXPECT_NE(OpenSecurityWindow(*window_, record), nullptr);
}

TEST_F(SecurityWindowTest, DialogMakesTheQuery) {
  PermissionRequest request;
  InDialog(L"Find Keys with Permissions", [&](HWND dialog) {
    SetText(dialog, kPermissionSid, "S-1-5-");
    Click(dialog, IDOK);
    EXPECT_EQ(TakeBoxes(), Texts{"Hivequarry: Please specify a valid SID !"});
    SetText(dialog, kPermissionSid, " S-1-1-0 ");
    for (const int control : {kPermissionDeny, kPermissionFull, kPermissionRead, kRightDelete,
                              kPermissionNotInherited, kPermissionInRegistry}) {
      Click(dialog, control);
    }
    EXPECT_FALSE(IsWindowEnabled(GetDlgItem(dialog, IDOK)));  // no root yet
    Click(dialog, kPermissionUsers);
    Click(dialog, IDOK);
  });
  ASSERT_TRUE(AskPermissions(handle_, request));
  EXPECT_EQ(request.query.sid, "S-1-1-0");
  EXPECT_EQ(request.query.kind, AceKind::kDeny);
  EXPECT_EQ(request.query.rights, 0x30019U);
  EXPECT_TRUE(request.query.not_inherited);
  EXPECT_TRUE(request.live);
  EXPECT_EQ(request.live_roots, 4U);
  EXPECT_EQ(TheSettings().histories.sids, (Texts{"S-1-1-0", "S-1-5-18"}));
}

TEST_F(SecurityWindowTest, PermissionsAreFoundBelowTheSelectedKey) {
  SelectPath("Owned");
  InDialog(L"Find Keys with Permissions", [](HWND dialog) {
    SetText(dialog, kPermissionSid, "");
    Click(dialog, kPermissionRead);
    Click(dialog, kPermissionInHive);
    Click(dialog, IDOK);
  });
  const ListPlace& found = RunForList(kCommandPermissions);
  EXPECT_EQ(TextOf(found.window), "Keys with Permissions");
  EXPECT_EQ(Column(found, 0), (Texts{"ROOT\\Owned", "ROOT\\Owned\\Inner"}));
}

TEST_F(SecurityWindowTest, WhoMayWriteOffersTheSidsOfTheHive) {
  SelectItemAndWait(0);
  const std::vector<HiveSid> of_hive = SidsOfHive(ShownHive(*window_), *window_->shown->tree);
  InDialog(L"Who may write where", [&of_hive](HWND dialog) {
    const HWND box = GetDlgItem(dialog, kWritersSid);
    EXPECT_EQ(GetWindowTextLengthW(box), 25) << "anyone but administrators";
    EXPECT_NE(ComboBox_FindStringExact(box, -1, L"BUILTIN\\Administrators  S-1-5-32-544"), CB_ERR);
    for (const int right : {kRightSetValue, kRightCreateSubkey, kRightCreateLink, kRightDelete,
                            kRightWriteDac, kRightWriteOwner}) {
      EXPECT_TRUE(Ticked(dialog, right));
      Click(dialog, right);
    }
    EXPECT_FALSE(IsWindowEnabled(GetDlgItem(dialog, IDOK)));
    Click(dialog, kRightWriteDac);
    // As chosen, and as typed: by either name.
    std::string sid;
    for (const wchar_t* text : {L"BUILTIN\\Administrators  S-1-5-32-544", L"S-1-5-32-544",
                                L"builtin\\administrators", L" Administrators "}) {
      Type(dialog, kWritersSid, text);
      EXPECT_TRUE(ReadSid(dialog, kWritersSid, false, sid, of_hive));
      EXPECT_EQ(sid, "S-1-5-32-544");
    }
    Click(dialog, IDOK);
  });
  const ListPlace& found = RunForList(kCommandWhoMayWrite);
  EXPECT_EQ(TextOf(found.window), "Who may write where: S-1-5-32-544");
  EXPECT_EQ(Column(found, 1).at(0), "S-1-5-32-544");
}

TEST_F(SecurityWindowTest, RowsLeadFromListToList) {
  ListPlace& aces = RunForList(kCommandListAces);
  const Texts trustees = Column(aces, 4);
  ASSERT_EQ(trustees.size(), 5U);
  const auto denied = std::find(trustees.begin(), trustees.end(), kTrustee);
  const auto row = static_cast<uint32_t>(denied - trustees.begin());
  ListPlace& keys = Follow(aces, row, kCommandKeysOfAce);
  EXPECT_EQ(TextOf(keys.window), std::string("Keys with ACEs for ") + kTrustee);
  EXPECT_EQ(ShownRowCount(keys), 2U);
  ListPlace& owners = Follow(keys, 0, kCommandKeysOfOwner);
  EXPECT_EQ(TextOf(owners.window), std::string("Keys with Owner Sid ") + kTrustee);
  EXPECT_EQ(ShownRowCount(owners), 2U);
  EXPECT_EQ(ShownRowCount(Follow(owners, 1, kCommandKeysOfRecord)), 2U);
  FocusRow(owners, 0, false);
  SendMessageW(owners.window, WM_COMMAND, kCommandRecordProperties, 0);
  EXPECT_EQ(ReportIn(Find()), Report(hive_.SecurityPosition(1)));
  SendMessageW(owners.window, WM_COMMAND, kCommandKeysOfAce, 0);  // speaks of no entry
  EXPECT_EQ(Beeps::count, 1);
}

TEST_F(SecurityWindowTest, EachCommandFillsItsList) {
  SelectItemAndWait(0);
  const struct {
    uint16_t command;
    int kind;
    uint32_t rows;
  } lists[] = {
      {kCommandListSecurity, kListSecurityScan, 2}, {kCommandUsedRecords, kListUsedRecords, 2},
      {kCommandKeyOwners, kListKeyOwners, 4},       {kCommandRecordsOfKeys, kListRecordKeys, 4},
      {kCommandKeysOfRecord, kListSecurityKeys, 2}, {kCommandKeysOfOwner, kListSecurityKeys, 2}};
  for (const auto& expected : lists) {
    SCOPED_TRACE(expected.command);
    const ListPlace& place = RunForList(expected.command);
    EXPECT_EQ(ListKindOf(*place.model), expected.kind);
    EXPECT_EQ(ShownRowCount(place), expected.rows);
  }
}

TEST_F(SecurityWindowTest, ReplacedSidIsShownInListsUntilTakenBack) {
  SelectPath("Owned");
  InDialog(L"Replace SID", [this](HWND dialog) {
    SetText(dialog, kReplaceFrom, kTrustee);
    Click(dialog, IDOK);
    EXPECT_EQ(TakeBoxes(), Texts{"Hivequarry: Please specify a valid SID !"});
    SetText(dialog, kReplaceTo, "S-1-5-18");
    Click(dialog, kReplaceGroup);
    Click(dialog, IDOK);
  });
  Run(kCommandReplaceSid);
  const ListPlace& replaced = RunForList(kCommandKeysOfOwner);
  EXPECT_EQ(TextOf(replaced.window), std::string("Keys with Owner Sid S-1-5-18: ") + kTrustee +
                                         " shown as S-1-5-18 (owner, ACEs)");
  EXPECT_EQ(Column(replaced, 1), (Texts{"S-1-5-18", "S-1-5-18"}));
  OpenOn("Owned");  // the record's own text has what the hive holds
  EXPECT_EQ(ReportIn(Find()), Report(hive_.SecurityPosition(1)));
  InDialog(L"Replace SID", [](HWND dialog) { Click(dialog, kReplaceTakeBack); });
  Run(kCommandReplaceSid);
  EXPECT_EQ(TextOf(RunForList(kCommandKeysOfOwner).window),
            std::string("Keys with Owner Sid ") + kTrustee);
}

}  // namespace
}  // namespace hivequarry::testing
