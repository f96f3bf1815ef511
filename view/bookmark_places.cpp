#include "view/bookmark_places.h"

#include <algorithm>

#include "app/key_paths.h"
#include "hive/file_place.h"
#include "hive/values.h"
#include "host/case.h"
#include "host/files.h"
#include "host/number_text.h"
#include "host/text.h"
#include "view/freed_words.h"
#include "view/list_commands.h"
#include "view/tree_find.h"
#include "words/item_values.h"

namespace hivequarry {
namespace {

// In small digits, as bookmarks have them; empty while it is not known.
std::string HashOf(const BookmarkedHive& hive) {
  std::string hash = hive.hashes == nullptr ? std::string() : hive.hashes->hive;
  std::ranges::transform(hash, hash.begin(), SmallLetter);
  return hash;
}

// The very file: only then a position alone proves anything.
bool IsSure(const BookmarkedHive& hive, const Bookmark& bookmark) {
  return !bookmark.sha256.empty() && bookmark.sha256 == HashOf(hive);
}

// Earlier versions kept the name as it was given.
bool HasNameOf(const BookmarkedHive& hive, const Bookmark& bookmark) {
  const std::string& name = hive.hive->file_name;
  return EqualIgnoringCase(bookmark.hive, FullName(name)) || EqualIgnoringCase(bookmark.hive, name);
}

Bookmark MarkOf(const BookmarkedHive& of, uint32_t position) {
  Bookmark bookmark;
  bookmark.hive = FullName(of.hive->file_name);
  bookmark.sha256 = HashOf(of);
  if (position < of.hive->length) bookmark.position = FilePositionOf(*of.hive, position);
  return bookmark;
}

std::string NameOfValue(const HiveImage& hive, uint32_t position) {
  const WholeReading whole;
  return ReadValueKey(hive, position, ValueRead::kName, 0, nullptr).name;
}

// Of a key of the tree, or a deleted one.
std::string PathOfKeyAt(const BookmarkedHive& of, uint32_t position) {
  const uint32_t item = ItemOfPosition(*of.tree, position);
  if (item != kNoItem) return KeyPathOf(*of.hive, *of.tree, item);
  const uint32_t deleted = of.freed == nullptr ? kNoItem : FreedItemAt(*of.freed, position);
  if (deleted == kNoItem) return {};
  return KeyPathOfShown(FreedItemPath(*of.hive, *of.tree, *of.freed, deleted));
}

// Of the key of a deleted value; empty for other rows.
std::string PathOfFreedValue(const BookmarkedHive& of, const OutputList& list, uint32_t row) {
  if (of.freed == nullptr || !RowHasDatum(list, row)) return {};
  const FreedValue* value = FreedValueAt(of.freed->records, RowDatum(list, row));
  return value == nullptr || value->key == kNoOffset ? std::string() : PathOfKeyAt(of, value->key);
}

// By the row's own record, else by the key that it belongs to, else by the path that the row shows.
// Empty for a row that belongs to no key.
std::string PathOfRow(const BookmarkedHive& of, const OutputList& list, uint32_t row,
                      uint32_t key) {
  if (RowHasDatum(list, row)) {
    std::string path = PathOfKeyAt(of, RowDatum(list, row));
    const uint32_t item =
        path.empty() ? ItemShowing(*of.hive, *of.tree, RowDatum(list, row)) : kNoItem;
    if (item != kNoItem) path = KeyPathOf(*of.hive, *of.tree, item);
    if (!path.empty()) return path;
  }
  std::string path = PathOfFreedValue(of, list, row);
  if (path.empty() && key != kNoOffset) path = PathOfKeyAt(of, key);
  if (!path.empty()) return path;
  const std::string_view shown = KeyPathOfRow(list, row);
  const uint32_t item = shown.empty() ? 0 : FindItemByPath(*of.hive, *of.tree, shown);
  return item == kNoItem ? KeyPathOfShown(shown) : KeyPathOf(*of.hive, *of.tree, item);
}

// The image position of one in the file; kNoOffset where the image has nothing of it. Bytes that
// were moved or left out while opening are elsewhere, so the way back must lead to the same place.
uint32_t ImagePositionOf(const HiveImage& hive, uint32_t in_file) {
  if (in_file == kNoOffset || in_file < hive.base_offset) return kNoOffset;
  const uint32_t position = PositionOfPlace(hive, in_file - hive.base_offset);
  const bool there = position < hive.length && FilePositionOf(hive, position) == in_file;
  return there ? position : kNoOffset;
}

bool IsShown(const KeyTree& tree, uint32_t item) {
  return item != kNoItem && !tree.items[item].hidden;
}

// kMissing where not even the first name of the path is there.
FoundBookmark FindByPath(const BookmarkedHive& in, const Bookmark& bookmark) {
  const FoundKey found = FindKeyPath(*in.hive, *in.tree, bookmark.path);
  if (found.item == kNoItem) return {};
  if (!found.whole) return {BookmarkState::kAncestor, found.item, kNoOffset};
  const bool cell = HasKeyCell(*in.tree, found.item);
  const uint32_t position = cell ? in.tree->items[found.item].position : kNoOffset;
  return {BookmarkState::kThere, found.item, position};
}

// Found by the path: moved when another place was noted.
FoundBookmark Judged(const BookmarkedHive& in, const Bookmark& bookmark, FoundBookmark found) {
  if (found.state != BookmarkState::kThere || bookmark.position == kNoOffset) return found;
  const bool there =
      found.position != kNoOffset && FilePositionOf(*in.hive, found.position) == bookmark.position;
  if (!there) found.state = BookmarkState::kMoved;
  return found;
}

// What is at the noted place counts where the file is the same for sure or the path agrees; a
// hidden key is not led to.
FoundBookmark FindKeyMark(const BookmarkedHive& in, const Bookmark& bookmark) {
  const uint32_t at = ImagePositionOf(*in.hive, bookmark.position);
  const std::string path = at == kNoOffset ? std::string() : PathOfKeyAt(in, at);
  if (!path.empty() && (IsSure(in, bookmark) || SameKeyPath(path, bookmark.path))) {
    const uint32_t item = ItemOfPosition(*in.tree, at);
    if (item == kNoItem || IsShown(*in.tree, item)) return {BookmarkState::kThere, item, at};
  }
  return Judged(in, bookmark, FindByPath(in, bookmark));
}

// The value where it was, below the key that it was of.
FoundBookmark FindValueAt(const BookmarkedHive& in, const Bookmark& bookmark) {
  const uint32_t at = ImagePositionOf(*in.hive, bookmark.position);
  if (at == kNoOffset) return {};
  const FreedValue* deleted = in.freed == nullptr ? nullptr : FreedValueAt(in.freed->records, at);
  if (deleted != nullptr) {
    const bool same =
        deleted->key != kNoOffset && SameKeyPath(PathOfKeyAt(in, deleted->key), bookmark.path);
    const bool meant = IsSure(in, bookmark) || same;
    return meant ? FoundBookmark{BookmarkState::kThere, kNoItem, at} : FoundBookmark{};
  }
  const uint32_t item = ItemShowing(*in.hive, *in.tree, at);
  if (!IsShown(*in.tree, item) || in.tree->items[item].position == at) return {};
  if (!EqualIgnoringCase(NameOfValue(*in.hive, at), bookmark.value)) return {};
  const bool same = SameKeyPath(KeyPathOf(*in.hive, *in.tree, item), bookmark.path);
  if (!IsSure(in, bookmark) && !same) return {};
  return {BookmarkState::kThere, item, at};
}

// At its place, else by the key's path and the value's name, of which the first in the list is
// taken.
FoundBookmark FindValueMark(const BookmarkedHive& in, const Bookmark& bookmark) {
  const FoundBookmark at = FindValueAt(in, bookmark);
  if (at.state == BookmarkState::kThere) return at;
  FoundBookmark found = FindByPath(in, bookmark);
  if (found.state != BookmarkState::kThere) return found;
  const uint32_t key = found.position;
  found.state = BookmarkState::kValueGone;
  if (key == kNoOffset) return found;
  for (const uint32_t position : ListedValues(*in.hive, key)) {
    if (!EqualIgnoringCase(NameOfValue(*in.hive, position), bookmark.value)) continue;
    return Judged(in, bookmark, {BookmarkState::kThere, found.item, position});
  }
  return found;
}

// A row is not found again itself: what it was about is, and the key that it belonged to.
FoundBookmark FindRowMark(const BookmarkedHive& in, const Bookmark& bookmark) {
  FoundBookmark found = FindByPath(in, bookmark);
  if (bookmark.position == kNoOffset) {
    found.position = kNoOffset;
    return found;
  }
  const uint32_t at = ImagePositionOf(*in.hive, bookmark.position);
  const uint32_t item = at == kNoOffset ? kNoItem : ItemShowing(*in.hive, *in.tree, at);
  const bool same = IsShown(*in.tree, item) && item == found.item;
  if (at != kNoOffset && (same || IsSure(in, bookmark))) {
    return {BookmarkState::kThere, IsShown(*in.tree, item) ? item : found.item, at};
  }
  if (found.state == BookmarkState::kThere) found.state = BookmarkState::kMoved;
  return found;
}

std::string PlaceWordsOf(const BookmarkedHive& in, uint32_t position) {
  return HexNumber(FilePositionOf(*in.hive, position));
}

std::string StateWordsOf(const BookmarkedHive& in, const FoundBookmark& found,
                         const Bookmark& bookmark) {
  switch (found.state) {
    case BookmarkState::kThere:
      return {};
    case BookmarkState::kMoved:
      if (bookmark.kind == BookmarkKind::kRow || found.position == kNoOffset) {
        return Concat({"What it was about is no longer at ", HexNumber(bookmark.position),
                       "; its key is found by its path."});
      }
      return Concat({bookmark.kind == BookmarkKind::kKey ? "The key" : "The value",
                     " is no longer at ", HexNumber(bookmark.position), "; found by its path at ",
                     PlaceWordsOf(in, found.position), "."});
    case BookmarkState::kAncestor:
      return "The key is not there; this is the nearest one above it.";
    case BookmarkState::kValueGone:
      return "The key has no such value.";
    case BookmarkState::kMissing:
      return "This hive does not hold the key.";
  }
  return {};
}

}  // namespace

Bookmark BookmarkOfKey(const BookmarkedHive& of, uint32_t item) {
  const bool cell = HasKeyCell(*of.tree, item);
  Bookmark bookmark = MarkOf(of, cell ? of.tree->items[item].position : kNoOffset);
  bookmark.path = KeyPathOf(*of.hive, *of.tree, item);
  return bookmark;
}

Bookmark BookmarkOfDeletedKey(const BookmarkedHive& of, uint32_t position) {
  Bookmark bookmark = MarkOf(of, position);
  bookmark.path = PathOfKeyAt(of, position);
  return bookmark;
}

Bookmark BookmarkOfValue(const BookmarkedHive& of, uint32_t item, uint32_t position) {
  Bookmark bookmark = MarkOf(of, position);
  bookmark.kind = BookmarkKind::kValue;
  bookmark.value = NameOfValue(*of.hive, position);
  const FreedValue* deleted =
      of.freed == nullptr ? nullptr : FreedValueAt(of.freed->records, position);
  if (deleted != nullptr && deleted->key != kNoOffset)
    bookmark.path = PathOfKeyAt(of, deleted->key);
  // A deleted value of no known key is bookmarked below what shows it.
  if (bookmark.path.empty()) {
    bookmark.path =
        item == kNoItem ? KeyPathOfShown(kFreedTitle) : KeyPathOf(*of.hive, *of.tree, item);
  }
  return bookmark;
}

Bookmark BookmarkOfRow(const BookmarkedHive& of, const OutputList& list, uint32_t row,
                       uint32_t key) {
  Bookmark bookmark = MarkOf(of, RowHasDatum(list, row) ? RowDatum(list, row) : kNoOffset);
  bookmark.kind = BookmarkKind::kRow;
  bookmark.list = ListKindOf(list);
  bookmark.path = PathOfRow(of, list, row, key);
  for (int column = 0; column < ColumnCount(list); ++column) {
    const std::string_view cell = CellText(list, row, column);
    // AddBookmark cuts the row to what a line of the file holds; here it only must not grow on and
    // on.
    if (cell.empty() || bookmark.row.size() > kMaxBookmarkText) continue;
    if (!bookmark.row.empty()) bookmark.row += "; ";
    bookmark.row += FirstUnits(cell, kMaxBookmarkText);
  }
  return bookmark;
}

FoundBookmark FindBookmark(const BookmarkedHive& in, const Bookmark& bookmark) {
  if (in.tree->items.empty()) return {};
  switch (bookmark.kind) {
    case BookmarkKind::kValue:
      return FindValueMark(in, bookmark);
    case BookmarkKind::kRow:
      return FindRowMark(in, bookmark);
    default:
      return FindKeyMark(in, bookmark);
  }
}

// Hashes decide where both are known, whatever the names.
BookmarkFile FileOfBookmark(const BookmarkedHive& hive, const Bookmark& bookmark) {
  const std::string hash = HashOf(hive);
  if (!hash.empty() && !bookmark.sha256.empty()) {
    return hash == bookmark.sha256 ? BookmarkFile::kSame : BookmarkFile::kOther;
  }
  const bool named = bookmark.hive.empty() || HasNameOf(hive, bookmark);
  return named ? BookmarkFile::kSame : BookmarkFile::kUnknown;
}

std::string BookmarkRemarks(const BookmarkedHive& in, const FoundBookmark& found,
                            const Bookmark& bookmark) {
  std::string words = StateWordsOf(in, found, bookmark);
  const BookmarkFile file = FileOfBookmark(in, bookmark);
  if (file == BookmarkFile::kSame) return words;
  if (!words.empty()) words += ' ';
  const bool same_name = HasNameOf(in, bookmark);
  if (same_name) return words + "The file has another content than when the bookmark was set.";
  words += file == BookmarkFile::kOther ? "Set in another hive" : "Set in a file of another name";
  if (!bookmark.hive.empty()) words += ": " + bookmark.hive;
  return words + ".";
}

size_t HiveOfBookmark(std::span<const BookmarkedHive> hives, size_t preferred,
                      const Bookmark& bookmark) {
  // The number of the first that fits, the preferred one before all; that of all hives for none.
  const auto first = [&](auto fits) {
    if (preferred < hives.size() && fits(hives[preferred])) return preferred;
    return static_cast<size_t>(std::ranges::find_if(hives, fits) - hives.begin());
  };
  size_t found = first([&](const BookmarkedHive& hive) { return IsSure(hive, bookmark); });
  if (found == hives.size() && !bookmark.hive.empty()) {
    found = first([&](const BookmarkedHive& hive) {
      return FileOfBookmark(hive, bookmark) == BookmarkFile::kSame;
    });
  }
  if (found == hives.size()) {
    found = first([&](const BookmarkedHive& hive) {
      return FindBookmark(hive, bookmark).state <= BookmarkState::kMoved;
    });
  }
  return found == hives.size() ? preferred : found;
}

}  // namespace hivequarry
