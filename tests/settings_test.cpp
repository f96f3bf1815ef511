#include "app/settings.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>
#include <filesystem>

#include "host/launch.h"
#include "host/output_file.h"
#include "host/profile.h"
#include "tests/support/hive_builder.h"
#include "tests/support/host_recorder.h"
#include "tests/support/texts.h"

namespace hivequarry {
namespace {

using testing::ContentOf;
using testing::TempFile;

ptrdiff_t FilesBeside(const std::string& name) {
  const std::filesystem::directory_iterator folder(std::filesystem::path(name).parent_path());
  return std::distance(begin(folder), end(folder));
}

bool Write(const std::string& name, OutputMode mode, std::string_view text, bool keep = true) {
  OutputFile file;
  int error = 0;
  if (!OpenOutput(name, mode, file, error)) return false;
  WriteOutput(file, text);
  return CloseOutput(file, keep);
}

// As long as it lives a file can't become longer than this, as on a device without room.
class FullDevice {
 public:
  explicit FullDevice(rlim_t room) {
    handler_ = std::signal(SIGXFSZ, SIG_IGN);
    getrlimit(RLIMIT_FSIZE, &before_);
    const rlimit limit = {room, before_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~FullDevice() {
    setrlimit(RLIMIT_FSIZE, &before_);
    std::signal(SIGXFSZ, handler_);
  }

 private:
  rlimit before_{};
  void (*handler_)(int) = nullptr;
};

TEST(OutputFileTest, FailuresLeaveWhatWasThere) {
  const TempFile file("old");
  const std::string& name = file.name();
  const std::string big(70000, 'x');
  for (const OutputMode mode : {OutputMode::kReplace, OutputMode::kAppend}) {
    EXPECT_FALSE(Write(name, mode, "new", false));
    const FullDevice full(40000);
    EXPECT_FALSE(Write(name, mode, big));
    EXPECT_FALSE(Write(name + "2", mode, big));
    EXPECT_EQ(ContentOf(name), "old");
    EXPECT_EQ(FilesBeside(name), 1);
  }
  EXPECT_FALSE(Write(name + "/none/file", OutputMode::kReplace, "new"));
  EXPECT_FALSE(Write("/dev/full", OutputMode::kReplace, "new"));
  EXPECT_TRUE(Write("/dev/null", OutputMode::kReplace, big));
}

TEST(OutputFileTest, WritesInPlace) {
  const TempFile file("old");
  const std::string& name = file.name();
  std::filesystem::create_symlink(name, name + ".link");
  std::filesystem::create_directory(name + ".tmp~1");  // a taken name
  EXPECT_TRUE(Write(name + ".link", OutputMode::kReplace, "new"));
  EXPECT_TRUE(Write(name, OutputMode::kAppend, "er"));
  EXPECT_EQ(ContentOf(name), "newer");
  EXPECT_TRUE(std::filesystem::is_symlink(name + ".link"));
  EXPECT_EQ(FilesBeside(name), 3);
}

TEST(ProfileTest, Values) {
  constexpr std::string_view kText =
      "k=outside\n[One]\r\n; k=comment\r\nno key\r\n k = a b \t\r\nK=second\r\nq='a \"b'\r\n"
      "d=\" x \"\r\nempty=\r\n[one]\nlate=1\n[Two\n[Three] rest\nk=\"\nlast==";
  const struct {
    const char *section, *key, *value;
  } cases[] = {{"one", "k", "a b"},  {"ONE", "Q", "a \"b"},   {"One", "d", " x "},
               {"One", "empty", ""}, {"One", "late", "none"}, {"Two", "k", "none"},
               {"Three", "k", "\""}, {"Three", "last", "="},  {"", "k", "none"}};
  for (const auto& c : cases) {
    EXPECT_EQ(ProfileValue(kText, c.section, c.key, "none", 9), c.value) << c.section << c.key;
  }
  EXPECT_EQ(ProfileValue(kText, "One", "d", "", 2), " x");
}

TEST(ProfileTest, WritingKeepsTheRest) {
  const struct {
    const char *before, *value, *after;
  } cases[] = {
      {"", "1", "[S]\r\nk=1\r\n"},
      {"; c\n[A]\nk=2", "1", "; c\n[A]\nk=2\r\n[S]\r\nk=1\r\n"},
      {"[S]\nj=2\n\n; c\n[A]\nk=3\n", "1", "[S]\nj=2\nk=1\r\n\n; c\n[A]\nk=3\n"},
      {"[s]\nodd\n K = 2\nk=3\n[S]\nk=4\n", " 1", "[s]\nodd\nk=\" 1\"\r\nk=3\n[S]\nk=4\n"},
      {"[S]", "'1'", "[S]\r\nk=\"'1'\"\r\n"},
      {"[S]\n", "1\r\n[A]", "[S]\nk=1  [A]\r\n"},
  };
  for (const auto& c : cases) {
    const TempFile file{std::string_view(c.before)};
    EXPECT_TRUE(WriteProfile(file.name(), "S", "k", c.value));
    EXPECT_EQ(ContentOf(file.name()), c.after);
  }
}

Settings SomeSettings() {
  Settings settings;
  settings.histories.search_texts = {" a", "b\u00E9\"", std::string(70, 'c')};
  settings.histories.sids = {"S-1-5-32-544"};
  settings.histories.recent_files = {"C:\\\u00E4", "C:\\\u0436", "C:\\\u00C3\u00B6"};
  settings.folders[kFolderBackups] = "D:\\B";
  settings.options.number_rows = true;
  settings.options.no_access_keys = false;
  settings.options.technical_view = true;
  settings.options.sort_new_lists = false;
  settings.colours = ColourChoice::kDark;
  settings.toolbar = false;
  settings.range_end = 0xFFFFFFFF;
  settings.main = {-8, 0, 700, 500, true, {120, 0, 80}};
  settings.output_columns = std::vector<int>(18, 60);
  settings.tree_width = 250;
  settings.detail_share = 3333;
  settings.bookmark_pane = {true, false, 200, 400, {300, 0, 90}};
  settings.columns[kListKeyDates] = {{1, 0, 2}, {2}};
  settings.places[kPlaceBlocks] = {1, 2, 30, 40, false, {5, 6, 7, 8}};
  settings.places[kPlaceOtherLists] = {1, 2, 30, 40, true, std::vector<int>(18, 9), 47};
  return settings;
}

std::string Written(const Settings& settings, std::string_view before = "") {
  const TempFile file(before);
  EXPECT_TRUE(WriteSettings(file.name(), settings));
  EXPECT_EQ(FilesBeside(file.name()), 1);
  return ContentOf(file.name());
}

Settings Read(std::string_view profile) {
  const TempFile file(profile);
  Settings settings;
  ReadSettings(file.name(), settings);
  return settings;
}

TEST(SettingsTest, RoundTrip) {
  const std::string zeros = ";0;0;0;0;0;0;0;0;0;0;0;0;0;0;0;0;0;0;0;0;0;0\r\n";
  const std::string parts[] = {
      "; mine\r\n[KDATES]\r\nLastBackup=x\r\n[FTSC]\r\nFC4=\r\nFC0=\" a\"\r\n",
      "ccc\r\n[CBSIDS]\r\nCBS0=S-1-5-32-544\r\n"
      "[KAS]\r\nKGP1=0111111000111010\r\nCOL=dark\r\nTB=0\r\nDI=0\r\nFPART=0;4294967295\r\n"
      "[LTFS]\r\nLF0=C:\\\u00E4\r\nLF1=C:\\\xD0\xB6\r\nLF2=C:\\\xC3\x83\xC2\xB6\r\n"
      "[LTDS]\r\nLD4=D:\\B\r\n"
      "[WPS1]\r\nw10=-8\r\nw11=0\r\nw12=700\r\nw13=500\r\nw14=1\r\n"
      "[WPS2]\r\nw20=120\r\nw21=0\r\nw22=80\r\n[WPS3]\r\nw30=60\r\n",
      "w47=60\r\n[WPS4]\r\nw40=250\r\nw41=3333\r\n[WPOS]\r\nWPS02=0" + zeros + "WPS04=0" + zeros,
      "WPS10=1;2;30;40;0;5;6;7;8\r\nWPS12=0",
      "[KBMP]\r\nShown=1\r\nRight=1\r\nHeight=200\r\nWidth=400\r\nw50=300\r\nw51=0\r\nw52=90\r\n",
      "[COLS]\r\nK11=1,0,-2\r\n"};
  const std::string text =
      Written(SomeSettings(), "; mine\r\n[KDATES]\r\nLastBackup=x\r\n[FTSC]\r\nFC4=old\r\n");
  for (const std::string& part : parts) EXPECT_NE(text.find(part), text.npos) << part << text;

  Settings read = Read(text);
  EXPECT_EQ(read.histories.search_texts[2], std::string(64, 'c'));
  EXPECT_EQ(read.histories.recent_files, SomeSettings().histories.recent_files);
  EXPECT_FALSE(read.options.technical_view);  // starts off every time
  read.options.technical_view = true;
  EXPECT_EQ(Written(read), Written(SomeSettings()));
}

TEST(SettingsTest, TextsAreCutByCharacters) {
  const auto repeated = [](std::string_view character, int times) {
    std::string text;
    for (int i = 0; i < times; ++i) text += character;
    return text;
  };
  const struct {
    const char* character;
    size_t units;  // of UTF-16
  } cases[] = {{"\u0436", 1}, {"\u65E5", 1}, {"\U0001F511", 2}};
  for (const auto& c : cases) {
    Settings settings;
    settings.histories.search_texts = {repeated(c.character, 70)};
    settings.histories.search_bytes = {repeated(c.character, 140)};
    settings.histories.list_finds = {repeated(c.character, 70)};
    const auto kept = [&](size_t most) {
      return repeated(c.character, static_cast<int>(most / c.units));
    };
    const Settings read = Read(Written(settings));
    EXPECT_EQ(read.histories.search_texts, History{kept(64)});
    EXPECT_EQ(read.histories.search_bytes, History{kept(130)});
    EXPECT_EQ(read.histories.list_finds, History{kept(63)});
    const std::string by_hand = "[FTSC]\r\nFC0=" + repeated(c.character, 200) + "\r\n";
    EXPECT_EQ(Read(by_hand).histories.search_texts, History{kept(64)});
  }
}

TEST(SettingsTest, DamagedFilesReadAsBuiltIn) {
  const std::string built_in = Written(Settings());
  const char* const cases[] = {
      "[KAS]\nKGP1=Z\nDI=7\nFPART=9\n",
      "[KAS]\nKGP1=\nFPART=9;9\n",
      "[KAS]\nKGP1=x1x0x1x1x0\nFPART=5;99999999999\n",
      "[KAS]\nKGP1=0?1\nCOL=blue\nTB=x\nDI=-\nFPART=-1;5\n",
      "[WPS1]\nw10=0=default\nw11=0\nw12=99999999999\nw13=50\n",
      "[WPS1]\nw10=9\nw12=5\nw13=100\n",
      "[WPS1]\nw10=-32000\nw11=-32000\nw12=-31000\nw13=-31000\n",
      "[WPS2]\nw20=-5\nw21=10001\n[WPS4]\nw40=x\nw41=10001\n",
      "[WPOS]\nWPS02=1;2;3\nWPS04=5;5;1;1\nWPS10=;;;;;-1;junk;99999\n",
      "[FTSC]\nFC0=\n[CBSIDS]\nCBS1=\n",
      "[LTDS\nLD0=x",
      "[COLS]\nK11=0,1,x\nK5=1,-1\nK6=0,99\nK7=1 0\n",
  };
  for (const char* profile : cases) EXPECT_EQ(Written(Read(profile)), built_in) << profile;
  EXPECT_TRUE(Read("[KAS]\nKGP1=1111\n").options.number_rows);  // a short one says what it says
}

TEST(SettingsTest, ColumnsOfAListWithMoreOrFewer) {
  const ColumnChoice choice = ReadColumns("3,0,-1");
  const struct {
    int count;
    const char* columns;
  } cases[] = {{6, "3,0,-1,2,4,5"}, {4, "3,0,-1,2"}, {2, "0,-1"}, {1, "0"}};
  for (const auto& c : cases) {
    EXPECT_EQ(ColumnsAsText(ColumnsFor(choice, c.count)), c.columns) << c.count;
  }
}

// What others wrote meanwhile is not lost, nor what changed here.
TEST(SettingsTest, SettingsOfSeveralCopiesAreJoined) {
  Settings theirs = SomeSettings();
  theirs.dates.end = "2020";
  theirs.freed_in_tree = false;
  theirs.colours = ColourChoice::kDark;
  theirs.toolbar = false;
  theirs.timeline.values = true;
  theirs.options.code_page_text = true;
  Settings ours;
  ours.columns[kListSearch] = {{1, 0}, {}};
  TakeOthersSettings(Settings(), theirs, ours);
  EXPECT_EQ(ours.columns.size(), 2U) << "that of each kind by itself";
  theirs.columns[kListSearch] = ours.columns[kListSearch];
  EXPECT_EQ(ours, theirs);
  TakeOthersSettings(Settings(), Settings(), ours);  // all of it changed here
  EXPECT_EQ(ours, theirs);
  const struct {
    History read, file, ours, joined;
  } cases[] = {
      {{"a", "b"}, {"a", "b"}, {"c", "a", "b"}, {"c", "a", "b"}},
      {{"a", "b"}, {"d", "a", "b"}, {"a", "b"}, {"d", "a", "b"}},
      {{"a", "b"}, {"d", "a", "b"}, {"c", "a", "b"}, {"c", "d", "a", "b"}},
      {{"a", "b"}, {"d", "a", "b"}, {"b", "a"}, {"b", "d", "a"}},
      {{}, {"x"}, {"x", "y"}, {"x", "y"}},
      {{"1", "2", "3", "4", "5", "6", "7"},
       {"8", "1", "2", "3", "4", "5", "6"},
       {"9", "1", "2", "3", "4", "5", "6"},
       {"9", "8", "1", "2", "3", "4", "5"}},
      {{"a"}, {}, {"a"}, {}},
  };
  for (const auto& c : cases) {
    Settings read;
    Settings file;
    Settings own;
    read.histories.search_texts = c.read;
    file.histories.search_texts = c.file;
    own.histories.search_texts = c.ours;
    TakeOthersSettings(read, file, own);
    EXPECT_EQ(own.histories.search_texts, c.joined);
  }
}

TEST(SettingsTest, FailureLeavesTheOldFile) {
  const TempFile file("[FTSC]\r\nFC0=old\r\n");
  {
    const FullDevice full(300);
    EXPECT_FALSE(WriteSettings(file.name(), SomeSettings()));
  }
  EXPECT_EQ(ContentOf(file.name()), "[FTSC]\r\nFC0=old\r\n");
  EXPECT_EQ(FilesBeside(file.name()), 1);
  EXPECT_FALSE(WriteSettings(file.name() + "/none.ini", SomeSettings()));
}

TEST(SettingsTest, WindowPositionsAreKeptUnlessSaved) {
  Settings settings = SomeSettings();
  settings.options.save_window_position = false;
  const std::string text = Written(settings, "[WPS1]\r\nw10=77\r\n");
  EXPECT_EQ(ProfileValue(text, "WPS1", "w10", "", 9), "77");
  EXPECT_EQ(ProfileValue(text, "WPS4", "w40", "none", 9), "none");
  EXPECT_EQ(ProfileValue(text, "WPOS", "WPS10", "", 99), "1;2;30;40;0;5;6;7;8");
}

TEST(SettingsTest, NamesAreKeptWholeOrNotAtAll) {
  Settings settings;
  settings.histories.recent_files = {"C:\\" + std::string(600, 'x'),
                                     "C:\\" + std::string(400, 'y')};
  settings.folders[kFolderTexts] = "D:\\" + std::string(600, 'z');
  const Settings read = Read(Written(settings));
  EXPECT_EQ(read.histories.recent_files, (History{"C:\\" + std::string(400, 'y')}));
  EXPECT_EQ(read.folders[kFolderTexts], "");
}

TEST(SettingsTest, HistoriesPutTheNewestFirst) {
  History history;
  for (const char c : std::string("123145678")) AddToHistory(history, std::string(1, c));
  AddToHistory(history, "");
  EXPECT_EQ(history, (History{"8", "7", "6", "5", "4", "1", "3"}));
}

TEST(SettingsTest, FilesBesideTheProgram) {
  EXPECT_EQ(SettingsFileOf("C:\\P\\a.exe"), "C:\\P\\hivequarry.ini");
  EXPECT_EQ(BookmarkFileOf("/opt/p/a"), "/opt/p/hivequarrybm.txt");
  EXPECT_EQ(FolderOfFiles("C:\\P\\a.exe", true, "C:\\U"), "C:\\P\\");
  EXPECT_EQ(FolderOfFiles("C:\\P\\a.exe", false, "C:\\U"), "C:\\U\\Hivequarry\\");
  EXPECT_EQ(FolderOfFiles("C:\\P\\a.exe", false, ""), "C:\\P\\");
}

TEST(LaunchTest, Switches) {
  const testing::HostRecorder host;
  const std::string range = RangeArguments("C:\\a b", 5, 4294967295);
  for (const int mode : {13, 16, 17, 18, 0}) LaunchSelf(range, mode);
  const std::string plain = "-soff=5 -eoff=4294967295 \"C:\\a b\"";
  EXPECT_EQ(host.launches, (std::vector<std::string>{"/U " + plain, "/R " + plain, "/S " + plain,
                                                     plain, "/C " + plain}));
}

}  // namespace
}  // namespace hivequarry
