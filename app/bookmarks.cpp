#include "app/bookmarks.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdio>

#include "app/key_paths.h"
#include "hive/root_path.h"
#include "hive/timestamp.h"
#include "host/case.h"
#include "host/files.h"
#include "host/host.h"
#include "host/number_text.h"
#include "host/output_file.h"
#include "lists/list_kinds.h"

namespace hivequarry {
namespace {

constexpr std::string_view kHeading =
    "# Bookmarks: key, time (UTC), hive file, note, what else is known; tabs are between them\r\n";
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

bool IsControl(char c) { return static_cast<uint8_t>(c) < 0x20 || c == 0x7F; }

// One line of UTF-8 that fits its field, cut between two characters.
std::string CleanText(std::string_view text) {
  std::string clean = StrictUtf8(text.substr(0, 4 * kMaxBookmarkText));
  std::ranges::replace_if(clean, IsControl, ' ');
  size_t end = std::min(clean.size(), kMaxBookmarkText);
  while (end > 0 && end < clean.size() && (clean[end] & 0xC0) == 0x80) --end;
  return clean.substr(0, end);
}

// --- time ----------------------------------------------------------------------------------------

// "2010-11-28T13:05:00Z", to the second; empty for no time and for one that four digits of a year
// do not hold.
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

// --- fields after the first four -----------------------------------------------------------------

constexpr std::string_view kValueField = "value=";
constexpr std::string_view kListField = "list=";
constexpr std::string_view kRowField = "row=";
constexpr std::string_view kPlaceField = "at=";
constexpr std::string_view kHashField = "sha256=";
constexpr std::string_view kTagsField = "tags=";

// "0x00001020".
bool ReadPosition(std::string_view text, uint32_t& position) {
  if (!text.starts_with("0x") || text.size() == 2) return false;
  const char* const end = text.data() + text.size();
  const auto [last, error] = std::from_chars(text.data() + 2, end, position, 16);
  return error == std::errc() && last == end;
}

bool IsHash(std::string_view text) {
  return text.size() == 64 &&
         std::ranges::all_of(text, [](char c) { return DigitOf(static_cast<uint8_t>(c)) < 16; });
}

// Takes one field; false for one that is not known, or can't be read.
bool TakeField(std::string_view field, Bookmark& bookmark) {
  const auto rest = [field](std::string_view name) { return field.substr(name.size()); };
  if (field.starts_with(kValueField)) {
    const std::string name = DecodedName(rest(kValueField));
    if (!IsText(name)) return false;
    bookmark.kind = BookmarkKind::kValue;
    bookmark.value = name;
    return true;
  }
  if (field.starts_with(kListField)) {
    const int list = NumberOf(rest(kListField));
    if (list < 0) return false;
    bookmark.kind = BookmarkKind::kRow;
    bookmark.list = list;
    return true;
  }
  if (field.starts_with(kPlaceField)) {
    uint32_t position = 0;
    if (!ReadPosition(rest(kPlaceField), position)) return false;
    bookmark.position = position;
    return true;
  }
  if (field.starts_with(kHashField) && IsHash(rest(kHashField))) {
    bookmark.sha256 = rest(kHashField);
    std::ranges::transform(bookmark.sha256, bookmark.sha256.begin(), SmallLetter);
    return true;
  }
  if (field.starts_with(kRowField)) bookmark.row = rest(kRowField);
  if (field.starts_with(kTagsField)) bookmark.tags = TagsOf(rest(kTagsField));
  return field.starts_with(kRowField) || field.starts_with(kTagsField);
}

// --- lines ---------------------------------------------------------------------------------------

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

// Four fields that every line has, between tabs, then named ones in this order where there is
// something to say; `further` are fields of later versions, written back as they were read.
std::string LineOf(const Bookmark& bookmark) {
  std::string line = Concat(
      {bookmark.path, "\t", TimeText(bookmark.time), "\t", bookmark.hive, "\t", bookmark.note});
  const auto add = [&line](std::string_view name, std::string_view text) {
    line.append("\t").append(name).append(text);
  };
  if (bookmark.kind == BookmarkKind::kValue) add(kValueField, EncodedName(bookmark.value));
  if (bookmark.kind == BookmarkKind::kRow) {
    add(kListField, std::to_string(bookmark.list));
    add(kRowField, bookmark.row);
  }
  if (bookmark.position != kNoOffset) add(kPlaceField, HexNumber(bookmark.position));
  if (!bookmark.sha256.empty()) add(kHashField, bookmark.sha256);
  if (!bookmark.tags.empty()) add(kTagsField, TagWords(bookmark.tags));
  if (!bookmark.further.empty()) add("", bookmark.further);
  return line;
}

BookmarkLine MadeLine(Bookmark bookmark) {
  BookmarkLine line;
  line.text = LineOf(bookmark) + "\r\n";
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

// The first line that is a bookmark of the same thing; the number of lines when there is none.
size_t FindLine(const std::vector<BookmarkLine>& lines, const Bookmark& bookmark) {
  const auto found = std::ranges::find_if(lines, [&bookmark](const BookmarkLine& line) {
    return line.readable && SameBookmark(line.bookmark, bookmark);
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

// Puts a changed bookmark into its line.
BookmarkChange ReplaceLine(Bookmarks& bookmarks, size_t line, Bookmark changed) {
  BookmarkLine made = MadeLine(std::move(changed));
  const size_t others = FileSizeOf(bookmarks.lines) - bookmarks.lines[line].text.size();
  const bool full = others + made.text.size() > kMaxBookmarkFile;
  if (full || IsTooLong(made)) return BookmarkChange::kFull;
  bookmarks.lines[line] = std::move(made);
  return BookmarkChange::kDone;
}

bool IsBookmark(const Bookmarks& bookmarks, size_t line) {
  return line < bookmarks.lines.size() && bookmarks.lines[line].readable;
}

// The texts of a field come to be what a line can hold.
void Clean(Bookmark& bookmark) {
  bookmark.path = CleanKeyPath(bookmark.path);
  for (std::string* const text : {&bookmark.hive, &bookmark.note, &bookmark.row}) {
    *text = CleanText(*text);
  }
  bookmark.tags = TagsOf(CleanText(TagWords(bookmark.tags)));
}

std::string_view Trimmed(std::string_view text) {
  const size_t start = std::min(text.find_first_not_of(' '), text.size());
  text.remove_prefix(start);
  return text.substr(0, text.find_last_not_of(' ') + 1);
}

// Takes the next word off `words`, its quotes gone; empty at the end.
std::string CutQuotedWord(std::string_view& words) {
  std::string word;
  bool quoted = false;
  words.remove_prefix(std::min(words.find_first_not_of(' '), words.size()));
  size_t at = 0;
  for (; at < words.size() && (quoted || words[at] != ' '); ++at) {
    if (words[at] == '"') {
      quoted = !quoted;
    } else {
      word += words[at];
    }
  }
  words.remove_prefix(at);
  return word;
}

bool HasTag(const Bookmark& bookmark, std::string_view tag) {
  return std::ranges::any_of(bookmark.tags,
                             [tag](std::string_view own) { return EqualIgnoringCase(own, tag); });
}

// Case is ignored; "tag:" before a word asks for a whole tag, not for a part of a text.
bool HasWord(const Bookmark& bookmark, std::string_view word) {
  constexpr std::string_view kTag = "tag:";
  if (StartsIgnoringCase(word, kTag)) return HasTag(bookmark, word.substr(kTag.size()));
  const std::string wanted = CapitalsOfText(word);
  for (const std::string& text :
       {BookmarkTitle(bookmark), bookmark.note, TagWords(bookmark.tags), bookmark.hive}) {
    if (CapitalsOfText(text).find(wanted) != std::string::npos) return true;
  }
  return false;
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

// A line with a path alone may be any text that somebody wrote into the file: a root of the
// registry says that it is a path.
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
  while (!text.empty()) {
    const std::string_view field = CutField(text);
    if (TakeField(field, read)) continue;
    if (!read.further.empty()) read.further += '\t';
    read.further += field;
  }
  // The text of a row without its list is of nothing that is known.
  if (read.kind != BookmarkKind::kRow && !read.row.empty()) {
    read.further += Concat({read.further.empty() ? "" : "\t", kRowField, read.row});
    read.row.clear();
  }
  bookmark = std::move(read);
  return true;
}

bool LoadBookmarks(const std::string& file, Bookmarks& bookmarks) {
  bookmarks = Bookmarks();
  int error = 0;
  std::FILE* stream = OpenFile(file, "rb", error);
  // A file that is there and can't be opened must not be taken for an empty one: saving would
  // replace it.
  if (stream == nullptr) return bookmarks.whole = error == ENOENT;
  std::string text;
  const bool read = ReadText(stream, text);
  std::fclose(stream);
  bookmarks.whole = read && text.size() <= kMaxBookmarkFile;
  // Of a file that is too long the lines that are whole.
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
  Clean(bookmark);
  if (bookmark.time == 0) bookmark.time = FileTimeNow();
  if (bookmark.path.empty()) return BookmarkChange::kBadPath;
  // On a copy: what has no room changes nothing.
  std::vector<BookmarkLine> lines = bookmarks.lines;
  const size_t old = FindLine(lines, bookmark);
  const bool moved = old < lines.size();
  if (moved) {
    const Bookmark& before = lines[old].bookmark;
    if (bookmark.note.empty()) bookmark.note = CleanText(before.note);
    if (bookmark.tags.empty()) bookmark.tags = before.tags;
    bookmark.further = before.further;
    EraseLine(lines, old);
  }
  BookmarkLine made = MadeLine(std::move(bookmark));
  const bool long_line = IsTooLong(made);
  InsertInFront(lines, std::move(made));
  if (long_line || FileSizeOf(lines) > kMaxBookmarkFile) return BookmarkChange::kFull;
  bookmarks.lines = std::move(lines);
  return moved ? BookmarkChange::kMoved : BookmarkChange::kDone;
}

BookmarkChange SetBookmarkNote(Bookmarks& bookmarks, size_t line, std::string_view note) {
  if (!IsBookmark(bookmarks, line)) return BookmarkChange::kBadPath;
  Bookmark changed = bookmarks.lines[line].bookmark;
  changed.note = CleanText(note);
  return ReplaceLine(bookmarks, line, std::move(changed));
}

BookmarkChange SetBookmarkTags(Bookmarks& bookmarks, size_t line, std::string_view tags) {
  if (!IsBookmark(bookmarks, line)) return BookmarkChange::kBadPath;
  Bookmark changed = bookmarks.lines[line].bookmark;
  changed.tags = TagsOf(CleanText(tags));
  return ReplaceLine(bookmarks, line, std::move(changed));
}

bool DeleteBookmark(Bookmarks& bookmarks, const Bookmark& bookmark) {
  const size_t line = FindBookmarkLine(bookmarks, bookmark);
  if (line == bookmarks.lines.size()) return false;
  EraseLine(bookmarks.lines, line);
  return true;
}

size_t FindBookmarkLine(const Bookmarks& bookmarks, const Bookmark& bookmark) {
  // By all that the line would say, as a file may have several bookmarks of one thing.
  const std::string text = LineOf(bookmark);
  for (size_t line = 0; line < bookmarks.lines.size(); ++line) {
    const BookmarkLine& at = bookmarks.lines[line];
    if (at.readable && LineOf(at.bookmark) == text) return line;
  }
  return FindLine(bookmarks.lines, bookmark);
}

bool SameBookmark(const Bookmark& a, const Bookmark& b) {
  if (a.kind != b.kind || !SameKeyPath(a.path, b.path)) return false;
  if (!EqualIgnoringCase(a.value, b.value) || a.list != b.list || a.row != b.row) return false;
  // A position tells things apart in one file alone.
  if (a.sha256.empty() || b.sha256.empty()) return true;
  const bool places = a.position != kNoOffset && b.position != kNoOffset;
  return a.sha256 == b.sha256 && (!places || a.position == b.position);
}

std::vector<std::string> TagsOf(std::string_view words) {
  std::vector<std::string> tags;
  while (!words.empty()) {
    const std::string_view whole = words.substr(0, words.find(','));
    words.remove_prefix(std::min(whole.size() + 1, words.size()));
    const std::string_view tag = Trimmed(whole);
    const auto same = [tag](const std::string& other) { return EqualIgnoringCase(other, tag); };
    if (!tag.empty() && std::ranges::none_of(tags, same)) tags.emplace_back(tag);
  }
  return tags;
}

std::string TagWords(const std::vector<std::string>& tags) {
  std::string words;
  for (const std::string& tag : tags) {
    if (!words.empty()) words += ", ";
    words += tag;
  }
  return words;
}

std::vector<std::string> AllTags(const Bookmarks& bookmarks) {
  std::vector<std::string> tags;
  for (const BookmarkLine& line : bookmarks.lines) {
    if (line.readable)
      tags.insert(tags.end(), line.bookmark.tags.begin(), line.bookmark.tags.end());
  }
  std::ranges::sort(tags, [](const std::string& a, const std::string& b) {
    return CompareIgnoringCase(a, b) < 0;
  });
  const auto rest = std::unique(tags.begin(), tags.end(), [](const auto& a, const auto& b) {
    return EqualIgnoringCase(a, b);
  });
  tags.erase(rest, tags.end());
  return tags;
}

std::string BookmarkTitle(const Bookmark& bookmark) {
  std::string title = ShownKeyPath(bookmark.path);
  if (bookmark.kind == BookmarkKind::kValue) {
    title += " : ";
    title += bookmark.value.empty() ? "(Default value)" : bookmark.value;
  }
  if (bookmark.kind == BookmarkKind::kRow) {
    title += Concat({" : ", FindListKind(bookmark.list).title, " : ", bookmark.row});
  }
  return title;
}

std::vector<size_t> ShownBookmarks(const Bookmarks& bookmarks, BookmarkFilter filter) {
  std::vector<size_t> shown;
  for (size_t line = 0; line < bookmarks.lines.size(); ++line) {
    const BookmarkLine& at = bookmarks.lines[line];
    if (at.readable && IsShown(at.bookmark, filter)) shown.push_back(line);
  }
  return shown;
}

std::vector<size_t> BookmarksWith(const Bookmarks& bookmarks, std::string_view words) {
  std::vector<size_t> shown = ShownBookmarks(bookmarks, BookmarkFilter::kAll);
  for (std::string word = CutQuotedWord(words); !word.empty(); word = CutQuotedWord(words)) {
    std::erase_if(shown,
                  [&](size_t line) { return !HasWord(bookmarks.lines[line].bookmark, word); });
  }
  return shown;
}

}  // namespace hivequarry
