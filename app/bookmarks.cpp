#include "app/bookmarks.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdio>

#include "app/key_paths.h"
#include "hive/root_path.h"
#include "hive/timestamp.h"
#include "host/files.h"
#include "host/host.h"
#include "host/number_text.h"
#include "host/output_file.h"

namespace hivequarry {
namespace {

constexpr std::string_view kHeading =
    "# Bookmarks: key, time (UTC), hive file, note; tabs stand between them\r\n";
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

bool IsControl(char c) { return static_cast<uint8_t>(c) < 0x20 || c == 0x7F; }

// One line of UTF-8 that fits its field.
std::string CleanText(std::string_view text) {
  std::string clean = StrictUtf8(text.substr(0, 4 * kMaxBookmarkText));
  std::ranges::replace_if(clean, IsControl, ' ');
  size_t end = std::min(clean.size(), kMaxBookmarkText);
  while (end > 0 && end < clean.size() && (clean[end] & 0xC0) == 0x80) --end;
  return clean.substr(0, end);
}

// Time

std::string TimeText(uint64_t time) {
  const CalendarTime at = CalendarOfFileTime(time);
  if (time == 0 || at.year > 9999) return {};
  return Concat({Decimal(at.year, 4), "-", Decimal(at.month, 2), "-", Decimal(at.day, 2), "T",
                 Decimal(at.hour, 2), ":", Decimal(at.minute, 2), ":", Decimal(at.second, 2), "Z"});
}

// The number that all of the text is; -1 when it is none.
int NumberOf(std::string_view text) {
  int number = -1;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && end == text.data() + text.size() ? number : -1;
}

// Reads what TimeText writes; an empty text is an unknown time.
bool ReadTime(std::string_view text, uint64_t& time) {
  constexpr std::string_view kForm = "0000-00-00T00:00:00Z";
  time = 0;
  if (text.empty()) return true;
  if (text.size() != kForm.size()) return false;
  for (size_t i = 0; i < kForm.size(); ++i) {
    if (kForm[i] != '0' && text[i] != kForm[i]) return false;
  }
  CalendarTime at;
  at.year = NumberOf(text.substr(0, 4));
  at.month = NumberOf(text.substr(5, 2));
  at.day = NumberOf(text.substr(8, 2));
  at.hour = NumberOf(text.substr(11, 2));
  at.minute = NumberOf(text.substr(14, 2));
  at.second = NumberOf(text.substr(17, 2));
  if (at.year < 1601 || at.month < 1 || at.month > 12 || at.day < 1 || at.hour < 0) return false;
  if (at.minute < 0 || at.second < 0) return false;
  time = FileTimeOfCalendar(at);
  return TimeText(time) == text;  // no day that its month does not have, no minute 60
}

// Lines

std::string_view CutField(std::string_view& text) {
  const std::string_view field = text.substr(0, text.find('\t'));
  text.remove_prefix(std::min(field.size() + 1, text.size()));
  return field;
}

std::string_view WithoutEnd(std::string_view line) {
  if (line.ends_with('\n')) line.remove_suffix(1);
  if (line.ends_with('\r')) line.remove_suffix(1);
  return line;
}

std::string LineOf(const Bookmark& bookmark) {
  return bookmark.path + '\t' + TimeText(bookmark.time) + '\t' + bookmark.hive + '\t' +
         bookmark.note;
}

// What is after the fields that are known.
std::string_view FurtherFields(std::string_view text) {
  for (int field = 0; field < 4; ++field) CutField(text);
  return text;
}

BookmarkLine MadeLine(Bookmark bookmark, std::string_view further) {
  BookmarkLine line;
  line.text = LineOf(bookmark);
  if (!further.empty()) line.text.append("\t").append(further);
  line.text += "\r\n";
  line.readable = true;
  line.bookmark = std::move(bookmark);
  return line;
}

bool IsTooLong(const BookmarkLine& line) { return WithoutEnd(line.text).size() > kMaxBookmarkLine; }

void SplitLines(std::string_view text, std::vector<BookmarkLine>& lines) {
  // Another line may come to be the first one, so an editor's mark does not stay.
  if (text.starts_with(kByteOrderMark)) text.remove_prefix(kByteOrderMark.size());
  while (!text.empty()) {
    const size_t end = std::min(text.find('\n'), text.size() - 1) + 1;
    BookmarkLine& line = lines.emplace_back();
    line.text = text.substr(0, end);
    line.readable = ReadBookmarkLine(WithoutEnd(line.text), line.bookmark);
    text.remove_prefix(end);
  }
}

size_t FileSizeOf(const std::vector<BookmarkLine>& lines) {
  size_t size = 0;
  for (const BookmarkLine& line : lines) size += line.text.size();
  return size;
}

// The first line of a bookmark of that key; the number of lines when there is none.
size_t FindLine(const std::vector<BookmarkLine>& lines, std::string_view path) {
  const auto found = std::ranges::find_if(lines, [path](const BookmarkLine& line) {
    return line.readable && SameKeyPath(line.bookmark.path, path);
  });
  return static_cast<size_t>(found - lines.begin());
}

void EraseLine(std::vector<BookmarkLine>& lines, size_t line) {
  lines.erase(lines.begin() + static_cast<ptrdiff_t>(line));
}

// Before the first bookmark, and after the remarks at the start of the file.
void InsertInFront(std::vector<BookmarkLine>& lines, BookmarkLine line) {
  if (lines.empty()) lines.push_back({std::string(kHeading), false, {}});
  const auto place =
      std::ranges::find_if(lines, [](const BookmarkLine& other) { return other.readable; });
  if (place == lines.end() && !lines.back().text.ends_with('\n')) lines.back().text += "\r\n";
  lines.insert(place, std::move(line));
}

bool IsShown(const Bookmark& bookmark, BookmarkFilter filter) {
  switch (filter) {
    case BookmarkFilter::kMachine:
      return RootGroupOf(bookmark.path) == RootGroup::kMachine;
    case BookmarkFilter::kUser:
      return RootGroupOf(bookmark.path) == RootGroup::kUser;
    case BookmarkFilter::kUsers:
      return RootGroupOf(bookmark.path) == RootGroup::kUsers;
    default:
      return true;
  }
}

// Reads at most one byte more than a file may have.
bool ReadText(std::FILE* stream, std::string& text) {
  char piece[16384];
  size_t taken = 0;
  do {
    taken = std::fread(piece, 1, sizeof piece, stream);
    text.append(piece, taken);
  } while (taken == sizeof piece && text.size() <= kMaxBookmarkFile);
  return std::ferror(stream) == 0;
}

}  // namespace

bool ReadBookmarkLine(std::string_view text, Bookmark& bookmark) {
  if (text.size() > kMaxBookmarkLine || text.starts_with('#') || text.starts_with(';')) {
    return false;
  }
  if (std::ranges::any_of(text, [](char c) { return IsControl(c) && c != '\t'; })) return false;
  if (!IsText(text)) return false;
  Bookmark read;
  const bool alone = text.find('\t') == std::string_view::npos;
  read.path = CleanKeyPath(CutField(text));
  if (read.path.empty() || !ReadTime(CutField(text), read.time)) return false;
  if (alone && RootGroupOf(read.path) == RootGroup::kOther) return false;
  read.hive = CutField(text);
  read.note = CutField(text);
  bookmark = std::move(read);
  return true;
}

bool LoadBookmarks(const std::string& file, Bookmarks& bookmarks) {
  bookmarks = Bookmarks();
  int error = 0;
  std::FILE* stream = OpenFile(file, "rb", error);
  if (stream == nullptr) return bookmarks.whole = error == ENOENT;
  std::string text;
  const bool read = ReadText(stream, text);
  std::fclose(stream);
  bookmarks.whole = read && text.size() <= kMaxBookmarkFile;
  if (!bookmarks.whole) text.resize(text.substr(0, kMaxBookmarkFile).rfind('\n') + 1);
  SplitLines(text, bookmarks.lines);
  return bookmarks.whole;
}

bool SaveBookmarks(const std::string& file, const Bookmarks& bookmarks) {
  if (!bookmarks.whole) return false;
  OutputFile output;
  int error = 0;
  if (!OpenOutput(file, OutputMode::kReplace, output, error)) return false;
  for (const BookmarkLine& line : bookmarks.lines) WriteOutput(output, line.text);
  return CloseOutput(output, true);
}

BookmarkChange AddBookmark(Bookmarks& bookmarks, Bookmark bookmark) {
  bookmark.path = CleanKeyPath(bookmark.path);
  bookmark.hive = CleanText(bookmark.hive);
  bookmark.note = CleanText(bookmark.note);
  if (bookmark.time == 0) bookmark.time = FileTimeNow();
  if (bookmark.path.empty()) return BookmarkChange::kBadPath;
  std::vector<BookmarkLine> lines = bookmarks.lines;
  const size_t old = FindLine(lines, bookmark.path);
  const bool moved = old < lines.size();
  std::string further;
  if (moved) {
    if (bookmark.note.empty()) bookmark.note = CleanText(lines[old].bookmark.note);
    further = FurtherFields(WithoutEnd(lines[old].text));
    EraseLine(lines, old);
  }
  BookmarkLine made = MadeLine(std::move(bookmark), further);
  const bool long_line = IsTooLong(made);
  InsertInFront(lines, std::move(made));
  if (long_line || FileSizeOf(lines) > kMaxBookmarkFile) return BookmarkChange::kFull;
  bookmarks.lines = std::move(lines);
  return moved ? BookmarkChange::kMoved : BookmarkChange::kDone;
}

BookmarkChange SetBookmarkNote(Bookmarks& bookmarks, size_t line, std::string_view note) {
  if (line >= bookmarks.lines.size() || !bookmarks.lines[line].readable) {
    return BookmarkChange::kBadPath;
  }
  const BookmarkLine& old = bookmarks.lines[line];
  Bookmark bookmark = old.bookmark;
  bookmark.note = CleanText(note);
  BookmarkLine made = MadeLine(std::move(bookmark), FurtherFields(WithoutEnd(old.text)));
  const size_t others = FileSizeOf(bookmarks.lines) - old.text.size();
  const bool full = others + made.text.size() > kMaxBookmarkFile;
  if (full || IsTooLong(made)) return BookmarkChange::kFull;
  bookmarks.lines[line] = std::move(made);
  return BookmarkChange::kDone;
}

bool DeleteBookmark(Bookmarks& bookmarks, std::string_view path) {
  const size_t line = FindLine(bookmarks.lines, path);
  if (line == bookmarks.lines.size()) return false;
  EraseLine(bookmarks.lines, line);
  return true;
}

std::vector<size_t> ShownBookmarks(const Bookmarks& bookmarks, BookmarkFilter filter) {
  std::vector<size_t> shown;
  for (size_t line = 0; line < bookmarks.lines.size(); ++line) {
    const BookmarkLine& at = bookmarks.lines[line];
    if (at.readable && IsShown(at.bookmark, filter)) shown.push_back(line);
  }
  return shown;
}

}  // namespace hivequarry
