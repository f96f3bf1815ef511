// What was opened, saved and looked at last: the lists of the common dialogs, and the folders whose
// views the shell remembers.
#include <algorithm>
#include <vector>

#include "hive/root_path.h"
#include "hive/timestamp.h"
#include "reports/report_run.h"
#include "reports/shell_items.h"

namespace hivequarry {
namespace {

bool IsNumber(std::string_view name) {
  return !name.empty() && name.find_first_not_of("0123456789") == std::string_view::npos;
}

// Calls `visit` with a key's values in the order of their use. Those that the order lacks come
// last, as they are listed.
// MRUListEx is numbers, MRUList is letters; a key has one of them. Both are read, as an update of
// the system may have left the older one.
template <typename Visit>
void ForEachMru(KeySource& keys, const Visit& visit) {
  constexpr std::string_view kLists[] = {"MRUListEx", "MRUList"};
  MruOrder order;
  SourceValue value;
  for (const std::string_view list : kLists) {
    if (keys.FindValue(list, value)) ReadMruList(value, order);
  }
  keys.OrderValues([&](const std::string& name) { return RankOf(order, name); });
  while (keys.NextValue(value)) {
    const bool list = std::ranges::any_of(
        kLists, [&](std::string_view name) { return EqualIgnoringCase(value.name, name); });
    if (!list) visit(value);
  }
}

// --- the common dialogs ----------------------------------------------------------------------

bool IsDialogKey(std::string_view name) {
  return EqualIgnoringCase(name, "OpenSaveMRU") || EqualIgnoringCase(name, "OpenSavePidlMRU");
}

// Old dialogs keep paths, later ones item lists.
std::string FileOf(const SourceValue& value) {
  if (!value.read || IsText(value)) return DataCell(value);
  return ReadItemList(value.data).path;
}

// --- folders whose views are remembered --------------------------------------------------------

// The "BagMRU" tree mirrors the folders: a value holds an item, the subkey of the value's name what
// lies below it, and there "NodeSlot" is the number of the view. The flat "StreamMRU" of older
// systems has whole lists, and a value's name is the number.
class ViewedFolders {
 public:
  explicit ViewedFolders(ReportRun& run) : run_(run) {}

  // Values that are named by numbers and hold no text are items of folders.
  void VisitKey(const SourceKey& key) {
    EnterKey(key);
    ForEachMru(run_.keys, [&](const SourceValue& value) {
      const bool folder = IsNumber(value.name) && !(value.read && IsText(value));
      if (folder) AddFolder(key, value);
    });
  }

 private:
  struct Level {
    uint32_t level = 0;
    bool in_tree = false;
    std::string views;  // the key that the views' keys are in, with a backslash after
    std::string path;   // of the folder that the key stands for
    // What the values hold, below that: the folders that the subkeys stand for.
    std::unordered_map<std::string, std::string> folders;
  };

  // Keys come parents first, so the levels above are a stack. The path of a folder is that of the
  // value of the same name in the key above; "..." where that is missing.
  void EnterKey(const SourceKey& key) {
    while (!levels_.empty() && levels_.back().level >= key.level) levels_.pop_back();
    Level level;
    level.level = key.level;
    if (!levels_.empty() && levels_.back().in_tree) {
      const Level& above = levels_.back();
      const auto own = above.folders.find(key.name);
      level.in_tree = true;
      level.views = above.views;
      level.path = own == above.folders.end() ? "..." : JoinItemPath(above.path, own->second);
    } else {
      EnterTree(key, level);
    }
    levels_.push_back(std::move(level));
  }

  // Of a walk that begins inside the tree the folders above are not known.
  static void EnterTree(const SourceKey& key, Level& level) {
    const size_t tree = FindIgnoringCase(key.path, "\\bagmru");
    level.in_tree = tree != std::string_view::npos;
    level.views = level.in_tree ? key.path.substr(0, tree) + "\\Bags\\"
                                : std::string(ParentPath(key.path)) + "\\Streams\\";
    if (level.in_tree && !EqualIgnoringCase(key.name, "BagMRU")) level.path = "...";
  }

  void AddFolder(const SourceKey& key, const SourceValue& value) {
    Level& level = levels_.back();
    const ItemList list = ReadItemList(value.data);
    const bool shown = value.read && list.count != 0;
    const std::string path = shown ? JoinItemPath(level.path, list.path) : value.text;
    // The subkey belongs to the first value of its name.
    const bool first = !level.in_tree || level.folders.emplace(value.name, list.path).second;
    const RowSubject subject = SubjectOf(key, value);
    const std::string name = value.name;
    const uint64_t date = first ? ViewDate(level, name) : 0;
    const ShellItem& item = list.last;
    AddReportRow(run_.list,
                 {path,
                  name,
                  {FormatDosTimestamp(item.modified), DateValue(FileTimeOfDos(item.modified))},
                  {FormatDosTimestamp(item.created), DateValue(FileTimeOfDos(item.created))},
                  {FormatDosTimestamp(item.accessed), DateValue(FileTimeOfDos(item.accessed))},
                  {FormatTimestampChecked(date), DateValue(date)},
                  {item.is_file ? std::to_string(item.size) : std::string(), item.size},
                  item.dos_name,
                  key.path,
                  OffsetText(run_, subject.position),
                  OffsetText(run_, key.position)},
                 subject);
  }

  // The last write of the key with the view of a folder.
  // 0 where there is no such key.
  uint64_t ViewDate(const Level& level, const std::string& folder) {
    if (!level.in_tree) return run_.keys.LastWriteOf(level.views + folder);
    SourceValue slot;
    const bool found = run_.keys.FindChildValue(folder, "NodeSlot", slot) && slot.data.size() == 4;
    if (!found) return 0;
    return run_.keys.LastWriteOf(level.views + std::to_string(LoadU32(slot.data.data())));
  }

  ReportRun& run_;
  std::vector<Level> levels_;  // from the starting key down
};

}  // namespace

void ReportOpenSaveMru(ReportRun& run) {
  SourceKey key;
  while (NextKey(run, key)) {
    const std::string_view type = IsDialogKey(key.name) ? std::string_view() : key.name;
    ForEachMru(run.keys, [&](const SourceValue& value) {
      const std::string file = value.name.empty() ? std::string() : FileOf(value);
      if (file.empty()) return;
      AddReportRow(run.list,
                   {file,
                    type,
                    key.path,
                    value.name,
                    {KeyDateText(key), DateValue(key.last_write)},
                    OffsetText(run, key.position)},
                   SubjectOf(key, value));
    });
  }
}

void ReportStreamMru(ReportRun& run) {
  SourceKey key;
  ViewedFolders folders(run);
  while (NextKey(run, key)) folders.VisitKey(key);
}

}  // namespace hivequarry
