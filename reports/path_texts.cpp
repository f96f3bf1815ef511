#include "reports/path_texts.h"

#include <algorithm>

#include "hive/root_path.h"

namespace hivequarry {
namespace {

// Of one text, and characters of one path: texts of a damaged hive may be as long as they like.
constexpr size_t kMaxPaths = 64;
constexpr size_t kMaxTextPath = 1039;
constexpr size_t kMaxVariable = 64;  // characters of a variable's name

// What files that can be started or loaded are called: after such a name a blank or comma begins
// an argument. Elsewhere blanks are part of names more often than not.
constexpr std::string_view kProgramEndings[] = {
    ".exe", ".dll", ".sys", ".com", ".bat", ".cmd", ".cpl", ".ocx", ".msc", ".scr", ".drv", ".ax",
    ".vbs", ".vbe", ".js",  ".jse", ".wsf", ".ps1", ".inf", ".ini", ".ico", ".msi", ".jar", ".tlb",
    ".lnk", ".hta", ".py",  ".txt", ".log", ".xml", ".chm", ".hlp", ".acm", ".nls", ".dat"};

bool IsLetter(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }
bool IsWordCharacter(char c) { return IsLetter(c) || (c >= '0' && c <= '9') || c == '_'; }
bool IsSlash(char c) { return c == '\\' || c == '/'; }

bool IsDrive(std::string_view text) {
  if (text.size() < 3 || !IsLetter(text[0]) || text[1] != ':') return false;
  return text[2] == '\\' || (text[2] == '/' && !(text.size() > 3 && text[3] == '/'));
}

// "\\server\share": both have to be there.
bool IsServer(std::string_view text) {
  if (!text.starts_with("\\\\") || text.size() < 5 || !IsWordCharacter(text[2])) return false;
  const size_t split = text.find_first_of("\\ \t\"", 2);
  if (split == std::string_view::npos || text[split] != '\\') return false;
  return split + 1 < text.size() && (IsWordCharacter(text[split + 1]) || text[split + 1] == '$');
}

// "%Name%\"; a slash must follow, as other texts have percent signs too.
bool IsVariable(std::string_view text) {
  if (!text.starts_with('%')) return false;
  const size_t end = text.substr(0, kMaxVariable).find('%', 1);
  if (end == std::string_view::npos || end < 2 || end + 1 >= text.size()) return false;
  const std::string_view name = text.substr(1, end - 1);
  const auto fits = [](char c) { return IsWordCharacter(c) || c == '(' || c == ')'; };
  return IsSlash(text[end + 1]) && std::all_of(name.begin(), name.end(), fits);
}

// Characters that lead the system to a path and are no part of it.
size_t PrefixLength(std::string_view text) {
  for (const std::string_view prefix : {"\\??\\", "\\\\?\\"}) {
    if (text.starts_with(prefix) && IsDrive(text.substr(prefix.size()))) return prefix.size();
  }
  return 0;
}

// Names relative to the system's folder count at the start of a text alone.
bool BeginsPath(std::string_view text, bool at_start) {
  if (text.empty()) return false;
  if (IsDrive(text)) return true;
  if (text[0] == '%') return IsVariable(text);
  if (text[0] == '\\') {
    return PrefixLength(text) != 0 || IsServer(text) ||
           StartsIgnoringCase(text, "\\SystemRoot\\") ||
           StartsIgnoringCase(text, "\\Device\\HarddiskVolume");
  }
  return at_start &&
         (StartsIgnoringCase(text, "System32\\") || StartsIgnoringCase(text, "SysWOW64\\"));
}

bool EndsAnyPath(char c) {
  return static_cast<unsigned char>(c) < 32 || std::string_view("\"<>|*?;").find(c) < 7;
}

bool EndsLikeProgram(std::string_view path) {
  return std::any_of(std::begin(kProgramEndings), std::end(kProgramEndings), [&](auto ending) {
    return path.size() > ending.size() && EndsIgnoringCase(path, ending);
  });
}

// True when the text after blanks is an argument, or another path, rather than more of a name.
bool BeginsArgument(std::string_view text) {
  if (text.empty()) return true;
  const bool option = text[0] == '/' || text[0] == '-';
  if (option) return text.size() < 2 || text[1] != ' ';
  return text[0] == '%' || text[0] == '@' || BeginsPath(text, false);
}

bool HasExtension(std::string_view path) {
  const size_t dot = path.rfind('.');
  const size_t slash = path.find_last_of("\\/");
  return dot != std::string_view::npos && (slash == std::string_view::npos || dot > slash);
}

// Where the path that a text begins with ends.
size_t PathEnd(std::string_view text, bool quoted) {
  const size_t limit = FirstUnits(text, kMaxTextPath).size();
  for (size_t at = IsDrive(text) ? 2 : 1; at < limit; ++at) {
    const char c = text[at];
    if (EndsAnyPath(c) || c == ':') return at;
    if (quoted) continue;
    const std::string_view path = text.substr(0, at);
    if (c == ',' && HasExtension(path)) return at;
    const bool may_end = c == ' ' || c == ',' || c == '\'' || c == ')' || c == '%';
    if (may_end && EndsLikeProgram(path)) return at;
    if (c != ' ') continue;
    // What follows the blanks is the same for each of them.
    const size_t next = std::min(text.find_first_not_of(' ', at), text.size());
    if (BeginsArgument(text.substr(next))) return at;
    at = next - 1;
  }
  return limit;
}

// A path after a blank may be in prose: the last name goes up to its first blank.
size_t CutProse(std::string_view path) {
  const size_t slash = path.find_last_of("\\/");
  if (slash == std::string_view::npos || EndsLikeProgram(path)) return path.size();
  return std::min(path.size(), path.find(' ', slash));
}

// Without the kernel's prefix, what ends a path in a list, and a backslash at the end, but for that
// of a drive's root.
std::string Cleaned(std::string_view path) {
  path.remove_prefix(PrefixLength(path));
  while (!path.empty() && std::string_view(" ,'").find(path.back()) < 3) path.remove_suffix(1);
  const bool root = path.size() == 3 && path[1] == ':';
  while (!root && path.size() > 3 && IsSlash(path.back())) path.remove_suffix(1);
  return std::string(path);
}

// A path that goes on says so.
std::string Cut(std::string path, bool goes_on) {
  constexpr std::string_view kDots = "...";
  if (goes_on) path.replace(std::min(path.size(), kMaxTextPath - kDots.size()), path.npos, kDots);
  return path;
}

}  // namespace

std::vector<std::string> PathsInText(std::string_view text, uint64_t* left_out) {
  std::vector<std::string> paths;
  uint64_t more = 0;
  char before = 0;
  for (size_t at = 0; at < text.size();) {
    const std::string_view rest = text.substr(at);
    // Right after a quotation mark or "@" at the beginning is the text's beginning too.
    const bool starts_text = before == 0 || (at == 1 && (before == '"' || before == '@'));
    if (IsWordCharacter(before) || !BeginsPath(rest, starts_text)) {
      before = text[at++];
      continue;
    }
    const size_t prefix = PrefixLength(rest);
    const bool quoted = before == '"';
    size_t length = prefix + PathEnd(rest.substr(prefix), quoted);
    if (before == ' ') length = CutProse(rest.substr(0, length));
    if (paths.size() < kMaxPaths) {
      paths.push_back(Cut(Cleaned(rest.substr(0, length)), length == prefix + kMaxTextPath));
    } else {
      ++more;
    }
    at += length;
    before = text[at - 1];
  }
  if (left_out != nullptr) *left_out = more;
  return paths;
}

}  // namespace hivequarry
