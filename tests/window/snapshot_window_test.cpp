// Loading hives into the registry, and snapshots, asked for as a user does; the registry is kept in
// memory.
#include <functional>

#include "host/files.h"
#include "tests/support/memory_registry.h"
#include "tests/window/dialog_fixture.h"
#include "tests/window/list_fixture.h"
#include "ui/dialogs/list_dialogs.h"
#include "ui/frame/text.h"
#include "ui/resources/resource.h"

namespace hivequarry::testing {
namespace {

// Leads through the dialog that comes up next: one step at a time, from within its own loop and
// while it answers, each as soon as the one before has been taken.
void InNextDialogs(std::vector<Use> steps) {
  static std::vector<Use> left;
  left = std::move(steps);
  SetTimer(nullptr, 0, 10, [](HWND, UINT, UINT_PTR timer, DWORD) {
    const HWND dialog = FindWindowW(L"#32770", nullptr);
    const HWND ok = dialog == nullptr ? nullptr : GetDlgItem(dialog, IDOK);
    if (ok == nullptr || IsWindowVisible(dialog) == FALSE || IsWindowEnabled(ok) == FALSE) return;
    const Use use = left.front();
    left.erase(left.begin());
    if (left.empty()) KillTimer(nullptr, timer);
    use(dialog);
  });
}

void Fill(HWND dialog, int field, const std::string& text) {
  SetDlgItemTextW(dialog, field, WideName(text).c_str());
}

class SnapshotWindowTest : public ListTest {
 protected:
  void SetUp() override {
    ListTest::SetUp();
    registry_.privileges = {u"SeBackupPrivilege", u"SeRestorePrivilege"};
    Open(file_.name());
  }
  void TearDown() override {
    TheListDialogs() = real_;
    ListTest::TearDown();
  }
  static Bytes Hive() {
    HiveBuilder hive("SOFTWARE");
    hive.Key("Tools\\Inner");
    return hive.Build().bytes;
  }
  void Idle() {
    EXPECT_TRUE(PumpUntil([&] { return !window_->work.thread.joinable(); }));
  }
  bool HasFile(const std::string& name) {
    int error = 0;
    std::FILE* file = OpenFile(file_.folder() + "\\" + name, "rb", error);
    return file != nullptr && std::fclose(file) == 0;
  }

  const ListDialogs real_ = TheListDialogs();
  TempFile file_{Hive(), "SOFTWARE"};
  MemoryRegistry registry_;
};

TEST_F(SnapshotWindowTest, LoadsAndUnloadsACopyOfTheHiveThatIsOpen) {
  const TempFile place("", "x");
  const std::string copy = place.folder() + "\\SOFTWARE.mine";
  std::string chosen = file_.folder() + "\\beside";
  std::string proposed;
  TheListDialogs().save = [&](const FileRequest& request) {
    proposed = request.name;
    return FileChoice{chosen, 0};
  };
  registry_.errors["load"] = 1017;
  InNextDialogs({[&](HWND dialog) {
                   EXPECT_EQ(TextOf(dialog), "Load File into Registry");
                   EXPECT_EQ(TextOf(GetDlgItem(dialog, kMountFile)), file_.name());
                   Click(dialog, IDOK);  // no sub key is named
                   EXPECT_EQ(IsWindowEnabled(GetDlgItem(dialog, IDOK)), TRUE);
                   Fill(dialog, kMountKey, "Mine");
                   Click(dialog, IDOK);  // answered with No
                   EXPECT_EQ(TakeBoxes(), Texts{"Hivequarry: " + file_.name() +
                                                " is open in this program, and the system would "
                                                "write to it.\r\nLoad a copy ?"});
                   EXPECT_EQ(proposed, "");
                   surroundings_.answer = Answer::kYes;
                   Click(dialog, IDOK);
                 },
                 [&](HWND dialog) {
                   EXPECT_EQ(TakeBoxes().back(), "Hivequarry: The folder of " + file_.name() +
                                                     " stays as it is: choose another one for the "
                                                     "copy !");
                   EXPECT_FALSE(HasFile("beside"));
                   chosen = copy;
                   Click(dialog, IDOK);
                 },
                 [&](HWND dialog) {
                   EXPECT_EQ(TakeBoxes().back(),
                             "Hivequarry: Could not map File into Registry (Error 1017) !");
                   EXPECT_TRUE(proposed.ends_with("\\SOFTWARE.copy")) << proposed;
                   EXPECT_EQ(TextOf(GetDlgItem(dialog, kMountFile)), copy);
                   registry_.errors.clear();
                   Click(dialog, IDOK);
                 }});
  Run(kCommandLoadHive);
  Idle();
  EXPECT_NE(registry_.Find(u"HKU\\Mine\\Tools"), nullptr);
  EXPECT_EQ(StatusText(0), " Done.");
  const HWND list = FindWindowW(L"HivequarryList", L"HKEY_USERS\\Mine");
  ASSERT_NE(list, nullptr);
  EXPECT_EQ(Column(*FindListPlace(list), 0),
            (Texts{"HKEY_USERS\\Mine", "HKEY_USERS\\Mine\\Tools"}));

  registry_.errors["unload"] = 5;
  InNextDialogs({[&](HWND dialog) {
                   EXPECT_EQ(TextOf(dialog), "Unload File from Registry");
                   EXPECT_EQ(TextOf(GetDlgItem(dialog, kMountKey)), "Mine");
                   Click(dialog, IDOK);
                 },
                 [&](HWND dialog) {
                   EXPECT_EQ(TakeBoxes(),
                             Texts{"Hivequarry: Could not unload File from Registry (Error 5) !"});
                   registry_.errors.clear();
                   Click(dialog, IDOK);
                 }});
  Run(kCommandUnloadHive);
  EXPECT_EQ(registry_.Find(u"HKU\\Mine"), nullptr);
  EXPECT_FALSE(HasFile("SOFTWARE.LOG"));
  EXPECT_TRUE(ContentOf(copy).starts_with("regf"));
  EXPECT_TRUE(registry_.enabled.empty());
}

TEST_F(SnapshotWindowTest, MakesSnapshotsAndListsWhatCouldNotBeRead) {
  registry_.At(u"HKLM\\SOFTWARE\\Tools\\Lost").open_error = 1450;
  SelectPath("Tools");
  InNextDialogs({[&](HWND dialog) {
    EXPECT_EQ(TextOf(GetDlgItem(dialog, kSnapshotKey)), "HKEY_LOCAL_MACHINE\\SOFTWARE\\Tools");
    Fill(dialog, kSnapshotFile, file_.folder() + "\\a.snp");
    Click(dialog, IDOK);
  }});
  Run(kCommandKeySnapshot);
  Idle();
  EXPECT_TRUE(HasFile("a.snp"));
  EXPECT_NE(FindWindowW(L"HivequarryList", L"Error list"), nullptr);

  Texts asked;
  TheListDialogs().replace = [&](HWND, const std::string& file) {
    asked.push_back(file);
    return false;
  };
  registry_.At(u"HKCU\\Console");
  for (int round = 0; round < 2; ++round) {
    InNextDialogs({[&](HWND dialog) {
                     Fill(dialog, kSnapshotFile, file_.folder() + "\\none");
                     Click(dialog, IDOK);
                   },
                   [&](HWND dialog) {
                     EXPECT_EQ(TakeBoxes(), Texts{"Hivequarry: Invalid directory !"});
                     Fill(dialog, kSnapshotFile, file_.folder());
                     CheckDlgButton(dialog, kSnapshotRoot + 3, BST_UNCHECKED);
                     Click(dialog, IDOK);
                     if (round == 1) Click(dialog, IDCANCEL);
                   }});
    Run(kCommandRootSnapshots);
    Idle();
    if (round == 0) {
      EXPECT_EQ(TakeBoxes(), Texts{"Hivequarry: Can not open Registry key HKLM\\SYSTEM !"});
    }
  }
  EXPECT_TRUE(HasFile("_HKCU.SNP"));
  EXPECT_FALSE(HasFile("_HKLM_SOFTWARE.SNP"));
  EXPECT_EQ(asked, Texts{file_.folder() + "\\_HKCU.SNP"});
}

}  // namespace
}  // namespace hivequarry::testing
