// Reports on well-known structures: what a branch's values say, side by side.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "hive/key_tree.h"
#include "lists/output_list.h"
#include "reports/key_source.h"

namespace hivequarry {

// In the order of the menus; commands number them by it.
enum class Report : uint8_t {
  kServices,
  kUninstall,
  kCountKeys,  // what the shell counts of programs started
  kClasses,    // class registrations
  kProgIds,    // names of classes and file types
  kOpenWith,
  kKeyFiles,  // files and folders that values name, by key
  kFiles,     // the same by file
  kOpenSaveMru,
  kStreamMru,
  kCount
};
// All that is known of a report but the function that runs it. Texts are constants.
struct ReportInfo {
  Report report = Report::kCount;
  const char* name = nullptr;       // on the console: "count-keys"
  const char* help = nullptr;       // there, a line
  int kind = 0;                     // of its list
  int live_kind = 0;                // on the live registry; 0: only on hives
  const char* live_root = nullptr;  // the key there that it begins at
};
// For every report there is a record; it lives as long as the program.
const ReportInfo& InfoOf(Report report);
// By console name; null for none.
const ReportInfo* FindReport(std::string_view name);

// A key that the report begins at, and where in the structure that key is.
struct ReportStart {
  uint32_t item = kNoItem;  // number in the tree
  uint32_t level = 1;       // 2: an entry of the structure, of which nothing else is reported
};
// Where a report begins: the chosen item when it is or lies in the structure, else the keys below
// it that are ("ControlSet001\Services", "...\CurrentVersion\Uninstall"), in display order. A hive
// without the structure gives none, unless the user `named` the key: some reports begin at it then.
std::vector<ReportStart> FindReportKeys(const HiveImage& hive, const KeyTree& tree, Report report,
                                        uint32_t item, bool named);

// Adds the report's rows from one starting key; `live` chooses the kind's columns. Datum: position
// of the key or value. Ends early when the user stops.
void RunReport(Report report, KeySource& keys, bool live, OutputList& list);
// The whole of it on a hive: FindReportKeys, RunReport for each. False, with a word in the status
// line, when there is nothing to begin at.
bool RunReportOnHive(Report report, const HiveImage& hive, const KeyTree& tree, uint32_t item,
                     bool named, OutputList& list);
inline constexpr const char* kNothingToReport = "No key here holds what this report is about.";

}  // namespace hivequarry
