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

// Reads a key's values into `entries` by `take`, which returns false for a value that is none, and
// puts them in the order of their use. Those that the order lacks come last, as they are listed.
template <typename Entry, typename Take>
std::vector<Entry> ReadMru(KeySource& keys, const Take& take) {
  std::vector<Entry> entries;
  MruOrder order;
  SourceValue value;
  while (keys.NextValue(value)) {
    if (TakeMruList(value, order)) continue;
    Entry entry;
    if (!take(value, entry)) continue;
    entry.value = value.name;
    entries.push_back(std::move(entry));
  }
  std::stable_sort(entries.begin(), entries.end(), [&](const Entry& a, const Entry& b) {
    return RankOf(order, a.value) < RankOf(order, b.value);
  });
  return entries;
}

// --- the common dialogs ----------------------------------------------------------------------

struct OpenedFile {
  std::string value;
  std::string file;
  RowSubject subject;
};

bool IsDialogKey(std::string_view name) {
  return EqualIgnoringCase(name, "OpenSaveMRU") || EqualIgnoringCase(name, "OpenSavePidlMRU");
}

// Old dialogs keep paths, later ones item lists.
std::string FileOf(const SourceValue& value) {
  if (!value.read || IsText(value)) return DataCell(value);
  return ReadItemList(value.data).path;
}

// --- folders whose views are remembered --------------------------------------------------------

struct ViewedFolder {
  std::string value;
  std::string key;  // path
  std::string path;
  ShellItem item;
  uint32_t key_position = kNoOffset;
  uint64_t stream_date = 0;
  RowSubject subject;
};

// The "BagMRU" tree mirrors the folders: a value holds an item, the subkey of the value's name what
// lies below it, and there "NodeSlot" is the number of the view. The flat "StreamMRU" of older
// systems has whole lists, and a value's name is the number.
class ViewedFolders {
 public:
  explicit ViewedFolders(ReportRun& run) : run_(run) {}

  void Take(const SourceKey& key) {
    const size_t tree = FindIgnoringCase(key.path, "\\bagmru");
    const bool in_tree = tree != std::string_view::npos;
    EnterKey(key, in_tree);
    const std::string streams = in_tree ? key.path.substr(0, tree) + "\\Bags\\"
                                        : std::string(ParentPath(key.path)) + "\\Streams\\";
    uint64_t own_date = 0;
    const auto folders = ReadMru<ViewedFolder>(run_.keys, [&](const auto& value, auto& folder) {
      if (in_tree) own_date = std::max(own_date, DateOfSlot(value, streams));
      return TakeFolder(key, value, folder);
    });
    SetDateOfKey(own_date);
    for (const ViewedFolder& folder : folders) {
      levels_.back().row_of_value.emplace(folder.value, rows_.size());
      rows_.push_back(folder);
      if (!in_tree) rows_.back().stream_date = run_.keys.LastWriteOf(streams + folder.value);
    }
    run_.kept = static_cast<uint32_t>(rows_.size());
  }

  void AddRows() {
    run_.kept = 0;
    for (const ViewedFolder& row : rows_) AddFolderRow(row);
  }

 private:
  struct Level {
    uint32_t level = 0;
    size_t own_row = SIZE_MAX;  // of the folder that the key stands for
    std::unordered_map<std::string, size_t> row_of_value;
  };

  void EnterKey(const SourceKey& key, bool in_tree) {
    while (!levels_.empty() && levels_.back().level >= key.level) levels_.pop_back();
    Level level;
    level.level = key.level;
    if (!levels_.empty()) {
      const auto own = levels_.back().row_of_value.find(key.name);
      if (own != levels_.back().row_of_value.end()) level.own_row = own->second;
    }
    // Of a walk that begins inside the tree the folders above are not known.
    const bool inside = in_tree && !EqualIgnoringCase(key.name, "BagMRU");
    parent_ = inside ? "..." : "";
    if (level.own_row != SIZE_MAX) parent_ = rows_[level.own_row].path;
    levels_.push_back(std::move(level));
  }

  bool TakeFolder(const SourceKey& key, const SourceValue& value, ViewedFolder& folder) const {
    if (!IsNumber(value.name) || (value.read && IsText(value))) return false;
    ItemList list = ReadItemList(value.data, parent_);
    folder.path = value.read && list.count != 0 ? std::move(list.path) : value.text;
    folder.item = std::move(list.last);
    folder.key = key.path;
    folder.key_position = key.position;
    folder.subject = SubjectOf(key, value);
    return true;
  }

  uint64_t DateOfSlot(const SourceValue& value, const std::string& streams) {
    if (!EqualIgnoringCase(value.name, "NodeSlot") || value.data.size() != 4) return 0;
    return run_.keys.LastWriteOf(streams + std::to_string(LoadU32(value.data.data())));
  }

  void SetDateOfKey(uint64_t date) {
    const size_t own = levels_.back().own_row;
    if (own != SIZE_MAX) rows_[own].stream_date = date;
  }

  void AddFolderRow(const ViewedFolder& row) const {
    const ShellItem& item = row.item;
    AddReportRow(
        run_.list,
        {row.path, row.value, FormatDosTimestamp(item.modified), FormatDosTimestamp(item.created),
         FormatDosTimestamp(item.accessed), FormatTimestampChecked(row.stream_date),
         item.is_file ? std::to_string(item.size) : std::string(), item.dos_name, row.key,
         OffsetText(run_, row.subject.position), OffsetText(run_, row.key_position)},
        row.subject);
  }

  ReportRun& run_;
  std::vector<ViewedFolder> rows_;
  std::vector<Level> levels_;  // from the starting key down
  std::string parent_;         // path of the folder that the key stands for
};

}  // namespace

void ReportOpenSaveMru(ReportRun& run) {
  SourceKey key;
  while (NextKey(run, key)) {
    const auto files = ReadMru<OpenedFile>(run.keys, [&](const auto& value, OpenedFile& file) {
      file.file = value.name.empty() ? std::string() : FileOf(value);
      file.subject = SubjectOf(key, value);
      return !file.file.empty();
    });
    const std::string_view type = IsDialogKey(key.name) ? std::string_view() : key.name;
    for (const OpenedFile& file : files) {
      AddReportRow(
          run.list,
          {file.file, type, key.path, file.value, KeyDateText(key), OffsetText(run, key.position)},
          file.subject);
    }
  }
}

void ReportStreamMru(ReportRun& run) {
  SourceKey key;
  ViewedFolders folders(run);
  while (NextKey(run, key)) folders.Take(key);
  folders.AddRows();
}

}  // namespace hivequarry
