// Bookmarks: keys, values and rows of lists that the user wants to come back to, in a text file.
//
// The file is UTF-8 text, a bookmark a line, the newest first. Its fields are apart by tabs:
//
//   key path   time (UTC, "2026-11-21T13:05:00Z")   hive file   note
//
// and after these, each where it is known and in any order:
//
//   value=NAME      the bookmark is of a value: its name, written as names in paths are
//   list=NUMBER     it is of a row of a list of that kind, whose key the path is,
//   row=TEXT        and this is what the row showed
//   at=0x00001020   where the record of key, value or row is in the file
//   sha256=DIGITS   of that file
//   tags=A, B
//
// Other fields there are left alone; readers that know the first four alone see a bookmark of the
// key. A line may be the path alone when its root is one of the registry.
// Lines of "#" or ";" are remarks. They and every line that can't be read (too long, no UTF-8, a
// time that is none) are passed over and stay where they are when the file is written again; so
// does the wording of each bookmark that is not changed.
//
// Every copy of the program has the file open for a moment only: load it anew before a change, save
// it right after.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "hive/image.h"

namespace hivequarry {

inline constexpr size_t kMaxBookmarkFile = size_t{1} << 20;  // bytes
inline constexpr size_t kMaxBookmarkLine = 4096;             // bytes, without the line's end
// Bytes of a note, a file's name, a row, or all tags.
inline constexpr size_t kMaxBookmarkText = 500;

// What a bookmark leads to.
enum class BookmarkKind : uint8_t { kKey, kValue, kRow };

// One line of the bookmark file.
struct Bookmark {
  std::string path;   // a key path (key_paths.h)
  uint64_t time = 0;  // FILETIME, UTC; 0 when not known
  std::string hive;   // the hive file in which it was set, UTF-8; may be empty
  std::string note;   // UTF-8; may be empty
  BookmarkKind kind = BookmarkKind::kKey;
  std::string value = {};         // of kValue: its name; empty for the default value
  int list = 0;                   // of kRow: the kind of its list
  std::string row = {};           // what it showed
  uint32_t position = kNoOffset;  // in the file; kNoOffset when not known
  std::string sha256 = {};        // of the file, small hexadecimal digits; empty when not known
  std::vector<std::string> tags = {};  // UTF-8
  std::string further = {};            // fields that are not known here
};

// Lines that are no bookmarks are kept as they are when the file is written again.
struct BookmarkLine {
  std::string text;       // as it is in the file, with its end
  bool readable = false;  // it is a bookmark
  Bookmark bookmark;
};

// The file as it was at one moment: other copies of the program may have written since.
struct Bookmarks {
  std::vector<BookmarkLine> lines;  // as they are in the file
  bool whole = false;               // the lines are all that the file holds; else it is not written
};

// Reads the file (UTF-8 name); a missing one holds no bookmarks. False when it can't be read, or
// when it is too long: its first lines are there then, but it can't be written.
bool LoadBookmarks(const std::string& file, Bookmarks& bookmarks);
// Writes them to the file. False, with the old file whole, on failure and for lines that are not
// all that the file holds.
bool SaveBookmarks(const std::string& file, const Bookmarks& bookmarks);
// One line without its end. False, and nothing changed, when it is no bookmark.
bool ReadBookmarkLine(std::string_view text, Bookmark& bookmark);

// What became of a change; with the last two nothing has changed.
enum class BookmarkChange {
  kDone,
  kMoved,    // it was there already, and is first now
  kBadPath,  // the path names nothing, or is too long
  kFull,     // the file, or the line, would become too long
};
// Puts a bookmark before all others; one of the same thing goes, but leaves its note and tags to a
// new one without, and its further fields. Notes, rows and names of files become one line of at
// most kMaxBookmarkText bytes. Without a time it gets that of now.
BookmarkChange AddBookmark(Bookmarks& bookmarks, Bookmark bookmark);
// Changes note and tags of a line that is a bookmark; nothing else of the line that can be read is
// lost.
BookmarkChange SetBookmarkNote(Bookmarks& bookmarks, size_t line, std::string_view note);
BookmarkChange SetBookmarkTags(Bookmarks& bookmarks, size_t line, std::string_view tags);
// Takes the bookmark of a thing out; false when there is none.
bool DeleteBookmark(Bookmarks& bookmarks, const Bookmark& bookmark);
// The line of that bookmark, else the first one of the same thing; the number of lines when there
// is none.
size_t FindBookmarkLine(const Bookmarks& bookmarks, const Bookmark& bookmark);
// True when both are of the same key, value or row. Bookmarks whose files are known to differ are
// of two things, and so are those of two places in one file.
bool SameBookmark(const Bookmark& a, const Bookmark& b);

// The tags in a text that has commas between them: without blanks around, none twice.
std::vector<std::string> TagsOf(std::string_view words);
std::string TagWords(const std::vector<std::string>& tags);
// Those of all bookmarks, in the order of the alphabet.
std::vector<std::string> AllTags(const Bookmarks& bookmarks);
// What it is of, as a user reads it: the key's path, then the value's name or what the row showed.
std::string BookmarkTitle(const Bookmark& bookmark);

// What the list of bookmarks shows: "All", "HKLM", "HKCU", "HKU". Bookmarks of HKEY_CLASSES_ROOT
// and HKEY_CURRENT_CONFIG count to HKLM, whose branch these roots show; those without a registry
// root, and of the roots that hold no keys of hives, are shown under "All" alone.
enum class BookmarkFilter { kAll, kMachine, kUser, kUsers };
inline constexpr const char* kBookmarkFilterNames[] = {"All", "HKLM", "HKCU", "HKU"};
// The numbers of the lines that are shown, in the file's order.
std::vector<size_t> ShownBookmarks(const Bookmarks& bookmarks, BookmarkFilter filter);
// Those that have all words of a text: in title, note or tags, capital and small letters alike;
// `tag:word` is met by that tag alone. Quotes keep blanks: `tag:"to do"`.
std::vector<size_t> BookmarksWith(const Bookmarks& bookmarks, std::string_view words);

}  // namespace hivequarry
