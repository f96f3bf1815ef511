// What bookmarks lead to, in their own hive and in others.
#include "view/bookmark_places.h"

#include <gtest/gtest.h>

#include "host/files.h"
#include "lists/list_rows.h"
#include "tests/support/freed_hives.h"
#include "tests/support/opened_hive.h"

namespace hivequarry {
namespace {

using testing::HiveBuilder;
using testing::OpenedHive;

const std::string kHash(64, '1');

// One hive in the state that the bookmarks were set in, with a hash where it is to be known.
struct Looked {
  explicit Looked(const OpenedHive& of, std::string hash = {}) : opened(of) {
    hashes.hive = std::move(hash);
  }
  BookmarkedHive look() const { return {&opened.hive, &opened.tree, freed.get(), &hashes}; }
  const OpenedHive& opened;
  HiveHashes hashes;
  std::shared_ptr<const FreedTree> freed;
};

uint32_t ValueOf(const OpenedHive& opened, std::string_view path, size_t index) {
  return ListedValues(opened.hive, opened.At(path).position).at(index);
}

TEST(BookmarkPlaces, InItsOwnHiveEachIsWhereItWas) {
  HiveBuilder builder;
  builder.Key("A\\B").Dword("one", 1).Dword("", 2);
  const OpenedHive opened(builder.Build());
  const Looked looked(opened, kHash);
  const BookmarkedHive look = looked.look();
  const uint32_t b = opened.Item("\\A\\B");
  const uint32_t nameless = ValueOf(opened, "\\A\\B", 1);
  OutputListPtr list = MakeOutputList(kListDetail);
  SetColumns(*list, {"x"});
  AddListRow(*list, {"text"}, nameless);
  const struct {
    Bookmark bookmark;
    uint32_t position;
    const char* title;  // how it ends
  } cases[] = {
      {BookmarkOfKey(look, b), opened.tree.items[b].position, "A\\B"},
      {BookmarkOfValue(look, b, nameless), nameless, "A\\B : (Default value)"},
      {BookmarkOfRow(look, *list, 0, kNoOffset), nameless, " : text"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.title);
    EXPECT_TRUE(BookmarkTitle(c.bookmark).ends_with(c.title)) << BookmarkTitle(c.bookmark);
    const FoundBookmark found = FindBookmark(look, c.bookmark);
    EXPECT_EQ(found.state, BookmarkState::kThere);
    EXPECT_EQ(found.item, b);
    EXPECT_EQ(found.position, c.position);
    EXPECT_EQ(BookmarkRemarks(look, found, c.bookmark), "");
  }
}

TEST(BookmarkPlaces, InAnotherHiveThePathLeadsAndItIsSaid) {
  HiveBuilder builder;
  builder.Key("A\\B").Dword("one", 1).Dword("two", 2);
  builder.Key("Gone").Dword("v", 1);
  const OpenedHive before(builder.Build());
  HiveBuilder later;
  later.Key("0").Binary("fill", 900);  // what comes after it is elsewhere
  later.Key("A\\B").Dword("TWO", 2);
  const OpenedHive after(later.Build());
  const Looked then(before, kHash);
  const Looked now(after, std::string(64, '2'));
  const uint32_t b = before.Item("\\A\\B");
  const struct {
    Bookmark bookmark;
    BookmarkState state;
    const char* words;
  } cases[] = {
      {BookmarkOfKey(then.look(), b), BookmarkState::kMoved, "found by its path at 0x"},
      {BookmarkOfValue(then.look(), b, ValueOf(before, "\\A\\B", 1)), BookmarkState::kMoved,
       "The value is no longer at 0x"},
      {BookmarkOfValue(then.look(), b, ValueOf(before, "\\A\\B", 0)), BookmarkState::kValueGone,
       "no such value"},
      {BookmarkOfKey(then.look(), before.Item("\\Gone")), BookmarkState::kAncestor,
       "the nearest one above"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(BookmarkTitle(c.bookmark));
    const FoundBookmark found = FindBookmark(now.look(), c.bookmark);
    EXPECT_EQ(found.state, c.state);
    const std::string words = BookmarkRemarks(now.look(), found, c.bookmark);
    EXPECT_NE(words.find(c.words), std::string::npos) << words;
    EXPECT_NE(words.find("Set in another hive: " + FullName(before.hive.file_name)),
              std::string::npos);
    EXPECT_EQ(HiveOfBookmark(std::vector{now.look(), then.look()}, 0, c.bookmark), 1U);
  }
}

TEST(BookmarkPlaces, WithoutAHashTheNameTellsTheFile) {
  HiveBuilder builder;
  builder.Key("A");
  const OpenedHive opened(builder.Build());
  const Looked looked(opened);
  Bookmark bookmark = BookmarkOfKey(looked.look(), opened.Item("\\A"));
  EXPECT_EQ(FileOfBookmark(looked.look(), bookmark), BookmarkFile::kSame);
  bookmark.hive = "elsewhere";
  EXPECT_EQ(FileOfBookmark(looked.look(), bookmark), BookmarkFile::kUnknown);
  bookmark.hive = opened.hive.file_name;
  bookmark.sha256 = kHash;
  const Looked changed(opened, std::string(64, '2'));
  EXPECT_NE(BookmarkRemarks(changed.look(), FindBookmark(changed.look(), bookmark), bookmark)
                .find("another content"),
            std::string::npos);
  // A position that the file does not have leads nowhere.
  bookmark.position = 0xFFFFFFF0;
  EXPECT_EQ(FindBookmark(changed.look(), bookmark).state, BookmarkState::kMoved);
}

TEST(BookmarkPlaces, DeletedRecordsAreFoundWhereTheyWere) {
  const OpenedHive opened(testing::HiveWithDeletedKeys());
  Looked looked(opened, kHash);
  looked.freed = FindFreedTree(opened.hive, opened.tree);
  const FreedRecords& records = looked.freed->records;
  ASSERT_FALSE(records.keys.empty());
  for (const FreedKey& key : records.keys) {
    const Bookmark bookmark = BookmarkOfDeletedKey(looked.look(), key.position);
    EXPECT_FALSE(bookmark.path.empty());
    const FoundBookmark found = FindBookmark(looked.look(), bookmark);
    EXPECT_EQ(found.state, BookmarkState::kThere);
    EXPECT_EQ(found.position, key.position);
  }
  ASSERT_FALSE(records.values.empty());
  for (const FreedValue& value : records.values) {
    const Bookmark bookmark = BookmarkOfValue(looked.look(), kNoItem, value.position);
    EXPECT_EQ(FindBookmark(looked.look(), bookmark).position, value.position);
  }
}

}  // namespace
}  // namespace hivequarry
