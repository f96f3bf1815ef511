// Where the program's files are, names longer than the system's old limit, and the system's own
// list of recent documents.
#include <gtest/gtest.h>
#include <shlobj.h>

#include <filesystem>

#include "app/settings.h"
#include "host/files.h"
#include "tests/support/logged_hive.h"
#include "tests/window/list_fixture.h"
#include "ui/dialogs/list_dialogs.h"
#include "ui/frame/system_facts.h"
#include "ui/frame/text.h"
#include "ui/lists/list_saving.h"

namespace hivequarry::testing {
namespace {

class PlacesTest : public ListTest {
 protected:
  TempFile file_{"x", "a"};
  std::string Folder() const { return FolderOf(file_.name()); }
};

void Write(const std::string& name, std::string_view text) {
  int error = 0;
  std::FILE* stream = OpenFile(name, "wb", error);
  ASSERT_NE(stream, nullptr) << name;
  std::fwrite(text.data(), 1, text.size(), stream);
  std::fclose(stream);
}

TEST_F(PlacesTest, SettingsAreBesideTheProgramOrInTheProfile) {
  const std::string beside = Folder() + "\\";
  EXPECT_TRUE(CanWriteIn(beside));
  EXPECT_FALSE(CanWriteIn(beside + "none\\"));
  const std::string program = beside + "hivequarry.exe";
  Program made;
  made.facts.roaming = Folder();
  NameProgramFiles(program, made);
  EXPECT_EQ(made.settings_file, beside + "hivequarry.ini");
  EXPECT_EQ(made.bookmark_file, beside + "hivequarrybm.txt");

  // A medium that can't be written: its settings are those to begin with.
  Write(beside + "hivequarry.ini", "[KAS]\r\nDI=0\r\n");
  SetFileAttributesW(WideName(beside + "hivequarry.ini").c_str(), FILE_ATTRIBUTE_READONLY);
  NameProgramFiles(program, made);
  EXPECT_EQ(made.settings_file, Folder() + "\\Hivequarry\\hivequarry.ini");
  EXPECT_EQ(made.bookmark_file, Folder() + "\\Hivequarry\\hivequarrybm.txt");
  EXPECT_EQ(ContentOf(made.settings_file), "[KAS]\r\nDI=0\r\n");
  Settings settings;
  settings.options.number_rows = true;
  EXPECT_TRUE(WriteSettings(made.settings_file, settings));
  const std::string own = ContentOf(made.settings_file);
  NameProgramFiles(program, made);
  EXPECT_EQ(ContentOf(made.settings_file), own);
  SetFileAttributesW(WideName(beside + "hivequarry.ini").c_str(), FILE_ATTRIBUTE_NORMAL);
}

// A folder whose name alone is near the old limit of 260 characters.
TEST_F(PlacesTest, LongNamesAreOpenedWithTheirLogsAndWritten) {
  const LogStory story = MakeLogStory();
  std::string folder = Folder();
  for (int i = 0; i < 3; ++i) folder += "\\" + std::string(100, static_cast<char>('a' + i));
  std::error_code error;
  std::filesystem::create_directories(FilePath(folder), error);
  ASSERT_FALSE(error) << error.message();
  const std::string hive = folder + "\\SYSTEM";
  const auto text = [](const Bytes& bytes) {
    return std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  };
  Write(hive, text(story.files.hive));
  for (const auto& [ending, bytes] : story.files.beside) Write(hive + ending, text(bytes));
  Open(hive);
  EXPECT_EQ(ShownHive(*window_).file_name, hive);
  EXPECT_TRUE(IsReplayed(ShownHive(*window_)));
  EXPECT_EQ(TheSettings().histories.recent_files.at(0), hive);
  ListPlace& place = OpenList(MakeRows(51, {{"one"}}));
  const std::string saved = folder + "\\" + std::string(60, 's') + ".txt";
  TheListDialogs().save = [&saved](const FileRequest&) { return FileChoice{saved}; };
  RunList(place, kCommandSaveListText);
  EXPECT_NE(ContentOf(saved).find("one"), std::string::npos);
}

TEST_F(PlacesTest, HivesJoinTheRecentDocumentsButNotInEvidenceMode) {
  wchar_t recent[MAX_PATH] = L"";
  ASSERT_EQ(SHGetFolderPathW(nullptr, CSIDL_RECENT, nullptr, SHGFP_TYPE_CURRENT, recent), S_OK);
  const auto link_of = [&recent](const std::wstring& name) {
    return GetFileAttributesW((std::wstring(recent) + L"\\" + name + L".lnk").c_str()) !=
           INVALID_FILE_ATTRIBUTES;
  };
  TheProgram().in_recent = true;
  window_->host.evidence = true;
  HiveBuilder builder;
  builder.Key("A");
  const Bytes bytes = builder.Build().bytes;
  const TempFile evidence(bytes, "evidence-hive");
  Open(evidence.name());
  EXPECT_FALSE(link_of(L"evidence-hive"));
  window_->host.evidence = false;
  const TempFile plain(bytes, "plain-hive");
  Open(plain.name());
  EXPECT_TRUE(link_of(L"plain-hive"));
  DeleteFileW((std::wstring(recent) + L"\\plain-hive.lnk").c_str());
}

}  // namespace
}  // namespace hivequarry::testing
