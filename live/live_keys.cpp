#include "live/live_keys.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "hive/root_path.h"
#include "host/long_operation.h"
#include "host/text.h"
#include "host/visible_text.h"
#include "lists/list_rows.h"
#include "live/live_data.h"
#include "words/value_text.h"

namespace hivequarry {
namespace {

// Bytes: the lists of one have lengths of 16 bits.
constexpr uint32_t kLongestDescriptor = 0x10000;

bool IsGone(int32_t error) { return error == kRegistryNotFound || error == kRegistryKeyDeleted; }

std::string_view LastName(std::string_view path) { return path.substr(path.rfind('\\') + 1); }

}  // namespace

std::string ReadDescriptor(RegistryKey key, uint32_t parts) {
  // Most descriptors fit; else the call says how much it wants, which may change until the next
  // one.
  std::string descriptor(512, '\0');
  for (;;) {
    auto size = static_cast<uint32_t>(descriptor.size());
    auto* bytes = reinterpret_cast<uint8_t*>(descriptor.data());
    const int32_t error = CurrentRegistry().get_security(key, parts, bytes, &size);
    const bool more = error == kRegistryMoreData && size > descriptor.size();
    if (error != kRegistryDone && (!more || size > kLongestDescriptor)) return {};
    descriptor.resize(size);
    if (error == kRegistryDone) return descriptor;
  }
}

bool IsRegistryLink(RegistryKey key) {
  uint32_t type = 0;
  uint32_t size = 0;
  const int32_t error =
      CurrentRegistry().query_value(key, u"SymbolicLinkValue", &type, nullptr, &size);
  return error == kRegistryDone && type == kRegLink;
}

// Where `options` ask for the rights of a backup, which pass over a key's own security, a refusal
// is followed by a try without them.
OpenedKey OpenForReading(RegistryKey parent, const char16_t* name, uint32_t access,
                         uint32_t options) {
  OpenedKey opened(parent, name, access, options);
  const bool tried_all = (options & kRegistryForBackup) == 0 || IsGone(opened.error());
  if (opened.error() == kRegistryDone || tried_all) return opened;
  return OpenedKey(parent, name, access, options & ~kRegistryForBackup);
}

std::string RegistryErrorText(int32_t error) {
  if (IsGone(error)) return "not found";
  if (error == kRegistryDenied) return "Access denied";
  return "Error " + std::to_string(error);
}

RegistryWalk::RegistryWalk(const std::string& path, uint32_t access, uint32_t options)
    : start_(path), access_(access), options_(options), name_(kLongestValueName, u'\0') {
  while (start_.ends_with('\\')) start_.pop_back();
}

// Depth first, in the registry's order. A key that can't be opened is given too, with the error,
// and has no children.
bool RegistryWalk::NextKey(SourceKey& key) {
  if (StopRequested()) return false;
  if (!std::exchange(started_, true)) return Start(key);
  while (!levels_.empty() && !StopRequested()) {
    Level& level = levels_.back();
    if (!level.listed) ListChildren(level);
    if (level.next_child == level.children.size()) {
      levels_.pop_back();
      continue;
    }
    const Child child = std::move(level.children[level.next_child++]);
    if (Enter(child, key)) return true;
  }
  return false;
}

bool RegistryWalk::Start(SourceKey& key) {
  RootSplit split;
  OpenedKey opened;
  if (SplitRootPath(start_, split)) {
    opened = OpenForReading(split.handle, WideOfText(split.rest).c_str(), access_, options_);
  }
  const int32_t error = opened.error();
  path_ = start_;
  stored_path_ = start_;
  Push(std::move(opened), error, Child(), key);
  key.name = LastName(start_);
  return true;
}

// False when the key is gone.
bool RegistryWalk::Enter(const Child& child, SourceKey& key) {
  const Level& parent = levels_.back();
  OpenedKey opened;
  // The functions take a zero for the name's end and would open another key.
  const bool named = child.name.find(u'\0') == std::u16string::npos;
  if (named) {
    opened =
        OpenForReading(parent.key.key(), child.name.c_str(), access_, options_ | kRegistryOpenLink);
    if (IsGone(opened.error())) return false;
  }
  const std::string name = TextOfWide(child.name);
  key.name = ShownKeyName(name);
  // The paths are built in place: a walk over a million keys makes no text for each of their
  // parents.
  path_.resize(parent.path_length);
  stored_path_.resize(parent.stored_length);
  if (path_.size() < kLongestPath) {
    path_ += '\\' + key.name;
    stored_path_ += '\\' + name;
  }
  const int32_t error = opened.error();
  Push(std::move(opened), error, child, key);
  return true;
}

// At kMaxLiveDepth the children are not listed: the registry has none deeper.
void RegistryWalk::Push(OpenedKey opened, int32_t error, const Child& child, SourceKey& key) {
  Level level;
  level.key = std::move(opened);
  if (error == kRegistryDone) {
    error = CurrentRegistry().query_info(level.key.key(), &level.counts);
    if (error != kRegistryDone) level.key.Close();
  }
  const bool read = error == kRegistryDone;
  level.path_length = path_.size();
  level.stored_length = stored_path_.size();
  level.listed = !read || levels_.size() + 1 >= kMaxLiveDepth;
  levels_.push_back(std::move(level));
  next_value_ = 0;
  key_name_ = child.name;
  key.path = path_;
  key.stored_path = stored_path_ == path_ ? std::string() : stored_path_;
  key.level = static_cast<uint32_t>(levels_.size());
  key.last_write = read ? levels_.back().counts.last_write : child.last_write;
  key.position = kNoOffset;
  key.error = read ? std::string() : RegistryErrorText(error);
}

void RegistryWalk::SkipChildren() {
  if (levels_.empty()) return;
  levels_.back().listed = true;
  levels_.back().children.clear();
  levels_.back().next_child = 0;
}

// All at once: numbers of keys change when others come and go.
void RegistryWalk::ListChildren(Level& level) {
  level.listed = true;
  const Registry& registry = CurrentRegistry();
  if (level.counts.subkeys == 0) return;
  level.children.reserve(std::min<uint32_t>(level.counts.subkeys, 0x10000));
  for (uint32_t index = 0; !StopRequested(); ++index) {
    Child child;
    auto size = static_cast<uint32_t>(name_.size());
    const int32_t error =
        registry.enum_key(level.key.key(), index, name_.data(), &size, &child.last_write);
    if (error != kRegistryDone) return NoteCut(level, error);
    child.name.assign(name_, 0, size);
    level.children.push_back(std::move(child));
  }
}

void RegistryWalk::NoteCut(const Level& level, int32_t error) {
  if (error == kRegistryNoMoreItems || IsGone(error)) return;
  cuts_.push_back({path_.substr(0, level.path_length), error});
}

bool RegistryWalk::NextValue(SourceValue& value) {
  if (key() == 0 || StopRequested()) return false;
  uint32_t data_size = 0;
  uint32_t name_size = 0;
  const int32_t error = ReadValue(value, data_size, name_size);
  if (error != kRegistryDone && error != kRegistryMoreData) {
    NoteCut(levels_.back(), error);
    return false;
  }
  ++next_value_;
  value_name_size_ = name_size;
  const std::u16string_view name(name_.data(), name_size);
  value.name = TextOfWide(name);
  value.shown_name = ShownValueName(value.name);
  value.stored_name = value.shown_name == value.name ? std::string() : value.name;
  // Data that did not fit (another program may have made them longer since) are shown as the error
  // that says so; the value is there all the same.
  value.position = kNoOffset;
  value.read = error == kRegistryDone;
  value.data = std::span(data_.data(), value.read ? data_size : 0);
  ValueKey shown;
  shown.status = ValueStatus::kRead;
  shown.type = value.type;
  value.text = value.read ? ValueDataText(shown, value.data) : RegistryErrorText(error);
  return true;
}

// Name and type come also for data that are too long, with kRegistryMoreData.
int32_t RegistryWalk::ReadValue(SourceValue& value, uint32_t& data_size, uint32_t& name_size) {
  const auto read = [&](uint8_t* data, uint32_t* size) {
    name_size = static_cast<uint32_t>(name_.size());
    return CurrentRegistry().enum_value(key(), next_value_, name_.data(), &name_size, &value.type,
                                        data, size);
  };
  // So that the first call for data succeeds as a rule.
  const uint32_t longest = std::min(levels_.back().counts.longest_data, kMaxLiveData);
  if (data_.size() < longest) data_.resize(longest);
  int32_t error = ReadLiveData(data_, data_size, read);
  if (error != kRegistryMoreData) return error;
  // Asked once more without room for data, which gives the rest.
  data_size = 0;
  error = read(nullptr, &data_size);
  return error == kRegistryDone ? kRegistryMoreData : error;
}

std::unique_ptr<KeySource> KeysOfRegistry(const std::string& path) {
  return std::make_unique<RegistryWalk>(path, kRegistryRead | kRegistry64Bit);
}

std::vector<std::string> PathsOfRoots(uint32_t roots) {
  struct Root {
    LiveRoot bit;
    const char* name;
    uint32_t whole;  // the root that it is part of
  };
  constexpr Root kRoots[] = {{kLiveMachine, "HKLM", 0},
                             {kLiveUser, "HKCU", kLiveUsers},
                             {kLiveUsers, "HKU", 0},
                             {kLiveConfig, "HKCC", kLiveMachine}};
  std::vector<std::string> paths;
  for (const Root& root : kRoots) {
    if ((roots & root.bit) != 0 && (roots & root.whole) == 0) paths.emplace_back(root.name);
  }
  return paths;
}

void LiveProgress::Count(const std::string& path, const OutputList& list) {
  if (++keys_ % kKeysPerStatus == 0) ShowWalk(path, keys_, RowCount(list));
}

void AddLiveRow(OutputList& list, std::initializer_list<Cell> cells, const SourceKey& key,
                const SourceValue* value, int icon) {
  RowFacts facts;
  facts.about_key = value == nullptr;
  facts.last_write = key.last_write;
  facts.path = key.stored_path;
  if (value != nullptr) facts.name = value->stored_name;
  AddListRow(list, cells, kNoOffset, facts, icon);
}

}  // namespace hivequarry
