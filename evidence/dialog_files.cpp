// What the dialogs that open and save files remember: the files, the programs that asked for them,
// and the folders where each of these was.
// Values are named by numbers or letters, and "MRUListEx" or "MRUList" has their order:
//
//    OpenSavePidlMRU, FirstFolder ...   from Vista on, item lists (reports/shell_items.h)
//    OpenSaveMRU, LastVisitedMRU        before: paths as text
//
// "LastVisited..." begins with the program's name in UTF-16 and a zero; "CIDSizeMRU" has that name
// and numbers of the dialog's place.
#include "evidence/decode.h"
#include "evidence/mru.h"
#include "reports/shell_items.h"

namespace hivequarry {
namespace {

// What the data of a list's values are.
enum class DialogForm : uint8_t {
  kFile,           // an item list or a path
  kProgramFolder,  // the program's name, then its folder as an item list or a path
  kProgram,        // the program's name, then numbers
};

struct DialogList {
  const char* word;
  DialogForm form;
};
// In the order of the decoder's patterns.
constexpr DialogList kLists[] = {
    {"file", DialogForm::kFile},
    {"file", DialogForm::kFile},
    {"last folder", DialogForm::kProgramFolder},
    {"last folder", DialogForm::kProgramFolder},
    {"last folder", DialogForm::kProgramFolder},
    {"first folder", DialogForm::kProgramFolder},
    {"program", DialogForm::kProgram},
};

// What an entry has; what its form lacks is empty. `item` is the last of its item list, whose times
// and file reference are those of the file or folder chosen.
struct DialogEntry {
  std::string program;
  std::string path;
  ShellItem item;
};

// True for items one after another that end in a size of 0 within the data. What is after that end
// is not looked at. An end alone is no list: text may begin with zeros too.
bool IsItemList(ByteView data) {
  size_t at = 0;
  while (at + 2 <= data.size()) {
    const size_t size = LoadU16(data.data() + at);
    if (size == 0) return at != 0;
    if (size < 3 || size > data.size() - at) return false;
    at += size;
  }
  return false;
}

// An item list or a UTF-16 path, told apart by their bytes. A damaged list whose first size is
// below 0x20 still counts as one: no path begins with such a character.
void ReadPlace(ByteView data, DialogEntry& entry, EvidenceRow& row) {
  if (data.empty()) return;
  const uint16_t first = ReadU16(data, 0);
  // An item list without items is the root of the shell's folders, the desktop.
  if (first == 0 && data.size() <= 2) return row.Note("empty list: the desktop"), void();
  // What is no item list is text, unless it begins as no text does.
  if (IsItemList(data) || first < 0x20) {
    const ItemList list = ReadItemList(data);
    if (list.cut) row.Note("an item leads beyond the data");
    entry.path = list.path;
    entry.item = list.last;
    return;
  }
  entry.path = WideText(data);
}

// Files go by the type of the value: those of XP are strings, later ones binary.
DialogEntry ReadEntry(const DialogList& list, const EvidenceValue& value, EvidenceRow& row) {
  DialogEntry entry;
  if (!HasData(value, 1, row)) return entry;
  ByteView data = value.data;
  const bool text = value.type == kRegSz || value.type == kRegExpandSz;
  if (list.form == DialogForm::kFile) {
    if (text) {
      entry.path = WideText(data);
      NoteTail(value, row);
    } else {
      ReadPlace(data, entry, row);
    }
    return entry;
  }
  const size_t end = WideEnd(data);
  entry.program = WideText(data.first(end));
  if (end == data.size()) row.Note("the program's name has no end");
  if (list.form == DialogForm::kProgram || end + 2 >= data.size()) return entry;
  ReadPlace(data.subspan(end + 2), entry, row);
  return entry;
}

// Rows of one key, the one used last first. `type` is the file name ending that the key is for, "*"
// for all of them, empty for a list that is not kept by endings.
void AddList(EvidenceRun& run, EvidenceKey key, const DialogList& list, const std::string& type) {
  std::vector<EvidenceValue> values = run.keys.ValuesOf(key);
  const MruOrder order = OrderOf(values);
  SortByOrder(order, values);
  for (const EvidenceValue& value : values) {
    if (IsOrderList(value) || value.name.empty()) continue;
    EvidenceRow row;
    const DialogEntry entry = ReadEntry(list, value, row);
    row.Text(list.word).Text(entry.program).Text(entry.path).Text(type);
    AddOrder(run, key, order, value, row);
    row.DosTime(entry.item.modified).DosTime(entry.item.created).DosTime(entry.item.accessed);
    row.Text(FileReferenceText(entry.item.file_reference));
    AddEvidence(run, std::move(row), key, &value);
  }
}

}  // namespace

void DecodeDialogFiles(EvidenceRun& run, Places places) {
  for (const EvidencePlace& place : places) {
    const DialogList& list = kLists[place.pattern];
    AddList(run, place.key, list, {});
    if (list.form != DialogForm::kFile) continue;
    for (const EvidenceKey type : run.keys.ChildrenOf(place.key)) {
      AddList(run, type, list, run.keys.NameOf(type));
    }
  }
}

}  // namespace hivequarry
