#include "view/save_names.h"

#include <algorithm>

#include "host/case.h"
#include "host/text.h"

namespace hivequarry {
namespace {

constexpr size_t kLongestName = 100;  // characters

std::string_view WithoutFolder(std::string_view file) {
  const size_t separator = file.find_last_of("\\/");
  return separator == file.npos ? file : file.substr(separator + 1);
}

std::string OneSeparator(std::string folder) {
  std::ranges::replace(folder, '/', '\\');
  while (folder.ends_with('\\')) folder.pop_back();
  return folder;
}

bool IsSameOrBelow(const std::string& folder, const std::string& above) {
  const std::string inner = OneSeparator(folder);
  const std::string outer = OneSeparator(above);
  return EqualIgnoringCase(inner, outer) || StartsIgnoringCase(inner, outer + "\\");
}

}  // namespace

std::string CleanFileName(std::string_view text) {
  constexpr std::string_view kForbidden = "<>:\"/\\|?*\x7F";
  std::string name(FirstUnits(text, kLongestName));
  for (char& sign : name) {
    const auto byte = static_cast<uint8_t>(sign);
    if (byte < ' ' || kForbidden.find(sign) != kForbidden.npos) sign = '_';
  }
  while (!name.empty() && (name.back() == ' ' || name.back() == '.')) name.pop_back();
  const size_t start = std::min(name.find_first_not_of(' '), name.size());
  return name.substr(start);
}

std::string ProposedListName(std::string_view title, std::string_view file) {
  const std::string_view source = WithoutFolder(file);
  // The rest is for the file's name.
  std::string name(FirstUnits(title, kLongestName / 2));
  // Some titles end with the file's name.
  if (!source.empty() && title.find(source) == title.npos) {
    if (!name.empty()) name += " of ";
    name += source;
  }
  return CleanFileName(name);
}

std::string ProposedFolder(const std::string& last, std::span<const std::string> evidence,
                           const std::string& documents) {
  const bool free = std::ranges::none_of(
      evidence, [&last](const std::string& folder) { return IsSameOrBelow(last, folder); });
  return free && !last.empty() ? last : documents;
}

}  // namespace hivequarry
