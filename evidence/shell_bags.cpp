// Folders that the shell has shown. The tree "BagMRU" mirrors them: a value holds an item, the
// subkey of the value's name what lies below that folder, and "NodeSlot" there the number of its
// view. Older systems have whole item lists, flat, in "StreamMRU".
#include <algorithm>
#include <unordered_map>

#include "evidence/decode.h"
#include "evidence/mru.h"
#include "host/case.h"
#include "host/long_operation.h"
#include "reports/shell_items.h"

namespace hivequarry {
namespace {

constexpr std::string_view kUnknownFolder = "...";

// A key of the tree whose values are still to be read; `path` is that of the folder it stands for.
struct OpenFolder {
  EvidenceKey key;
  std::string path;
};

// Eight cells, from the kind of item to its GUID. Only a file has a size: that field of a folder is
// 0.
void AddItemCells(const ShellItem& item, EvidenceRow& row) {
  row.Text(item.kind).DosTime(item.modified).DosTime(item.created).DosTime(item.accessed);
  if (item.is_file) {
    row.Number(item.size);
  } else {
    row.Empty();
  }
  row.Text(item.dos_name).Text(FileReferenceText(item.file_reference)).Text(item.guid);
}

// Of the list of one or more items in a value's data, and what can't be read of it.
ItemList ReadItems(const EvidenceValue& value, EvidenceRow& row) {
  ItemList list;
  if (!HasData(value, 1, row)) return list;
  list = ReadItemList(value.data);
  if (list.cut) row.Note("an item leads beyond the data");
  if (list.count == 0 && !list.cut) row.Note("empty list: the desktop");
  if (list.count != 0 && list.last.name.starts_with("{type")) row.Note("kind of item not known");
  return list;
}

// Walks the keys as they are nested, with a stack: a hive may nest them as deep as it likes. How
// long a path gets JoinItemPath bounds.
class BagTree {
 public:
  BagTree(EvidenceRun& run, EvidenceKey top) : run_(run) { open_.push_back({top, {}}); }

  void Walk() {
    while (!open_.empty() && !StopRequested()) {
      const OpenFolder folder = std::move(open_.back());
      open_.pop_back();
      Visit(folder);
    }
  }

 private:
  void Visit(const OpenFolder& folder) {
    std::vector<EvidenceValue> values = run_.keys.ValuesOf(folder.key);
    const MruOrder order = OrderOf(values);
    SortByOrder(order, values);
    std::unordered_map<std::string, std::string> paths;  // of what the subkeys stand for
    for (const EvidenceValue& value : values) {
      if (IsDecimal(value.name)) Add(folder, order, value, paths);
    }
    // Pushed from the last to the first, since the last one pushed is visited first. A subkey whose
    // own value is lost still leads to what is below it, under a path with "..." in it.
    const std::vector<EvidenceKey> children = run_.keys.ChildrenOf(folder.key);
    for (auto child = children.rbegin(); child != children.rend(); ++child) {
      const std::string name = run_.keys.NameOf(*child);
      if (!IsDecimal(name)) continue;
      const auto own = paths.find(name);
      open_.push_back(
          {*child, own != paths.end() ? own->second : JoinItemPath(folder.path, kUnknownFolder)});
    }
  }

  // "NodeSlot" of the subkey, 4 bytes, is the number of the key below "Bags" that has the folder's
  // view.
  void Add(const OpenFolder& folder, const MruOrder& order, const EvidenceValue& value,
           std::unordered_map<std::string, std::string>& paths) {
    EvidenceRow row;
    const ItemList items = ReadItems(value, row);
    const std::string path =
        items.count != 0 ? JoinItemPath(folder.path, items.path) : std::string();
    // The subkey belongs to the first value of its name.
    if (!path.empty()) paths.emplace(value.name, path);
    row.Text(path);
    AddItemCells(items.last, row);
    AddOrder(run_, folder.key, order, value, row);
    const EvidenceKey child = run_.keys.ChildNamed(folder.key, value.name);
    const EvidenceValue slot = run_.keys.ValueNamed(child, "NodeSlot");
    if (slot.data.size() == 4) {
      row.Number(LoadU32(slot.data.data()));
    } else {
      row.Empty();
    }
    AddEvidence(run_, std::move(row), folder.key, &value);
  }

  EvidenceRun& run_;
  std::vector<OpenFolder> open_;
};

// "StreamMRU": each value is the whole item list of a folder, from the desktop down.
void AddFlatList(EvidenceRun& run, EvidenceKey key) {
  std::vector<EvidenceValue> values = run.keys.ValuesOf(key);
  const MruOrder order = OrderOf(values);
  SortByOrder(order, values);
  for (const EvidenceValue& value : values) {
    if (!IsDecimal(value.name)) continue;
    EvidenceRow row;
    const ItemList items = ReadItems(value, row);
    row.Text(items.path);
    AddItemCells(items.last, row);
    AddOrder(run, key, order, value, row);
    AddEvidence(run, std::move(row), key, &value);
  }
}

// One item of a known kind that takes all of the data but for the end of the list, two zeros.
// Shorter ones than a GUID with its head are too easily something else.
bool IsOneItem(const EvidenceValue& value) {
  const ByteView data = value.data;
  const size_t size = ReadU16(data, 0);
  if (size < 0x14 || size + 2 != data.size() || ReadU16(data, static_cast<uint32_t>(size)) != 0) {
    return false;
  }
  const ShellItem item = ReadShellItem(data.first(size));
  return item.kind != std::string_view("unknown") && !item.name.starts_with("{type");
}

}  // namespace

void DecodeShellBags(EvidenceRun& run, Places places) {
  for (const EvidencePlace& place : places) {
    if (EqualIgnoringCase(run.keys.NameOf(place.key), "StreamMRU")) {
      AddFlatList(run, place.key);
    } else {
      BagTree(run, place.key).Walk();
    }
  }
}

void DecodeLooseShellBags(EvidenceRun& run, std::span<const EvidenceValue> values) {
  for (const EvidenceValue& value : values) {
    if (!IsDecimal(value.name) || !IsOneItem(value)) continue;
    EvidenceRow row;
    const ItemList items = ReadItems(value, row);
    row.Text(JoinItemPath(kUnknownFolder, items.path));
    AddItemCells(items.last, row);
    row.Empty(3);
    AddEvidence(run, std::move(row), kNoEvidenceKey, &value);
  }
}

}  // namespace hivequarry
