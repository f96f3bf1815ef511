#include "host/profile.h"

#include <cerrno>

#include "host/case.h"
#include "host/files.h"
#include "host/output_file.h"

namespace hivequarry {
namespace {

constexpr std::string_view kBlanks = " \t\r\n";

std::string_view WithoutBlanks(std::string_view text) {
  const size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::string_view WithoutQuotes(std::string_view text) {
  const bool quoted = text.size() >= 2 && (text.front() == '"' || text.front() == '\'') &&
                      text.front() == text.back();
  return quoted ? text.substr(1, text.size() - 2) : text;
}

// The line at `at`, with its end.
std::string_view LineAt(std::string_view text, size_t at) {
  const size_t end = text.find('\n', at);
  return text.substr(at, end == std::string_view::npos ? end : end - at + 1);
}

// "[NAME]", whatever comes after the bracket; `name` is a view of the line.
bool IsSection(std::string_view line, std::string_view& name) {
  if (!line.starts_with('[')) return false;
  const size_t end = line.find(']');
  if (end == std::string_view::npos) return false;
  name = line.substr(1, end - 1);
  return true;
}

// Where a key is in a profile's text, or where it would have to.
struct Spot {
  bool has_section = false;
  bool has_key = false;
  size_t at = 0;      // of the key's line, or of the place for it
  size_t length = 0;  // of the key's line, with its end
  std::string_view value;
};

// Looks for the key in one line of its section, which begins at `at`.
void LookInLine(std::string_view line, size_t at, std::string_view key, Spot& spot) {
  const std::string_view said = WithoutBlanks(line);
  const size_t equals = said.find('=');
  if (said.starts_with(';') || equals == std::string_view::npos) return;
  spot.has_key = EqualPlainLetters(WithoutBlanks(said.substr(0, equals)), key);
  spot.at = spot.has_key ? at : at + line.size();
  if (!spot.has_key) return;
  spot.length = line.size();
  spot.value = WithoutQuotes(WithoutBlanks(said.substr(equals + 1)));
}

// Where the key is, or else where it would be put: in the first section of that name, or at the end
// of the text. Linear; the text may have anything else in it.
Spot FindSpot(std::string_view text, std::string_view section, std::string_view key) {
  Spot spot;
  for (size_t at = 0; at < text.size() && !spot.has_key;) {
    const std::string_view line = LineAt(text, at);
    std::string_view name;
    if (IsSection(WithoutBlanks(line), name)) {
      if (spot.has_section) return spot;
      spot.has_section = EqualPlainLetters(name, section);
      spot.at = at + line.size();
    } else if (spot.has_section) {
      LookInLine(line, at, key, spot);
    }
    at += line.size();
  }
  if (!spot.has_section) spot.at = text.size();
  return spot;
}

}  // namespace

std::string ProfileValue(std::string_view text, std::string_view section, std::string_view key,
                         std::string_view missing, size_t limit) {
  const Spot spot = FindSpot(text, section, key);
  return std::string((spot.has_key ? spot.value : missing).substr(0, limit));
}

void SetProfileValue(std::string& text, std::string_view section, std::string_view key,
                     std::string_view value) {
  const Spot spot = FindSpot(text, section, key);
  std::string line;
  const bool open_line = spot.at > 0 && text[spot.at - 1] != '\n';
  if (open_line) line += "\r\n";
  if (!spot.has_section) line.append("[").append(section).append("]\r\n");
  line.append(key).append("=").append(ProfileText(value)).append("\r\n");
  text.replace(spot.at, spot.length, line);
}

std::string ProfileText(std::string_view value) {
  std::string text(value);
  for (char& c : text) {
    if (c == '\r' || c == '\n' || c == '\0') c = ' ';
  }
  const bool loses = WithoutQuotes(WithoutBlanks(text)) != text;
  return loses ? '"' + text + '"' : text;
}

namespace {

// Bytes that are looked at; a longer file is not written to.
constexpr size_t kMaxProfile = size_t{1} << 20;

// Reads the text of a profile, and one byte more of one that is too long. A missing file is an
// empty one.
bool ReadText(const std::string& file, std::string& text) {
  int error = 0;
  std::FILE* stream = OpenFile(file, "rb", error);
  if (stream == nullptr) return error == ENOENT;
  char piece[4096];
  size_t taken = 0;
  do {
    taken = std::fread(piece, 1, sizeof piece, stream);
    text.append(piece, taken);
  } while (taken == sizeof piece && text.size() <= kMaxProfile);
  const bool read = std::ferror(stream) == 0;
  std::fclose(stream);
  text.resize(std::min(text.size(), kMaxProfile + 1));
  return read;
}

}  // namespace

std::string ReadProfile(const std::string& file, const char* section, const char* key,
                        const char* missing, size_t limit) {
  std::string text;
  ReadText(file, text);
  return ProfileValue(std::string_view(text).substr(0, kMaxProfile), section, key, missing, limit);
}

bool WriteProfile(const std::string& file, const char* section, const char* key,
                  const std::string& value) {
  std::string text;
  if (!ReadText(file, text) || text.size() > kMaxProfile) return false;
  SetProfileValue(text, section, key, value);
  OutputFile output;
  int error = 0;
  if (!OpenOutput(file, OutputMode::kReplace, output, error)) return false;
  WriteOutput(output, text);
  return CloseOutput(output, true);
}

}  // namespace hivequarry
