// The help file, its topics, and how a browser is led to one.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace hivequarry {

// Context numbers of the help.
enum HelpTopic : int {
  kHelpStart = 256,
  kHelpMainWindow,
  kHelpOutputLists,
  kHelpValueEditor,
  kHelpBookmarks,
  kHelpOptions,
  kHelpConsole,
  kHelpRecovery,
  kHelpSearch,
  kHelpKeyDates,
  kHelpReports,
  kHelpExport,
  kHelpSecurity,
  kHelpRegedit,
  kHelpLoadingHives,
  kHelpSnapshots,
  kHelpBackup,
  kHelpCompare,
  kHelpMerge,
  kHelpFreed,
  kHelpRoot,
  kHelpCheck,
  kHelpLegend,
  kHelpCompareHives,
  kHelpTimeline,
  kHelpTopicsEnd
};

// Where in the help file a topic is.
struct HelpPlace {
  HelpTopic topic;
  const char* anchor;  // made from a heading of the manual; empty: the top of the page
};
// One a topic, in their order.
std::span<const HelpPlace> HelpPlaces();
// Empty for a number that is no topic.
std::string HelpAnchor(int topic);
// What the help says of lists of that kind.
HelpTopic HelpTopicOfList(int kind);

inline constexpr const char* kHelpFileName = "hivequarry-help.html";
// The help file in the folder of the program at `program` (UTF-8 path).
std::string HelpFileOf(const std::string& program);

// The whole path of a Windows file (UTF-8) as a browser's address, an anchor that is not empty
// after it.
std::string FileAddress(std::string_view path, std::string_view anchor);
// A page that leads on to an address. The system's way to open a file by its kind takes a path, and
// some handlers lose the anchor of an address; every browser follows a page.
std::string LeadingPage(std::string_view address);

}  // namespace hivequarry
