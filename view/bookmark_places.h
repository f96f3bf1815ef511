// What bookmarks are made of, and what they lead to in the hives that are open.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "app/bookmarks.h"
#include "hive/image.h"
#include "hive/key_tree.h"
#include "lists/output_list.h"
#include "reports/hive_state.h"
#include "view/freed_tree.h"

namespace hivequarry {

// An open hive, looked at. Positions in it are those of the image.
struct BookmarkedHive {
  const HiveImage* hive = nullptr;
  const KeyTree* tree = nullptr;
  const FreedTree* freed = nullptr;    // null: what was deleted is not known, or not shown
  const HiveHashes* hashes = nullptr;  // null, or without texts, while they are not known
};

// A key of the tree, and the deleted key at a position; its path is empty for what has none.
Bookmark BookmarkOfKey(const BookmarkedHive& of, uint32_t item);
Bookmark BookmarkOfDeletedKey(const BookmarkedHive& of, uint32_t position);
// The value at a position, deleted or not, that an item of the tree shows; kNoItem for one that a
// deleted key shows.
Bookmark BookmarkOfValue(const BookmarkedHive& of, uint32_t item, uint32_t position);
// A row of a list. `key`: position of the key that it belongs to where its own record is no key's;
// kNoOffset where that is not known. A row that belongs to no key has the path of the root.
Bookmark BookmarkOfRow(const BookmarkedHive& of, const OutputList& list, uint32_t row,
                       uint32_t key);

// What is left of what a bookmark leads to. In this order: up to kMoved the thing itself is there.
enum class BookmarkState : uint8_t {
  kThere,
  kMoved,      // found by its path, where another place was noted
  kAncestor,   // there is but a key above it
  kValueGone,  // the key is there, without the value
  kMissing,
};
// Where a bookmark leads in one hive.
struct FoundBookmark {
  BookmarkState state = BookmarkState::kMissing;
  uint32_t item = kNoItem;        // the key, or the nearest one above; kNoItem for a deleted one
  uint32_t position = kNoOffset;  // of the record of key, value or row; kNoOffset when not known
};
// First at the position that was noted: in the same file whatever is there is meant, in another one
// what has the path. Then by the path (app/key_paths.h), and by the value's name. Of a value or a
// row it may take a look at all keys and their value lists (ItemShowing).
FoundBookmark FindBookmark(const BookmarkedHive& in, const Bookmark& bookmark);

// Whether a hive's file is the one that the bookmark was set in.
enum class BookmarkFile : uint8_t {
  kSame,     // by its hash; by its name where that is not known
  kUnknown,  // another name, and no hash to tell
  kOther,
};
// Whether the hive is the file that the bookmark was set in.
BookmarkFile FileOfBookmark(const BookmarkedHive& hive, const Bookmark& bookmark);

// What is not as it was, in plain sentences: another place, a key that is gone, another file. Empty
// where all is as it was.
std::string BookmarkRemarks(const BookmarkedHive& in, const FoundBookmark& found,
                            const Bookmark& bookmark);

// Which of several hives a bookmark is of: the one of its file, else the first that holds the thing
// itself, `preferred` before all others; `preferred` where none does. Where no file fits the
// bookmark is looked for in each of them (FindBookmark).
size_t HiveOfBookmark(std::span<const BookmarkedHive> hives, size_t preferred,
                      const Bookmark& bookmark);

}  // namespace hivequarry
