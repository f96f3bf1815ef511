#include "cases/script_hive.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <unordered_map>
#include <utility>
#include <vector>

#include "cases/new_hive.h"
#include "hive/root_path.h"
#include "host/case.h"
#include "host/evidence.h"
#include "host/file_reading.h"
#include "host/files.h"
#include "host/long_operation.h"
#include "host/text.h"
#include "recovery/image_tree.h"

namespace hivequarry {
namespace {

// A descriptor that says nothing: self-relative, without owner, group and lists.
const std::vector<uint8_t> kNoSecurity = {1, 0, 0, 0x80, 0, 0, 0, 0, 0, 0,
                                          0, 0, 0, 0,    0, 0, 0, 0, 0, 0};

// The number of a thing of that name in a key.
// The key of a table by key and name: a backslash is in no name of a key, and between number and
// name here.
std::string EntryOf(uint32_t key, std::string_view name) {
  return std::to_string(key) + '\\' + CapitalsOfText(name);
}

// What is set by the lines so far.
// Lines are applied in their order, as an import does: what a later one deletes is gone, with all
// below it.
struct Setting {
  std::vector<NewKey> keys;
  std::vector<size_t> depths;
  std::vector<bool> gone;                                   // a later line deleted it
  std::unordered_map<std::string, uint32_t> key_numbers;    // by EntryOf
  std::unordered_map<std::string, uint32_t> value_numbers;  // likewise, in their keys
  uint32_t current = kNoNewKey;
  uint32_t left_out = 0;
};

// Its number. Keys are never taken out again: those that the script deletes are marked as gone.
uint32_t AddKey(Setting& setting, uint32_t parent, std::u16string name) {
  NewKey key;
  key.name = std::move(name);
  key.parent = parent;
  setting.depths.push_back(parent == kNoNewKey ? 0 : setting.depths[parent] + 1);
  setting.keys.push_back(std::move(key));
  setting.gone.push_back(false);
  return static_cast<uint32_t>(setting.keys.size() - 1);
}

// kNoNewKey for a path that no hive holds, and, unless keys are to be made, for one that is not
// set.
uint32_t FindKey(Setting& setting, std::string_view path, bool make) {
  uint32_t at = 0;
  while (!path.empty()) {
    const std::string_view name = path.substr(0, path.find('\\'));
    path.remove_prefix(std::min(path.size(), name.size() + 1));
    std::u16string wide = WideOfText(name);
    const bool fits =
        !wide.empty() && wide.size() <= kLongestNewKeyName && setting.depths[at] < kDeepestNewKey;
    if (!fits) return kNoNewKey;
    const std::string entry = EntryOf(at, name);
    const auto found = setting.key_numbers.find(entry);
    if (found == setting.key_numbers.end() && !make) return kNoNewKey;
    at = found != setting.key_numbers.end()
             ? found->second
             : setting.key_numbers[entry] = AddKey(setting, at, std::move(wide));
  }
  return at;
}

// Only marked: its keys are left out with it (HiveOf). A later line of the same path makes a new
// one.
void DeleteKey(Setting& setting, const std::string& path) {
  const uint32_t key = FindKey(setting, path, false);
  if (key == kNoNewKey || key == 0) return;
  setting.gone[key] = true;
  setting.key_numbers.erase(EntryOf(setting.keys[key].parent, TextOfWide(setting.keys[key].name)));
}

// Takes the line's data. A value that is set again keeps the name as it was spelled first, as a
// system keeps it.
void SetValue(Setting& setting, ScriptLine& line) {
  if (setting.current == kNoNewKey) return;
  NewValue value;
  value.name = WideOfText(line.name);
  value.type = line.type;
  value.data = std::move(line.data);
  if (value.name.size() > kLongestNewValueName) {
    ++setting.left_out;
    return;
  }
  std::vector<NewValue>& values = setting.keys[setting.current].values;
  const auto [found, added] = setting.value_numbers.try_emplace(
      EntryOf(setting.current, line.name), static_cast<uint32_t>(values.size()));
  if (added) {
    values.push_back(std::move(value));
  } else {
    value.name = values[found->second].name;
    values[found->second] = std::move(value);
  }
}

// The last value takes its place.
void DeleteValue(Setting& setting, const std::string& name) {
  if (setting.current == kNoNewKey) return;
  const auto found = setting.value_numbers.find(EntryOf(setting.current, name));
  if (found == setting.value_numbers.end()) return;
  const uint32_t number = found->second;
  setting.value_numbers.erase(found);
  std::vector<NewValue>& values = setting.keys[setting.current].values;
  if (number + 1 < values.size()) {
    values[number] = std::move(values.back());
    setting.value_numbers[EntryOf(setting.current, TextOfWide(values[number].name))] = number;
  }
  values.pop_back();
}

// In the order of the script, as an import would. Values after a key that cannot be made are passed
// over.
void Apply(Setting& setting, ScriptLine& line) {
  switch (line.act) {
    case ScriptAct::kKey:
      setting.current = FindKey(setting, line.name, true);
      setting.left_out += setting.current == kNoNewKey;
      return;
    case ScriptAct::kDeleteKey:
      return DeleteKey(setting, line.name);
    case ScriptAct::kValue:
      return SetValue(setting, line);
    case ScriptAct::kDeleteValue:
      return DeleteValue(setting, line.name);
  }
}

// Without what was deleted.
NewHive HiveOf(Setting setting) {
  NewHive hive;
  hive.descriptors.push_back(kNoSecurity);
  std::vector<uint32_t> numbers(setting.keys.size(), kNoNewKey);
  for (size_t i = 0; i < setting.keys.size(); ++i) {
    NewKey& key = setting.keys[i];
    const uint32_t parent = key.parent == kNoNewKey ? kNoNewKey : numbers[key.parent];
    if (setting.gone[i] || (i != 0 && parent == kNoNewKey)) continue;
    key.parent = parent;
    numbers[i] = static_cast<uint32_t>(hive.keys.size());
    hive.keys.push_back(std::move(key));
  }
  SortNewHive(hive);
  return hive;
}

// A script of which a part can't be read is refused: what it lacks would be differences.
bool ReadWhole(const std::string& name, std::string& bytes, OpenFailure& failure) {
  int error = 0;
  const FileStream file(OpenFile(name, "rb", error));
  const int64_t size = file == nullptr ? -1 : FileSize(file.get());
  failure = {OpenFault::kCannotOpen, error};
  if (size < 0) return false;
  failure = {OpenFault::kNoMemory};
  if (size > INT32_MAX) return false;
  failure = {};
  bytes.resize(static_cast<size_t>(size));
  UnreadBytes unread;
  bytes.resize(ReadFileBytes(file.get(), 0, reinterpret_cast<uint8_t*>(bytes.data()), bytes.size(),
                             &unread));
  if (bytes.size() == static_cast<size_t>(size) && unread.count == 0) return true;
  failure = {StopRequested() ? OpenFault::kStopped : OpenFault::kCannotOpen, EIO};
  return false;
}

// A slot with an image of these bytes.
int OpenBytes(const std::vector<uint8_t>& bytes, const std::string& name, OpenFailure& failure) {
  const int slot = AllocateHiveSlot();
  failure = {slot < 0 ? OpenFault::kTableFull : OpenFault::kNone};
  if (slot < 0) return -1;
  HiveImage& hive = HiveOfSlot(slot);
  HiveImage image = ImageOfBytes(bytes);
  hive.buffer = std::move(image.buffer);
  hive.length = hive.held = hive.file_bytes = image.length;
  hive.header_valid = hive.root_valid = true;
  SetBounds(hive);
  hive.file_name = name;
  KeepEvidence(name);
  if (hive.buffer) return slot;
  FreeHiveSlot(slot);
  failure = {OpenFault::kNoMemory};
  return -1;
}

}  // namespace

bool IsScriptFile(const std::string& name) {
  int error = 0;
  const FileStream file(OpenFile(name, "rb", error));
  if (file == nullptr) return false;
  std::string bytes(256, '\0');
  bytes.resize(
      ReadFileBytes(file.get(), 0, reinterpret_cast<uint8_t*>(bytes.data()), bytes.size()));
  return IsScriptStart(bytes);
}

ScriptHive OpenScript(const std::string& name) {
  ScriptHive script;
  std::string bytes;
  if (!ReadWhole(name, bytes, script.failure)) return script;
  Setting setting;
  AddKey(setting, kNoNewKey, u"Script");
  script.read = ReadScript(bytes, [&](ScriptLine& line) {
    const bool deletes = line.act == ScriptAct::kDeleteKey || line.act == ScriptAct::kDeleteValue;
    script.deletions += deletes;
    if (line.act == ScriptAct::kKey && script.first_key.empty()) script.first_key = line.name;
    Apply(setting, line);
  });
  if (!script.read.script) return script;
  bytes = std::string();
  script.left_out = setting.left_out;
  const std::vector<uint8_t> image = BytesOfNewHive(HiveOf(std::move(setting)));
  script.failure = {image.empty() ? OpenFault::kNoMemory : OpenFault::kNone};
  if (image.empty()) return script;
  script.slot = OpenBytes(image, name, script.failure);
  if (script.slot < 0) return script;
  BuildImageTree(HiveOfSlot(script.slot), TreeAlone(), script.tree);
  script.tree.root_text = name.substr(name.find_last_of("/\\") + 1);
  return script;
}

uint32_t FindInScript(const HiveImage& hive, const KeyTree& tree, const std::string& path,
                      const std::string& place, const std::string& first) {
  const auto find = [&](const std::string& name) {
    return FindItemByPath(hive, tree, name.starts_with('\\') ? name : "\\" + name);
  };
  if (!path.empty()) return find(path);
  const std::string root = LongRootPath(place);
  const uint32_t same = root.empty() ? kNoItem : find(root);
  if (same != kNoItem) return same;
  return first.empty() ? 0 : find(first);
}

}  // namespace hivequarry
