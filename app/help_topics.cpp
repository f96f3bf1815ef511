#include "app/help_topics.h"

#include <algorithm>
#include <iterator>

#include "host/number_text.h"
#include "lists/list_kinds.h"

namespace hivequarry {
namespace {

constexpr HelpPlace kHelpPlaces[] = {
    {kHelpStart, ""},
    {kHelpMainWindow, "the-window"},
    {kHelpOutputLists, "output-lists"},
    {kHelpValueEditor, "editing-values"},
    {kHelpBookmarks, "bookmarks-and-recent-keys"},
    {kHelpOptions, "options"},
    {kHelpConsole, "console-reference"},
    {kHelpRecovery, "what-comes-back-and-where-it-is"},
    {kHelpSearch, "searching"},
    {kHelpKeyDates, "key-dates"},
    {kHelpReports, "special-reports"},
    {kHelpExport, "exporting"},
    {kHelpSecurity, "security-records"},
    {kHelpRegedit, "go-to-regedit"},
    {kHelpLoadingHives, "loading-a-hive-into-the-registry"},
    {kHelpSnapshots, "snapshots"},
    {kHelpBackup, "backing-up-and-replacing-the-registrys-hives"},
    {kHelpCompare, "comparing-with-the-registry"},
    {kHelpMerge, "merging-into-the-registry"},
    {kHelpFreed, "freed-keys-and-values"},
    {kHelpRoot, "the-registry-root"},
    {kHelpCheck, "checking-the-structure"},
    {kHelpLegend, "colours-and-marks-of-the-tree"},
    {kHelpCompareHives, "comparing-two-hives"},
    {kHelpTimeline, "timelines"},
};
static_assert(std::size(kHelpPlaces) == kHelpTopicsEnd - kHelpStart);

// By ListHelp.
constexpr HelpTopic kListTopics[] = {kHelpOutputLists, kHelpSearch,   kHelpCompare, kHelpKeyDates,
                                     kHelpMainWindow,  kHelpSecurity, kHelpReports, kHelpFreed,
                                     kHelpCheck,       kHelpTimeline};
static_assert(std::size(kListTopics) == static_cast<size_t>(ListHelp::kCount));

bool IsPlain(char c) {
  constexpr std::string_view kMarks = "-._~/:";
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
         kMarks.find(c) != std::string_view::npos;
}

// Bytes of UTF-8 that an address may not hold become "%" and two capital digits.
void AppendAddressPart(std::string_view text, std::string& address) {
  for (const char c : text) {
    if (IsPlain(c)) {
      address += c;
      continue;
    }
    const auto byte = static_cast<unsigned char>(c);
    address += '%';
    address += kUpperDigits[byte >> 4];
    address += kUpperDigits[byte & 15];
  }
}

// The path without what only the system reads in it; `share` when it begins with a server's name.
std::string_view PlainPath(std::string_view path, bool& share) {
  constexpr std::string_view kLongShare = "//?/UNC/";
  constexpr std::string_view kLong = "//?/";
  const bool is_long = path.starts_with(kLong);
  share = path.starts_with(kLongShare) || (path.starts_with("//") && !is_long);
  if (share) return path.substr(is_long ? kLongShare.size() : 2);
  return path.substr(is_long ? kLong.size() : 0);
}

}  // namespace

std::span<const HelpPlace> HelpPlaces() { return kHelpPlaces; }

std::string HelpAnchor(int topic) {
  const auto place = std::ranges::find(kHelpPlaces, topic, &HelpPlace::topic);
  return place == std::end(kHelpPlaces) ? "" : place->anchor;
}

HelpTopic HelpTopicOfList(int kind) {
  return kListTopics[static_cast<size_t>(FindListKind(kind).help)];
}

std::string HelpFileOf(const std::string& program) {
  return program.substr(0, program.find_last_of("\\/") + 1) + kHelpFileName;
}

// "file:///C:/..." for a drive, "file://server/share/..." for a share.
std::string FileAddress(std::string_view path, std::string_view anchor) {
  std::string slashed(path);
  std::ranges::replace(slashed, '\\', '/');
  bool share = false;
  const std::string_view plain = PlainPath(slashed, share);
  std::string address = share ? "file://" : "file:///";
  AppendAddressPart(plain, address);
  if (!anchor.empty()) address += '#';
  AppendAddressPart(anchor, address);
  return address;
}

std::string LeadingPage(std::string_view address) {
  return "<!doctype html>\n<html lang=\"en\">\n<meta charset=\"utf-8\">\n"
         "<meta http-equiv=\"refresh\" content=\"0; url=" +
         std::string(address) + "\">\n<title>Hivequarry Help</title>\n<p><a href=\"" +
         std::string(address) + "\">Hivequarry Help</a></p>\n</html>\n";
}

}  // namespace hivequarry
