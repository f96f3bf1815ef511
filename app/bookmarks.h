// Bookmarks: keys that the user wants to come back to, in a text file beside the program.
//
// The file is UTF-8 text, a bookmark a line, the newest first. Its fields are apart by tabs:
//
//   key path   time (UTC, "2026-11-21T13:05:00Z")   hive file   note
//
// Further fields are left alone. A line may be the path alone when its root is one of the registry.
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

namespace hivequarry {

inline constexpr size_t kMaxBookmarkFile = size_t{1} << 20;  // bytes
inline constexpr size_t kMaxBookmarkLine = 4096;             // bytes, without the line's end
inline constexpr size_t kMaxBookmarkText = 500;              // bytes of a note, or of a file's name

struct Bookmark {
  std::string path;   // a key path (key_paths.h)
  uint64_t time = 0;  // FILETIME, UTC; 0 when not known
  std::string hive;   // the hive file in which it was set, UTF-8; may be empty
  std::string note;   // UTF-8; may be empty
};

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
// Writes them to the file. A failure leaves the old file whole.
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
// Puts a bookmark before all others; one of the same key goes, but leaves its note to a new
// one without, and its further fields. Notes and names of files become one line of at most
// kMaxBookmarkText bytes. Without a time it gets that of now.
BookmarkChange AddBookmark(Bookmarks& bookmarks, Bookmark bookmark);
// Changes the note of a line that is a bookmark; nothing else of the line that can be read is lost.
BookmarkChange SetBookmarkNote(Bookmarks& bookmarks, size_t line, std::string_view note);
// Takes the bookmark of a key out; false when there is none.
bool DeleteBookmark(Bookmarks& bookmarks, std::string_view path);

// What the list of bookmarks shows: "All", "HKLM", "HKCU", "HKU". Bookmarks of HKEY_CLASSES_ROOT
// and HKEY_CURRENT_CONFIG count to HKLM, whose branch these roots show; those without a registry
// root, and of the roots that hold no keys of hives, are shown under "All" alone.
enum class BookmarkFilter { kAll, kMachine, kUser, kUsers };
inline constexpr const char* kBookmarkFilterNames[] = {"All", "HKLM", "HKCU", "HKU"};
// The numbers of the lines that are shown, in the file's order.
std::vector<size_t> ShownBookmarks(const Bookmarks& bookmarks, BookmarkFilter filter);

}  // namespace hivequarry
