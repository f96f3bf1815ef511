// Scheduled tasks, and services with the files that they really run.
#include <algorithm>
#include <unordered_set>

#include "evidence/decode.h"
#include "host/case.h"
#include "host/number_text.h"

namespace hivequarry {
namespace {

// --- tasks --------------------------------------------------------------------------------------

// "DynamicInfo": 28 bytes from Vista on, 36 later; FILETIME, UTC:
//
//    0  4  version          12  8  last run        28  8  last completed
//    4  8  created          20  8  not read
constexpr uint32_t kCreated = 4;
constexpr uint32_t kLastRun = 12;
constexpr uint32_t kCompleted = 28;  // of the longer form

// The GUIDs, in capitals, that keys below "TaskCache\Tree" name: what tools that list tasks know.
// A task without such a key is hidden from them, though the system runs it. Freed keys and values
// do not count: they name nothing any more.
void CollectTree(EvidenceRun& run, EvidenceKey tree, std::unordered_set<std::string>& known) {
  std::vector<EvidenceKey> open = {tree};
  while (!open.empty()) {
    const EvidenceKey key = open.back();
    open.pop_back();
    const EvidenceValue id = run.keys.ValueNamed(key, "Id");
    if (id.read && !id.freed && !run.keys.IsFreed(key)) {
      known.insert(CapitalsOfText(ValueText(id)));
    }
    for (const EvidenceKey child : run.keys.ChildrenOf(key)) open.push_back(child);
  }
}

// What a task does: "Actions" holds a version in two bytes, the name of whose rights it has, and
// each action, by what it begins with; texts are UTF-16 after their length in bytes (4):
//
//    0x6666 program: name, program, arguments, folder; from version 3 on two bytes of flags
//    0x7777 class:   name, class id (16), data
//    0x8888 mail:    not read, and with it all that comes after
//    0x9999 message: name, title, text
//
// Each step takes two bytes at least, so the data bound the loop.
class ActionReader {
 public:
  explicit ActionReader(ByteView data) : left_(data) { version_ = Take16(); }

  // "PROGRAM ARGUMENTS; {class id}"
  std::string Read(EvidenceRow& row) {
    if (!IsKind(ReadU16(left_, 0))) Field();  // the first version has no name
    while (!left_.empty() && !cut_) {
      const uint16_t kind = Take16();
      if (!IsKind(kind)) {
        row.Note("an action of unknown form");
        break;
      }
      Add(Action(kind));
    }
    if (cut_) row.Note("an action leads beyond the data");
    return std::move(words_);
  }

 private:
  // The two bytes that say what an action is.
  static constexpr uint16_t kProgram = 0x6666;
  static constexpr uint16_t kClass = 0x7777;
  static constexpr uint16_t kMail = 0x8888;
  static constexpr uint16_t kMessage = 0x9999;
  static constexpr uint16_t kFlagsSince = 3;  // version

  static bool IsKind(uint16_t kind) {
    return kind == kProgram || kind == kClass || kind == kMail || kind == kMessage;
  }

  // Notes in `cut_` that the data end before, and gives what is left.
  ByteView Take(size_t size) {
    cut_ |= size > left_.size();
    const ByteView part = left_.first(std::min(size, left_.size()));
    left_ = left_.subspan(part.size());
    return part;
  }
  uint16_t Take16() { return ReadU16(Take(2), 0); }
  // UTF-16, its length in bytes before it.
  std::string Field() {
    const uint32_t size = ReadU32(Take(4), 0);
    return cut_ ? std::string() : WideText(Take(size));
  }

  std::string Action(uint16_t kind) {
    Field();  // the action's own name
    if (kind == kProgram) {
      const std::string program = Field();
      const std::string arguments = Field();
      const std::string folder = Field();
      if (version_ >= kFlagsSince) Take16();
      return Concat({program, arguments.empty() ? "" : " ", arguments,
                     folder.empty() ? "" : Concat({" (in ", folder, ")"})});
    }
    if (kind == kClass) {
      const std::string id = GuidAt(Take(16), 0);
      const std::string data = Field();
      return Concat({id, data.empty() ? "" : " ", data});
    }
    if (kind == kMessage) {
      const std::string title = Field();
      return Concat({"message: ", title, ": ", Field()});
    }
    left_ = {};  // fields of a mail are not read
    return "a mail";
  }

  void Add(const std::string& action) {
    if (action.empty()) return;
    if (!words_.empty()) words_ += "; ";
    words_ += action;
  }

  ByteView left_;         // what was not read yet
  uint16_t version_ = 0;  // the first field: how the actions are stored
  bool cut_ = false;      // a field was longer than what is left
  std::string words_;
};

// `known` are the GUIDs that the tree of tasks names; null for a hive without that tree, where
// nothing is said of it.
void AddTask(EvidenceRun& run, EvidenceKey key, const std::unordered_set<std::string>* known) {
  const std::vector<EvidenceValue> values = run.keys.ValuesOf(key);
  const std::string guid = run.keys.NameOf(key);
  EvidenceRow row;
  row.Text(TextNamed(values, "Path")).Text(TextNamed(values, "Author"));
  const EvidenceValue* info = FindValue(values, "DynamicInfo");
  if (info != nullptr && HasData(*info, kLastRun + 8, row)) {
    row.Time(ReadU64(info->data, kCreated)).Time(ReadU64(info->data, kLastRun));
    row.Time(info->data.size() >= kCompleted + 8 ? ReadU64(info->data, kCompleted) : 0);
  } else {
    row.Empty(3);
  }
  row.Text(TextNamed(values, "Date")).Text(TextNamed(values, "Description")).Text(guid);
  const EvidenceValue* actions = FindValue(values, "Actions");
  if (actions != nullptr && HasData(*actions, 2, row)) {
    row.Text(ActionReader(actions->data).Read(row));
  } else {
    row.Empty();
  }
  if (known != nullptr && !known->contains(CapitalsOfText(guid))) {
    row.Note("no key of the tree of tasks names it");
  }
  AddEvidence(run, std::move(row), key, nullptr,
              info == nullptr ? ByteView() : ByteView(info->data));
}

// --- services -----------------------------------------------------------------------------------

// "Start" of a service, 0 to 4 in this order; another number as it is, nothing for none.
std::string StartText(std::optional<uint64_t> start) {
  constexpr const char* kWords[] = {"boot", "system", "automatic", "by demand", "disabled"};
  if (!start) return {};
  return *start < std::size(kWords) ? kWords[*start] : std::to_string(*start);
}

// "Type" of a service: kernel driver (1), file system driver (2), recogniser (8). 0x10 and 0x20 are
// programs of their own and shared ones.
bool IsDriver(std::optional<uint64_t> type) { return type && (*type & 0x0B) != 0; }

// The program of a command line: what is in quotes, else up to the first ending of a program that a
// blank or the end follows.
std::string ProgramOf(std::string_view command) {
  if (command.starts_with('"')) {
    return std::string(command.substr(1, command.find('"', 1) - 1));
  }
  const std::string capitals = CapitalsOfText(command);
  size_t end = command.size();
  for (const std::string_view ending : {".EXE", ".SYS", ".DLL", ".COM", ".BAT", ".CMD"}) {
    const size_t at = capitals.find(ending);
    if (at == std::string::npos || capitals.size() != command.size()) continue;
    const size_t after = at + ending.size();
    if (after == command.size() || command[after] == ' ') end = std::min(end, after);
  }
  return std::string(command.substr(0, end));
}

// Paths of drivers begin at the system's folder, which the loader knows though nothing says so, or
// with one of its names. All of these come out with "%SystemRoot%" before them.
std::string WholePath(std::string path) {
  constexpr std::string_view kRoot = "%SystemRoot%\\";
  constexpr std::string_view kNamed = "\\SystemRoot\\";
  constexpr std::string_view kPlain = "\\??\\";
  if (StartsIgnoringCase(path, kNamed)) return Concat({kRoot, path.substr(kNamed.size())});
  if (path.starts_with(kPlain)) return path.substr(kPlain.size());
  if (StartsIgnoringCase(path, "system32\\") || StartsIgnoringCase(path, "syswow64\\")) {
    return Concat({kRoot, path});
  }
  return path;
}

// A service of a shared process has its library in "ServiceDll", of the key "Parameters" or, on
// some, of its own key: that is the file that counts then, since "ImagePath" is the process's. A
// key without any of these values is no service, and has no row.
void AddService(EvidenceRun& run, const EvidencePlace& place) {
  const std::vector<EvidenceValue> values = run.keys.ValuesOf(place.key);
  const std::string name = run.keys.NameOf(place.key);
  const std::optional<uint64_t> type = NumberNamed(values, "Type");
  const std::string image = TextNamed(values, "ImagePath");
  std::string library = TextNamed(values, "ServiceDll");
  const EvidenceKey parameters = run.keys.ChildNamed(place.key, "Parameters");
  if (library.empty()) library = ValueText(run.keys.ValueNamed(parameters, "ServiceDll"));
  EvidenceRow row;
  std::string file = WholePath(library.empty() ? ProgramOf(image) : library);
  if (file.empty() && IsDriver(type)) {
    file = Concat({"%SystemRoot%\\System32\\drivers\\", name, ".sys"});
    row.Note("no path: the place where the system looks then");
  }
  row.Text(name).Text(TextNamed(values, "DisplayName")).Text(file);
  row.Text(StartText(NumberNamed(values, "Start")));
  row.Text(type ? HexText(*type, 4) : std::string());
  row.Text(image).Text(library).Text(TextNamed(values, "ObjectName"));
  row.Text(TextNamed(values, "FailureCommand"));
  row.Text(place.control_set);
  const bool service = type || !image.empty() || !library.empty();
  if (service) AddEvidence(run, std::move(row), place.key);
}

}  // namespace

void DecodeTasks(EvidenceRun& run, Places places) {
  constexpr PlacePattern kTree[] = {
      "Microsoft\\Windows NT\\CurrentVersion\\Schedule\\!TaskCache\\Tree"};
  std::unordered_set<std::string> known;
  const std::vector<EvidencePlace> trees = FindPlaces(run.keys, kTree);
  for (const EvidencePlace& tree : trees) CollectTree(run, tree.key, known);
  for (const EvidencePlace& place : places) {
    AddTask(run, place.key, trees.empty() ? nullptr : &known);
  }
}

void DecodeServiceFiles(EvidenceRun& run, Places places) {
  for (const EvidencePlace& place : places) AddService(run, place);
}

}  // namespace hivequarry
