#include "app/bookmarks.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "app/key_paths.h"
#include "app/recent_keys.h"
#include "hive/root_path.h"
#include "tests/support/opened_hive.h"
#include "tests/support/texts.h"

namespace hivequarry {
namespace {

using testing::BuiltHive;
using testing::ContentOf;
using testing::HiveBuilder;
using testing::OpenedHive;
using testing::TempFile;

constexpr uint64_t kTime = 134087211000000000;  // 2025-11-27T12:45:00Z

TEST(BookmarkFileTest, Lines) {
  const std::string long_name(kMaxKeyPath, 'x');
  const struct {
    std::string text;
    const char* path;  // null: no bookmark
    uint64_t time = 0;
    const char* note = "";
  } cases[] = {
      {"hklm\\Software\\", "HKEY_LOCAL_MACHINE\\Software"},
      {"ROOT\\A\t\t\t", "ROOT\\A"},
      {"HKCU\\a%5cb\\c%09%zz%41\t2025-11-27T12:45:00Z\tC:\\h\tn\tmore",
       "HKEY_CURRENT_USER\\a%5Cb\\c%09%zzA", kTime, "n"},
      {"%23x\t", "%23x"},
      {"# HKLM\\A", nullptr},
      {";x\t", nullptr},
      {"", nullptr},
      {"no root", nullptr},
      {"\\\t", nullptr},
      {"HKLM\\A\t2025-02-29T00:00:00Z", nullptr},
      {"HKLM\\A\t2025-11-27 12:45:00Z", nullptr},
      {"HKLM\\A\t2025-11-27T12:60:00Z", nullptr},
      {"HKLM\\A\tnever", nullptr},
      {"HKLM\\\xE4", nullptr},
      {"HKLM\\%E4", nullptr},
      {"HKLM\\A\t\t\t\xE4", nullptr},
      {std::string("HKLM\\A\0B", 8), nullptr},
      {"HKLM\\" + long_name, nullptr},
      {"HKLM\t\t\t" + std::string(kMaxBookmarkLine, 'x'), nullptr},
  };
  for (const auto& c : cases) {
    Bookmark read;
    EXPECT_EQ(ReadBookmarkLine(c.text, read), c.path != nullptr) << c.text;
    EXPECT_EQ(read.path, c.path != nullptr ? c.path : "") << c.text;
    EXPECT_EQ(read.time, c.time) << c.text;
    EXPECT_EQ(read.note, c.note) << c.text;
  }
}

TEST(BookmarkFileTest, WhatCanNotBeReadStays) {
  const std::string damaged = "\x01\x02\xFF\r\n# mine\n\nHKLM\\B \x80\n";
  const std::string others = "HKCU\\U\t\t\tother wording\textra\nHKCR\\C\nHKU\\D";
  const TempFile file("\xEF\xBB\xBF" + damaged + "hklm\\a\t\t\tnote\textra\r\n" + others);
  Bookmarks bookmarks;
  ASSERT_TRUE(LoadBookmarks(file.name(), bookmarks));
  const std::string name = "HKLM\\\xD0\x96\\" + std::string(600, 'n');
  EXPECT_EQ(AddBookmark(bookmarks, {name, kTime, "a\tb\n", {}}), BookmarkChange::kDone);
  EXPECT_EQ(AddBookmark(bookmarks, {"HKEY_LOCAL_MACHINE\\A", kTime, "h", {}}),
            BookmarkChange::kMoved);
  ASSERT_TRUE(SaveBookmarks(file.name(), bookmarks));
  const std::string made = "HKEY_LOCAL_MACHINE\\A\t2025-11-27T12:45:00Z\th\tnote\textra\r\n" +
                           LongRootPath(name) + "\t2025-11-27T12:45:00Z\ta b \t\r\n";
  EXPECT_EQ(ContentOf(file.name()), damaged + made + others);

  const size_t shown[] = {5, 3, 1, 1};
  for (int filter = 0; filter < 4; ++filter) {
    EXPECT_EQ(ShownBookmarks(bookmarks, static_cast<BookmarkFilter>(filter)).size(), shown[filter]);
  }
  const size_t user = ShownBookmarks(bookmarks, BookmarkFilter::kUser)[0];
  EXPECT_EQ(SetBookmarkNote(bookmarks, user, "new\r\n"), BookmarkChange::kDone);
  EXPECT_EQ(bookmarks.lines[user].text, "HKEY_CURRENT_USER\\U\t\t\tnew  \textra\r\n");
  EXPECT_TRUE(DeleteBookmark(bookmarks, {"HKEY_CLASSES_ROOT\\c", 0, {}, {}}));
  EXPECT_FALSE(DeleteBookmark(bookmarks, {"HKEY_CLASSES_ROOT\\c", 0, {}, {}}));
  EXPECT_EQ(ShownBookmarks(bookmarks, BookmarkFilter::kMachine).size(), 2u);
  EXPECT_EQ(AddBookmark(bookmarks, {"\\", kTime, {}, {}}), BookmarkChange::kBadPath);
}

const std::string kHashOfFile(64, 'a');

TEST(BookmarkFileTest, FieldsAfterTheNote) {
  const std::string start = "HKLM\\A\t\t\tn";
  const struct {
    std::string fields;
    BookmarkKind kind;
    const char* title;  // after the key's path
    uint32_t position = kNoOffset;
    const char* tags = "";
    std::string further = "";
  } cases[] = {
      {"", BookmarkKind::kKey, ""},
      {"\tvalue=a%09b\tat=0x1020", BookmarkKind::kValue, " : a\tb", 0x1020},
      {"\tvalue=", BookmarkKind::kValue, " : (Default value)"},
      {"\ttags= to do ,x,, X,\u0416", BookmarkKind::kKey, "", kNoOffset, "to do, x, \u0416"},
      {"\tlist=51\trow=a; b", BookmarkKind::kRow, " : a; b"},
      {"\trow=a; b\tlist=51", BookmarkKind::kRow, " : a; b"},
      {"\tmore\trow=a; b", BookmarkKind::kKey, "", kNoOffset, "", "more\trow=a; b"},
      {"\tat=0x1020x\tvalue=%E4\tsha256=12\tlist=-1\tmore\tlater=1", BookmarkKind::kKey, "",
       kNoOffset, "", "at=0x1020x\tvalue=%E4\tsha256=12\tlist=-1\tmore\tlater=1"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.fields);
    Bookmark read;
    ASSERT_TRUE(ReadBookmarkLine(start + c.fields, read));
    EXPECT_EQ(read.kind, c.kind);
    EXPECT_TRUE(BookmarkTitle(read).ends_with(c.title));
    EXPECT_EQ(read.position, c.position);
    EXPECT_EQ(TagWords(read.tags), c.tags);
    EXPECT_EQ(read.further, c.further);
    EXPECT_EQ(read.note, "n");
    // What is written is read again as the same.
    Bookmarks bookmarks;
    ASSERT_EQ(AddBookmark(bookmarks, read), BookmarkChange::kDone);
    Bookmark again;
    std::string line = bookmarks.lines.back().text;
    ASSERT_TRUE(ReadBookmarkLine(line.substr(0, line.size() - 2), again));
    EXPECT_EQ(BookmarkTitle(again), BookmarkTitle(read));
    EXPECT_EQ(again.further, read.further);
    EXPECT_EQ(again.tags, read.tags);
    EXPECT_EQ(again.position, read.position);
  }
}

TEST(BookmarkFileTest, WhatIsTheSameThing) {
  Bookmark key{"HKLM\\A", 1, "f", {}};
  Bookmark value = key;
  value.kind = BookmarkKind::kValue;
  value.value = "V";
  Bookmark placed = key;
  placed.sha256 = kHashOfFile;
  placed.position = 0x1020;
  Bookmark elsewhere = placed;
  elsewhere.position = 0x2020;
  Bookmark of_other = placed;
  of_other.sha256 = std::string(64, 'b');
  EXPECT_FALSE(SameBookmark(key, value));
  EXPECT_TRUE(SameBookmark(key, placed));
  EXPECT_FALSE(SameBookmark(placed, elsewhere));
  EXPECT_FALSE(SameBookmark(placed, of_other));
  Bookmark small = value;
  small.value = "v";
  EXPECT_TRUE(SameBookmark(small, value));

  Bookmarks bookmarks;
  for (const Bookmark& added : {value, placed, elsewhere, of_other}) {
    EXPECT_EQ(AddBookmark(bookmarks, added), BookmarkChange::kDone);
  }
  ASSERT_EQ(bookmarks.lines.size(), 5U);  // with the heading
  EXPECT_EQ(SetBookmarkTags(bookmarks, 4, "b, a"), BookmarkChange::kDone);
  EXPECT_EQ(AddBookmark(bookmarks, value), BookmarkChange::kMoved);
  EXPECT_EQ(bookmarks.lines[1].bookmark.tags, (std::vector<std::string>{"b", "a"}));
  EXPECT_TRUE(DeleteBookmark(bookmarks, placed));
  EXPECT_EQ(FindBookmarkLine(bookmarks, placed), bookmarks.lines.size());
}

TEST(BookmarkFileTest, WordsChoose) {
  Bookmarks bookmarks;
  AddBookmark(bookmarks, {"HKLM\\Alpha", 1, {}, "see Beta"});
  AddBookmark(bookmarks, {"HKLM\\Gamma", 1, {}, {}});
  SetBookmarkTags(bookmarks, 1, "to do, beta");
  EXPECT_EQ(AllTags(bookmarks), (std::vector<std::string>{"beta", "to do"}));
  const struct {
    const char* words;
    size_t count;
  } cases[] = {{"", 2},        {"beta", 2},       {"tag:BETA", 1},
               {"tag:bet", 0}, {"alpha beta", 1}, {"gamma tag:\"to do\"", 1},
               {"\"", 2},      {"tag:", 0}};
  for (const auto& c : cases)
    EXPECT_EQ(BookmarksWith(bookmarks, c.words).size(), c.count) << c.words;
}

TEST(BookmarkFileTest, Limits) {
  const std::string line = "HKLM\\" + std::string(1019, 'x') + "\r\n";
  std::string text;
  while (text.size() + line.size() <= kMaxBookmarkFile) text += line;
  const TempFile file(text);
  Bookmarks bookmarks;
  ASSERT_TRUE(LoadBookmarks(file.name(), bookmarks));
  const size_t count = bookmarks.lines.size();
  EXPECT_EQ(AddBookmark(bookmarks, {std::string("HKLM\\") + std::string(1100, 'y'), 0, {}, {}}),
            BookmarkChange::kFull);
  EXPECT_EQ(bookmarks.lines.size(), count);
  const TempFile longer(text + line);
  EXPECT_FALSE(LoadBookmarks(longer.name(), bookmarks));
  EXPECT_EQ(bookmarks.lines.size(), count);
  EXPECT_FALSE(SaveBookmarks(longer.name(), bookmarks));
  EXPECT_EQ(ContentOf(longer.name()), text + line);

  EXPECT_FALSE(LoadBookmarks(file.folder(), bookmarks));
  EXPECT_FALSE(SaveBookmarks(file.folder(), bookmarks));
  EXPECT_TRUE(LoadBookmarks(file.name() + "none", bookmarks));
  EXPECT_EQ(AddBookmark(bookmarks, {"HKLM", 0, {}, {}}), BookmarkChange::kDone);
  EXPECT_TRUE(SaveBookmarks(file.name() + "none", bookmarks));
  EXPECT_TRUE(LoadBookmarks(file.name() + "none", bookmarks));
  ASSERT_EQ(bookmarks.lines.size(), 2u);
  EXPECT_GT(bookmarks.lines[1].bookmark.time, kTime / 2);
}

TEST(KeyPathTest, NothingOfANameIsLost) {
  HiveBuilder builder;
  const char* const names[] = {"tab\t", "a\\b", "%41", "%", "\u0416 \u00E4", "#", "a", "A"};
  for (const char* name : names) builder.Root().NewKey(name);
  builder.Key("a").NewKey("b");
  OpenedHive opened(builder.Build());
  for (const char* const root : {"HKLM\\#\\%41", "#", "\u00E4", ""}) {
    SetRootPath(opened.hive, root);
    if (*root == '\0') opened.hive.root.label = opened.hive.root.long_prefix = "";
    for (uint32_t item = 0; item < opened.tree.items.size(); ++item) {
      const std::string path = KeyPathOf(opened.hive, opened.tree, item);
      EXPECT_EQ(CleanKeyPath(path), path);
      EXPECT_EQ(CleanKeyPath(AsciiKeyPath(path)), path);
      for (const std::string& text : {path, AsciiKeyPath(path)}) {
        const FoundKey found = FindKeyPath(opened.hive, opened.tree, text);
        EXPECT_TRUE(found.whole) << text;
        EXPECT_EQ(found.item, item) << text;
      }
    }
  }
}

// A hive whose root holds these keys, and where a path leads in it.
struct Case {
  const char* label;  // empty: no root path
  const char* wanted;
  const char* found;  // below the root; null: nowhere
  bool whole = true;
};
void Check(OpenedHive& opened, std::span<const Case> cases) {
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.label) + " " + c.wanted);
    SetRootPath(opened.hive, c.label);
    if (*c.label == '\0') opened.hive.root.label = opened.hive.root.long_prefix = "";
    const FoundKey found = FindKeyPath(opened.hive, opened.tree, c.wanted);
    EXPECT_EQ(found.whole, c.found != nullptr && c.whole);
    EXPECT_EQ(found.item, c.found == nullptr ? kNoItem : opened.Item(c.found));
  }
}

TEST(KeyPathTest, SoftwareAndUsers) {
  HiveBuilder builder;
  for (const char* key : {"A\\B\\C", "Classes\\.txt", "SOFTWARE\\Classes\\X", "Setup", "\u00E9"}) {
    builder.Key(key);
  }
  OpenedHive opened(builder.Build());
  constexpr Case kCases[] = {
      {"HKLM\\SOFTWARE", "HKEY_LOCAL_MACHINE\\software\\a\\b\\C", "A\\B\\C"},
      {"HKLM\\SOFTWARE", "HKLM\\SOFTWARE(1)\\A", "A"},
      {"HKLM\\SOFTWARE", "HKLM\\SOFTWARE\\A\\B\\gone\\C", "A\\B", false},
      {"HKLM\\SOFTWARE", "HKLM\\SOFTWARE\\gone\\A", "", false},
      {"HKLM\\SOFTWARE", "HKLM\\SOFTWARE", ""},
      {"HKLM\\SOFTWARE", "HKLM", nullptr},
      {"HKLM\\SOFTWARE", "HKLM\\SYSTEM\\Setup", nullptr},
      {"HKLM\\SOFTWARE", "HKCU\\A", nullptr},
      {"HKLM\\SOFTWARE", "HKLM\\SOFTWARE\\\u00C9", "\u00E9"},
      {"HKLM\\SOFTWARE", "HKCR\\.txt", "Classes\\.txt"},
      {"HKLM\\SOFTWARE", "HKLM\\A\\B", "A\\B"},          // set in a hive labelled HKLM
      {"HKLM\\SOFTWARE", "HKLM\\SETUP\\gone", nullptr},  // likewise
      {"HKLM\\SOFTWARE", "ROOT\\A\\B", "A\\B"},          // set in a hive without a root path
      {"HKLM", "HKLM\\SOFTWARE\\A\\B", "A\\B"},          // labelled too high
      {"HKLM", "HKLM\\SOFTWARE\\gone\\Setup", "SOFTWARE", false},
      {"HKLM\\SOFTWARE\\Classes", "HKLM\\SOFTWARE\\A", "A"},  // labelled too low
      {"HKLM\\SOFTWARE\\Classes", "HKLM\\SOFTWARE\\gone", nullptr},
      {"HKLM\\SOFTWARE", "HKLM\\SOFTWARE\\Classes\\X", "SOFTWARE\\Classes\\X"},  // likewise
      {"HKCU", "HKU\\S-1-5-21-7\\A\\B", "A\\B"},
      {"HKU\\.DEFAULT", "HKCU\\A", "A"},
      {"HKU", "HKCU\\A", "A"},
      {"HKU\\S-1-5-21-7", "HKU\\S-1-5-21-9_Classes\\X", "SOFTWARE\\Classes\\X"},
      {"HKU\\S-1-5-21-7", "HKCR\\X", "SOFTWARE\\Classes\\X"},
      {"HKCR", "HKCU\\SOFTWARE\\Classes\\A", "A"},
      {"", "HKLM\\SOFTWARE\\A\\B\\gone", "A\\B", false},
      {"", "HKLM\\SOFTWARE\\A\\B\\C", "A\\B\\C"},
      {"", "HKLM\\SAM\\gone", nullptr},
      {"", "ROOT", ""},
      {"", "ROOT\\gone", "", false},
      {"{1}", "{2}\\A\\B", "A\\B"},
  };
  Check(opened, kCases);
  EXPECT_EQ(FindKeyPath(opened.hive, KeyTree(), "HKLM").item, kNoItem);
}

TEST(KeyPathTest, ControlSets) {
  HiveBuilder builder;
  for (const char* key : {"ControlSet001\\A", "ControlSet001\\Old", "ControlSet012\\A\\B",
                          "ControlSet012\\Hardware Profiles\\Current\\P", "Services"}) {
    builder.Key(key);
  }
  builder.Key("Select").Dword("Current", 12).Dword("Default", 1);
  OpenedHive opened(builder.Build());
  constexpr Case kCases[] = {
      {"HKLM\\SYSTEM", "HKLM\\SYSTEM\\CurrentControlSet\\A", "ControlSet012\\A"},
      {"HKLM\\SYSTEM", "HKLM\\SYSTEM\\CurrentControlSet\\Old", "ControlSet001\\Old"},
      {"HKLM\\SYSTEM", "HKLM\\SYSTEM\\ControlSet001\\A\\B", "ControlSet001\\A", false},
      {"HKLM\\SYSTEM", "HKLM\\SYSTEM\\ControlSet003\\A\\B", "ControlSet012\\A\\B"},
      {"HKLM\\SYSTEM", "HKCC\\P", "ControlSet012\\Hardware Profiles\\Current\\P"},
      {"HKLM\\SYSTEM", "HKLM\\SYSTEM\\ControlSet001\\Services", "Services"},  // it is one alone
      {"HKLM\\SYSTEM\\ControlSet002", "HKLM\\SYSTEM\\CurrentControlSet\\Services", "Services"},
      {"HKLM\\SYSTEM\\ControlSet002", "HKLM\\SYSTEM\\ControlSet001\\Old", "ControlSet001\\Old"},
      {"", "HKLM\\SYSTEM\\CurrentControlSet\\Old", "ControlSet001\\Old"},
  };
  Check(opened, kCases);
}

TEST(KeyPathTest, DeletedKeys) {
  HiveBuilder builder;
  builder.Key("A\\B\\C");
  builder.Key("A\\D");
  BuiltHive built = builder.Build();
  built.Unlink("A\\B");
  OpenedHive opened(built);
  constexpr Case kCases[] = {
      {"HKLM\\SAM", "HKLM\\SAM\\A\\B\\C", "Disconnected Keys\\A\\B\\C"},
      {"HKLM\\SAM", "HKLM\\SAM\\Disconnected Keys\\A\\B", "Disconnected Keys\\A\\B"},
      {"HKLM\\SAM", "HKLM\\SAM\\Disconnected Keys\\A\\D", "A\\D"},
      {"HKLM\\SAM", "HKLM\\SAM\\A\\gone", "A", false},
      {"HKLM\\SAM", "HKLM\\SAM\\A\\B\\gone", "Disconnected Keys\\A\\B", false},
      {"HKLM\\SAM", "HKLM\\SAM\\Disconnected Keys", "Disconnected Keys"},
  };
  Check(opened, kCases);
  HideBranch(opened.tree, opened.Item("A\\D"));
  EXPECT_FALSE(FindKeyPath(opened.hive, opened.tree, "HKLM\\SAM\\A\\D").whole);
}

TEST(RecentKeysTest, KeptOverARestart) {
  const TempFile file("[KAS]\r\nDI=1\r\n[RKS]\r\nRK0=HKLM\\theirs\r\nRK7=%C3\r\n");
  RecentKeys keys;
  for (int i = 0; i < 30; ++i) AddRecentKey(keys, "HKLM\\" + std::to_string(i));
  EXPECT_EQ(keys.size(), kRecentKeys);
  keys.resize(3);
  for (const char* path : {"HKCU\\\xD0\x96 ", "HKEY_LOCAL_MACHINE\\28", "", "\\"}) {
    AddRecentKey(keys, path);
  }
  ASSERT_TRUE(WriteRecentKeys(file.name(), keys));
  EXPECT_EQ(ContentOf(file.name()).find("\x96"), std::string::npos);
  RecentKeys read = {"HKLM\\old"};
  ReadRecentKeys(file.name(), read);
  const std::string machine = "HKEY_LOCAL_MACHINE\\";
  EXPECT_EQ(read, (RecentKeys{machine + "28", "HKEY_CURRENT_USER\\\xD0\x96 ", machine + "29",
                              machine + "27", machine + "theirs"}));
  EXPECT_TRUE(ContentOf(file.name()).starts_with("[KAS]\r\nDI=1\r\n[RKS]\r\n"));
  EXPECT_FALSE(WriteRecentKeys(file.name() + "/none", keys));
}

}  // namespace
}  // namespace hivequarry
