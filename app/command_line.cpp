#include "app/command_line.h"

#include <algorithm>

#include "hive/root_path.h"

namespace hivequarry {
namespace {

constexpr size_t kMaxLine = 519;     // characters; a longer line is ignored
constexpr size_t kMaxOptions = 500;  // characters of an option line that are read
constexpr std::string_view kBlanks = " \t";
constexpr std::string_view kBackupHives[] = {"SOFTWARE", "HKCU", "CLASSES", "SYSTEM",    "SAM",
                                             "SECURITY", "HKU",  "BCD",     "COMPONENTS"};

// Bytes of the first `limit` characters of a UTF-8 text, which may have fewer.
size_t BytesOfCharacters(std::string_view text, size_t limit) {
  size_t at = 0;
  for (size_t characters = 0; at < text.size(); ++at) {
    const bool starts_one = (static_cast<uint8_t>(text[at]) & 0xC0) != 0x80;
    if (starts_one && ++characters > limit) break;
  }
  return at;
}

// A file or folder name without quotes and surrounding blanks.
std::string CleanName(std::string_view text) {
  std::string name(text);
  std::erase(name, '"');
  const size_t first = name.find_first_not_of(kBlanks);
  if (first == std::string::npos) return {};
  return name.substr(first, name.find_last_not_of(kBlanks) - first + 1);
}

// Takes the next word off `text`, with the blanks before it. What is left begins with the
// blank after the word.
std::string_view CutWord(std::string_view& text) {
  text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
  const std::string_view word = text.substr(0, text.find_first_of(kBlanks));
  text.remove_prefix(word.size());
  return word;
}

// The number that `text` begins with; the largest one when it does not fit.
uint32_t LeadingNumber(std::string_view text) {
  uint64_t number = 0;
  for (const char digit : text) {
    if (digit < '0' || digit > '9') break;
    number = std::min<uint64_t>(number * 10 + static_cast<uint64_t>(digit - '0'), UINT32_MAX);
  }
  return static_cast<uint32_t>(number);
}

bool CutPrefix(std::string_view& word, std::string_view prefix) {
  if (!StartsIgnoringCase(word, prefix)) return false;
  word.remove_prefix(prefix.size());
  return true;
}

// Each once, by its own spelling; names that are none are passed over.
void SelectBackupHive(std::string_view name, std::vector<std::string>& selected) {
  for (const std::string_view hive : kBackupHives) {
    if (!EqualIgnoringCase(name, hive)) continue;
    if (std::ranges::find(selected, hive) == selected.end()) selected.emplace_back(hive);
  }
}

// An option that another word follows; unknown ones are passed over.
void ParseOption(std::string_view word, CommandLine& result) {
  if (CutPrefix(word, "-soff=")) {
    result.start_offset = LeadingNumber(word);
  } else if (CutPrefix(word, "-key=")) {
    result.key_position = LeadingNumber(word);
  } else if (EqualIgnoringCase(word, "-bweek")) {
    result.backup_weekly = true;
  } else if (EqualIgnoringCase(word, "-bmonth")) {
    result.backup_monthly = true;
  } else if (CutPrefix(word, "-")) {
    SelectBackupHive(word, result.backup_hives);
  }
}

void ParseOptions(std::string_view line, CommandLine& result) {
  std::string_view word = CutWord(line);
  std::string_view rest = line;
  // Each word is looked at once another one follows it: the last is the folder of a backup, or of
  // no use.
  for (std::string_view next = CutWord(line); !next.empty(); next = CutWord(line)) {
    if (CutPrefix(word, "-eoff=")) {
      // The file name may hold blanks: it is all of the line after the number.
      result.has_range = true;
      result.end_offset = LeadingNumber(word);
      result.file = CleanName(rest);
      result.backup_hives.clear();
      return;
    }
    ParseOption(word, result);
    word = next;
    rest = line;
  }
  // Without "-eoff=" there was no range, to which the position belongs.
  result.key_position = kNoOffset;
  if (!result.backup_hives.empty()) result.backup_folder = CleanName(word);
  if (result.backup_folder.empty()) result.backup_hives.clear();
}

void ParseSwitch(std::string_view line, CommandLine& result) {
  constexpr size_t kFileAt = 3;  // after "/", the letter and a blank
  if (line.size() < 2) return;
  result.switch_letter = line[1];
  if (std::string_view("UuRBI").find(line[1]) != std::string_view::npos) result.open_mode = 2;
  if (std::string_view("cC").find(line[1]) != std::string_view::npos) result.open_mode = 3;
  if (line.size() > kFileAt) result.file = CleanName(line.substr(kFileAt));
}

}  // namespace

CommandLine ParseCommandLine(std::string_view line) {
  CommandLine result;
  std::string_view rest = line;
  if (EqualIgnoringCase(CutWord(rest), "--evidence")) {
    result.evidence = true;
    // What follows is a line like any other: its first character says what it is.
    line = rest.substr(std::min(rest.find_first_not_of(kBlanks), rest.size()));
  }
  if (line.empty() || BytesOfCharacters(line, kMaxLine) < line.size()) return result;
  if (line.front() == '/') {
    ParseSwitch(line, result);
  } else if (line.front() == '-') {
    ParseOptions(line.substr(0, BytesOfCharacters(line, kMaxOptions)), result);
  } else {
    result.file = CleanName(line);
  }
  return result;
}

}  // namespace hivequarry
