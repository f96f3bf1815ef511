#include "reports/structure_reports.h"

#include <algorithm>

#include "hive/root_path.h"
#include "host/host.h"
#include "host/long_operation.h"
#include "reports/report_run.h"

namespace hivequarry {
namespace {

constexpr const char* kInstalledRoot = "HKLM\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion";
constexpr ReportInfo kReports[] = {
    {Report::kServices, "services", 44, 0, nullptr},
    {Report::kUninstall, "uninstall", 29, 30,
     "HKLM\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Uninstall"},
    {Report::kCountKeys, "count-keys", 41, 42,
     "HKCU\\Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\UserAssist"},
    {Report::kClasses, "classes", 28, 0, nullptr},
    {Report::kProgIds, "prog-ids", 25, 0, nullptr},
    {Report::kOpenWith, "open-with", 33, 0, nullptr},
    {Report::kKeyFiles, "key-files", 26, 27, kInstalledRoot},
    {Report::kFiles, "files", 31, 32, kInstalledRoot},
    {Report::kOpenSaveMru, "open-save-mru", 56, 0, nullptr},
    {Report::kStreamMru, "stream-mru", 57, 0, nullptr},
};
constexpr void (*kRuns[])(ReportRun&) = {
    ReportServices, ReportUninstall, ReportCountKeys, ReportClasses,     ReportProgIds,
    ReportOpenWith, ReportKeyFiles,  ReportFiles,     ReportOpenSaveMru, ReportStreamMru};

constexpr bool TablesFit() {
  for (size_t i = 0; i < std::size(kReports); ++i) {
    if (kReports[i].report != static_cast<Report>(i)) return false;
  }
  return std::size(kReports) == static_cast<size_t>(Report::kCount) &&
         std::size(kRuns) == std::size(kReports);
}
static_assert(TablesFit());

// --- where reports begin -----------------------------------------------------------------------

struct Place {
  const HiveImage& hive;
  const KeyTree& tree;
  uint32_t item;
};

std::string NameOf(const Place& at) { return ItemName(at.hive, at.tree, at.item); }

bool Named(const Place& at, const char* name) { return EqualIgnoringCase(NameOf(at), name); }

// True when a key hangs where it was found only because nothing tells what lies above it.
bool IsLoose(const Place& at) {
  const uint32_t parent = at.tree.items[at.item].parent;
  if (parent == kNoItem) return true;
  const KeyItem& it = at.tree.items[parent];
  return it.kind == ItemKind::kDisconnectedKeys || it.made_name != 0;
}

// True when `fits` holds for the parent, or nothing is known of that.
template <typename Fits>
bool ParentFits(const Place& at, const Fits& fits) {
  return IsLoose(at) || fits(Place{at.hive, at.tree, at.tree.items[at.item].parent});
}

// At the top of the hive: hardware profiles have keys of such names too, which hold no services.
// The root's text is a path, and what counts of it is the end.
bool IsControlSet(const Place& at) {
  if (at.tree.items[at.item].parent != 0 && !IsLoose(at)) return false;
  const std::string path = NameOf(at);
  const std::string_view name = LastName(path);
  if (EqualIgnoringCase(name, "CurrentControlSet")) return true;
  return name.size() == 13 && EqualIgnoringCase(name.substr(0, 10), "ControlSet");
}

bool IsServices(const Place& at) { return Named(at, "Services") && ParentFits(at, IsControlSet); }

bool IsUninstall(const Place& at) {
  return Named(at, "Uninstall") &&
         ParentFits(at, [](const Place& parent) { return Named(parent, "CurrentVersion"); });
}

bool IsUserAssist(const Place& at) { return Named(at, "UserAssist"); }

// A key of that name without subkeys is a reference to a class, not a place of classes.
bool IsClassIds(const Place& at) { return Named(at, "CLSID") && HasChildren(at.tree, at.item); }

bool HasClassIds(const Place& at) {
  for (uint32_t child = FirstChild(at.tree, at.item); child != kNoItem;
       child = NextSibling(at.tree, child)) {
    if (IsClassIds({at.hive, at.tree, child})) return true;
  }
  return false;
}

// The root of a hive of classes tells by what it holds, any other such key by its name.
bool IsClasses(const Place& at) {
  const std::string path = NameOf(at);
  const std::string_view name = LastName(path);
  if (EqualIgnoringCase(name, "Classes")) return true;
  return at.item == 0 && HasClassIds(at);
}

bool IsFileTypes(const Place& at) { return IsClasses(at) || Named(at, "FileExts"); }

bool IsOpenSaveMru(const Place& at) {
  return Named(at, "OpenSaveMRU") || Named(at, "OpenSavePidlMRU");
}

bool IsViewMru(const Place& at) { return Named(at, "StreamMRU") || Named(at, "BagMRU"); }

struct Beginning {
  bool (*begins)(const Place&);  // null: at any key
  bool anywhere = false;  // at a key that was named too, though it holds no such key: the user may
                          // know better
  bool entries = false;   // each subkey is an entry of its own; what lies in one is no entry
};
constexpr Beginning kBeginnings[] = {{IsServices, true, true},
                                     {IsUninstall, true, true},
                                     {IsUserAssist, true},
                                     {IsClassIds},
                                     {IsFileTypes},
                                     {IsFileTypes},
                                     {nullptr, true},
                                     {nullptr, true},
                                     {IsOpenSaveMru},
                                     {IsViewMru}};
static_assert(std::size(kBeginnings) == std::size(kReports));

// The beginning that the item is or lies in, with the item itself or, of entries, the one that it
// belongs to. No item when it lies in none.
ReportStart StartAround(const Place& at, const Beginning& beginning) {
  uint32_t below = kNoItem;
  for (uint32_t item = at.item; item != kNoItem; item = at.tree.items[item].parent) {
    const bool key = IsKeyOrCopy(at.tree, item);
    if (key && beginning.begins({at.hive, at.tree, item})) {
      if (item == at.item || !beginning.entries) return {at.item, 1};
      return {below, 2};
    }
    below = item;
  }
  return {};
}

std::vector<ReportStart> BeginningsBelow(const Place& at, const Beginning& beginning) {
  std::vector<ReportStart> found;
  const uint32_t end = at.tree.items[at.item].end;
  for (uint32_t item = at.item; item < end && !StopRequested();) {
    const bool hidden = at.tree.items[item].hidden;
    const bool begins = IsKeyItem(at.tree, item) && beginning.begins({at.hive, at.tree, item});
    if (begins) found.push_back({item, 1});
    item = begins || hidden ? at.tree.items[item].end : item + 1;
  }
  return found;
}

}  // namespace

const ReportInfo& InfoOf(Report report) {
  return kReports[std::min(static_cast<size_t>(report), std::size(kReports) - 1)];
}

const ReportInfo* FindReport(std::string_view name) {
  for (const ReportInfo& info : kReports) {
    if (name == info.name) return &info;
  }
  return nullptr;
}

std::vector<ReportStart> FindReportKeys(const HiveImage& hive, const KeyTree& tree, Report report,
                                        uint32_t item, bool named) {
  if (item >= tree.items.size()) return {};
  const Beginning& beginning = kBeginnings[static_cast<size_t>(InfoOf(report).report)];
  const Place at = {hive, tree, item};
  if (beginning.begins == nullptr) return {{item, 1}};
  const ReportStart around = StartAround(at, beginning);
  if (around.item != kNoItem) return {around};
  std::vector<ReportStart> found = BeginningsBelow(at, beginning);
  if (found.empty() && beginning.anywhere && named) found.push_back({item, 1});
  return found;
}

void RunReport(Report report, KeySource& keys, bool live, OutputList& list) {
  ReportRun run = {keys, list, live};
  kRuns[static_cast<size_t>(InfoOf(report).report)](run);
}

bool RunReportOnHive(Report report, const HiveImage& hive, const KeyTree& tree, uint32_t item,
                     bool named, OutputList& list) {
  const std::vector<ReportStart> starts = FindReportKeys(hive, tree, report, item, named);
  const std::unique_ptr<HiveKeySource> keys = KeysOfHive(hive, tree, item);
  for (const ReportStart& start : starts) {
    if (StopRequested()) break;
    keys->BeginAt(start.item, start.level);
    RunReport(report, *keys, false, list);
  }
  const bool found = !starts.empty() || StopRequested();
  ShowStatus(found ? "" : kNothingToReport);
  return found;
}

}  // namespace hivequarry
