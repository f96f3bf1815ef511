#include "reports/structure_reports.h"

#include <algorithm>

#include "hive/root_path.h"
#include "host/host.h"
#include "host/long_operation.h"
#include "reports/report_run.h"

namespace hivequarry {
namespace {

// --- where reports begin -----------------------------------------------------------------------

struct ItemAt {
  const HiveImage& hive;
  const KeyTree& tree;
  uint32_t item;
};

std::string NameOf(const ItemAt& at) { return ItemName(at.hive, at.tree, at.item); }

bool Named(const ItemAt& at, const char* name) { return EqualIgnoringCase(NameOf(at), name); }

// True when a key hangs where it was found only because nothing tells what lies above it.
bool IsLoose(const ItemAt& at) {
  const uint32_t parent = at.tree.items[at.item].parent;
  if (parent == kNoItem) return true;
  const KeyItem& it = at.tree.items[parent];
  return it.kind == ItemKind::kDisconnectedKeys || HasMadeName(at.tree, it);
}

// True when `fits` holds for the parent, or nothing is known of that.
template <typename Fits>
bool ParentFits(const ItemAt& at, const Fits& fits) {
  return IsLoose(at) || fits(ItemAt{at.hive, at.tree, at.tree.items[at.item].parent});
}

// At the top of the hive: hardware profiles have keys of such names too, which hold no services.
// The root's text is a path, and what counts of it is the end.
bool IsControlSet(const ItemAt& at) {
  if (at.tree.items[at.item].parent != 0 && !IsLoose(at)) return false;
  const std::string path = NameOf(at);
  const std::string_view name = LastName(path);
  if (EqualIgnoringCase(name, "CurrentControlSet")) return true;
  return name.size() == 13 && EqualIgnoringCase(name.substr(0, 10), "ControlSet");
}

bool IsServices(const ItemAt& at) { return Named(at, "Services") && ParentFits(at, IsControlSet); }

bool IsUninstall(const ItemAt& at) {
  return Named(at, "Uninstall") &&
         ParentFits(at, [](const ItemAt& parent) { return Named(parent, "CurrentVersion"); });
}

bool IsUserAssist(const ItemAt& at) { return Named(at, "UserAssist"); }

// A key of that name without subkeys is a reference to a class, not a place of classes.
bool IsClassIds(const ItemAt& at) { return Named(at, "CLSID") && HasChildren(at.tree, at.item); }

bool HasClassIds(const ItemAt& at) {
  for (uint32_t child = FirstChild(at.tree, at.item); child != kNoItem;
       child = NextSibling(at.tree, child)) {
    if (IsClassIds({at.hive, at.tree, child})) return true;
  }
  return false;
}

// The root of a hive of classes tells by what it holds, any other such key by its name.
bool IsClasses(const ItemAt& at) {
  const std::string path = NameOf(at);
  const std::string_view name = LastName(path);
  if (EqualIgnoringCase(name, "Classes")) return true;
  return at.item == 0 && HasClassIds(at);
}

bool IsFileTypes(const ItemAt& at) { return IsClasses(at) || Named(at, "FileExts"); }

bool IsOpenSaveMru(const ItemAt& at) {
  return Named(at, "OpenSaveMRU") || Named(at, "OpenSavePidlMRU");
}

bool IsViewMru(const ItemAt& at) { return Named(at, "StreamMRU") || Named(at, "BagMRU"); }

// At which keys a report may begin.
struct Beginning {
  bool (*begins)(const ItemAt&);  // null: at any key
  bool anywhere = false;  // at a key that was named too, though it holds no such key: the user may
                          // know better
  bool entries = false;   // each subkey is an entry of its own; what lies in one is no entry
};

// --- the reports ---------------------------------------------------------------------------------

struct ReportRow {
  ReportInfo info;
  void (*run)(ReportRun&);
  Beginning beginning;
};

constexpr const char* kInstalledRoot = "HKLM\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion";
// In the order of their numbers.
constexpr ReportRow kReports[] = {
    {{.report = Report::kServices,
      .name = "services",
      .help = "Services and drivers",
      .kind = kListServices},
     ReportServices,
     {IsServices, true, true}},
    {{.report = Report::kUninstall,
      .name = "uninstall",
      .help = "Installed programs, as their uninstall entries have them",
      .kind = kListUninstall,
      .live_kind = kListLiveUninstall,
      .live_root = "HKLM\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Uninstall"},
     ReportUninstall,
     {IsUninstall, true, true}},
    {{.report = Report::kCountKeys,
      .name = "count-keys",
      .help = "What the shell counted of programs started",
      .kind = kListCountKeys,
      .live_kind = kListLiveCountKeys,
      .live_root = "HKCU\\Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\UserAssist"},
     ReportCountKeys,
     {IsUserAssist, true}},
    {{.report = Report::kClasses,
      .name = "classes",
      .help = "Class registrations with their files",
      .kind = kListClasses},
     ReportClasses,
     {IsClassIds}},
    {{.report = Report::kProgIds,
      .name = "prog-ids",
      .help = "Classes with the names of their types",
      .kind = kListProgIds},
     ReportProgIds,
     {IsFileTypes}},
    {{.report = Report::kOpenWith,
      .name = "open-with",
      .help = "Programs with which kinds of files are opened",
      .kind = kListOpenWith},
     ReportOpenWith,
     {IsFileTypes}},
    {{.report = Report::kKeyFiles,
      .name = "key-files",
      .help = "Keys whose values name files or folders",
      .kind = kListKeyFiles,
      .live_kind = kListLiveKeyFiles,
      .live_root = kInstalledRoot},
     ReportKeyFiles,
     {nullptr, true}},
    {{.report = Report::kFiles,
      .name = "files",
      .help = "Files and folders that values name",
      .kind = kListFiles,
      .live_kind = kListLiveFiles,
      .live_root = kInstalledRoot},
     ReportFiles,
     {nullptr, true}},
    {{.report = Report::kOpenSaveMru,
      .name = "open-save-mru",
      .help = "Files chosen in open and save dialogs",
      .kind = kListOpenSaveMru},
     ReportOpenSaveMru,
     {IsOpenSaveMru}},
    {{.report = Report::kStreamMru,
      .name = "stream-mru",
      .help = "Folders shown by the shell, from its item lists",
      .kind = kListStreamMru},
     ReportStreamMru,
     {IsViewMru}},
};

// Rows are in the order of the enumeration, which indexes them.
constexpr bool RowsAreWhole() {
  for (size_t i = 0; i < std::size(kReports); ++i) {
    const ReportInfo& info = kReports[i].info;
    const bool named = info.name != nullptr && info.help != nullptr && info.kind != 0;
    if (info.report != static_cast<Report>(i) || !named || kReports[i].run == nullptr) return false;
  }
  return std::size(kReports) == static_cast<size_t>(Report::kCount);
}
static_assert(RowsAreWhole());

const ReportRow& RowOf(Report report) {
  return kReports[std::min(static_cast<size_t>(report), std::size(kReports) - 1)];
}

// The beginning that the item is or lies in, with the item itself or, of entries, the one that it
// belongs to. No item when it lies in none.
// From the item up to the root: linear in the depth.
ReportStart StartAround(const ItemAt& at, const Beginning& beginning) {
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

// What is below a beginning belongs to it and begins nothing by itself.
std::vector<ReportStart> BeginningsBelow(const ItemAt& at, const Beginning& beginning) {
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

const ReportInfo& InfoOf(Report report) { return RowOf(report).info; }

const ReportInfo* FindReport(std::string_view name) {
  for (const ReportRow& row : kReports) {
    if (name == row.info.name) return &row.info;
  }
  return nullptr;
}

std::vector<ReportStart> FindReportKeys(const HiveImage& hive, const KeyTree& tree, Report report,
                                        uint32_t item, bool named) {
  if (item >= tree.items.size()) return {};
  const Beginning& beginning = RowOf(report).beginning;
  const ItemAt at = {hive, tree, item};
  if (beginning.begins == nullptr) return {{item, 1}};
  const ReportStart around = StartAround(at, beginning);
  if (around.item != kNoItem) return {around};
  std::vector<ReportStart> found = BeginningsBelow(at, beginning);
  if (found.empty() && beginning.anywhere && named) found.push_back({item, 1});
  return found;
}

void RunReport(Report report, KeySource& keys, bool live, OutputList& list) {
  ReportRun run = {keys, list, live};
  RowOf(report).run(run);
}

bool RunReportOnHive(Report report, const HiveImage& hive, const KeyTree& tree, uint32_t item,
                     bool named, OutputList& list) {
  const std::vector<ReportStart> starts = FindReportKeys(hive, tree, report, item, named);
  const std::unique_ptr<HiveKeySource> keys = KeysOfHive(hive, tree, item);
  for (const ReportStart& start : starts) {
    if (StopRequested()) break;
    keys->BeginAt(start.item, start.level);
    ReportRun run = {*keys, list};
    RowOf(report).run(run);
  }
  const bool found = !starts.empty() || StopRequested();
  ShowStatus(found ? "" : kNothingToReport);
  return found;
}

}  // namespace hivequarry
