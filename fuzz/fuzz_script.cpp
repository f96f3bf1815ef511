// Any bytes as a hive file, exported: whatever the hive holds, each line of the script has the form
// of one, and each key is under the root or, so that an import passes it over, under a folder
// that is none of the registry.
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "fuzz/fuzzed_hive.h"
#include "host/text.h"
#include "reports/registry_script.h"

namespace {

using namespace hivequarry;
using fuzzing::FuzzedHive;
using fuzzing::Require;

bool SkipText(std::string_view& text, std::string_view start) {
  if (!text.starts_with(start)) return false;
  text.remove_prefix(start.size());
  return true;
}

std::string_view CutLine(std::string_view& text) {
  const size_t end = text.find("\r\n");
  Require(end != text.npos);
  const std::string_view line = text.substr(0, end);
  Require(line.find_first_of(std::string_view("\r\n\0", 3)) == line.npos);
  text.remove_prefix(end + 2);
  return line;
}

// A text in quotes; after a backslash there is one of four characters.
void SkipQuoted(std::string_view& line) {
  Require(SkipText(line, "\""));
  while (!SkipText(line, "\"")) {
    Require(!line.empty());
    if (SkipText(line, "\\")) Require(line.find_first_of("\\\"rn") == 0);
    line.remove_prefix(1);
  }
}

void SkipDigits(std::string_view& line, size_t least, size_t most) {
  size_t count = 0;
  while (count < line.size() && std::isxdigit(static_cast<unsigned char>(line[count]))) ++count;
  Require(count >= least && count <= most);
  line.remove_prefix(count);
}

// Bytes and commas, over as many lines as it takes.
void SkipBytes(std::string_view line, std::string_view& rest) {
  while (!line.empty()) {
    SkipDigits(line, 2, 2);
    if (line.empty()) return;
    Require(SkipText(line, ","));
    if (!SkipText(line, "\\")) continue;
    Require(line.empty());
    line = CutLine(rest);
    Require(SkipText(line, "  ") && !line.empty());
  }
}

void CheckValue(std::string_view line, std::string_view& rest) {
  if (!SkipText(line, "@")) SkipQuoted(line);
  Require(SkipText(line, "="));
  if (line.starts_with('"')) {
    SkipQuoted(line);
  } else if (SkipText(line, "dword:")) {
    SkipDigits(line, 8, 8);
  } else {
    Require(SkipText(line, "hex"));
    if (SkipText(line, "(")) {
      SkipDigits(line, 1, 8);
      Require(SkipText(line, ")"));
    }
    Require(SkipText(line, ":"));
    return SkipBytes(line, rest);
  }
  Require(line.empty());
}

bool LiesUnder(std::string_view path, std::string_view top) {
  return SkipText(path, top) && (path.empty() || path.starts_with('\\'));
}

void CheckKey(std::string_view line, std::string_view root) {
  Require(SkipText(line, "[") && line.ends_with(']'));
  line.remove_suffix(1);
  Require(LiesUnder(line, root) || LiesUnder(line, "Disconnected Keys") ||
          LiesUnder(line, "Disconnected Values"));
}

void CheckScript(std::string_view script, std::string_view root, const ScriptExport& written) {
  Require(CutLine(script) == "REGEDIT4" && CutLine(script).empty());
  uint32_t keys = 0;
  uint32_t values = 0;
  while (!script.empty()) {
    const std::string_view line = CutLine(script);
    if (line.empty() || line.starts_with(';')) continue;  // a comment
    if (line.starts_with('[')) {
      CheckKey(line, root);
      ++keys;
    } else {
      Require(keys != 0);
      CheckValue(line, script);
      ++values;
    }
  }
  Require(keys == written.keys && values == written.values);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const FuzzedHive opened(data, size);
  if (!HasScriptRoot(opened.hive)) return 0;
  std::string root = opened.hive.root.long_prefix;
  if (root.ends_with('\\')) root.pop_back();
  for (char& c : root) c = c == '\r' || c == '\n' || c == '\0' ? '?' : c;
  std::string script;
  // From a key in the middle as often as from the root.
  const size_t chosen = size % 2 == 0 ? 0 : size / 2 % opened.tree.items.size();
  const ScriptExport written = ExportBranch(opened.hive, opened.tree, static_cast<uint32_t>(chosen),
                                            [&script](std::string_view piece) {
                                              script += piece;
                                              return true;
                                            });
  CheckScript(script, CodePageOfText(root), written);
  ListScriptGaps(opened.hive, opened.tree, written);
  return 0;
}
