#include "live/compare.h"

#include <array>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include "hive/values.h"
#include "host/host.h"
#include "host/long_operation.h"
#include "host/visible_text.h"
#include "lists/list_rows.h"
#include "live/live_data.h"
#include "live/live_keys.h"
#include "live/live_place.h"
#include "live/registry.h"
#include "words/item_values.h"
#include "words/value_text.h"

namespace hivequarry {
namespace {

constexpr uint32_t kRowsPerStatus = 64;
constexpr uint32_t kValuesPerStatus = 128;  // of one key
constexpr size_t kManyValues = 256;         // of a key: its path is shown more often
constexpr uint32_t kManyPerStatus = 32;
// The answer for names that the functions of the registry would take for others.
constexpr int32_t kErrorBadPathname = 161;
constexpr const char* kNotFound = "(not found)";
constexpr const char* kUnknownError = "(unknown error)";

using Names = std::unordered_set<std::u16string>;  // in capitals

// In parentheses, as they stand in the place of data.
const char* OpenErrorText(int32_t error) {
  switch (error) {
    case kRegistryNotFound:
      return kNotFound;
    case kRegistryDenied:
      return "(access denied)";
    case kRegistryBadHandle:
      return "(invalid handle)";
    case kRegistryMoreData:
      return "(insufficient buffer)";
    default:
      return kUnknownError;
  }
}

const char* InfoErrorText(int32_t error) {
  return error == kRegistryBufferTooSmall ? "(insufficient buffer)" : kUnknownError;
}

// In the view of 32-bit programs where the path names that branch.
OpenedKey OpenLive(const HiveImage& hive, const KeyTree& tree, uint32_t item,
                   const LivePlace& place) {
  std::u16string path;
  if (!LiveSubPath(hive, tree, item, place, path)) return {};
  const uint32_t access = kRegistryRead | RegistryViewOf(IsWow64SubPath(path));
  return OpenedKey(place.root, path.c_str(), access);
}

// What a row says of a value.
struct ValueTexts {
  std::string name;
  std::string stored_name;  // when `name` has lost something
  std::string file;
  std::string live;
  uint32_t position = kNoOffset;  // in the hive
  int icon = 0;
};

// A value of the registry, or one that is to be shown as it would be.
// Has no position: for words about a value alone.
ValueKey ShownValue(uint32_t type, const std::string& name, size_t length) {
  ValueKey value;
  value.status = ValueStatus::kRead;
  value.type = type;
  value.name = name;
  value.name_length = name.empty() ? 0 : 1;
  value.data_length = static_cast<uint32_t>(length);
  return value;
}

// A walk over the hive's branch with the registry's keys opened beside it, one for each level. What
// the registry alone has is listed key by key, from what it says of its own numbers of values and
// subkeys.
class Comparison {
 public:
  Comparison(const HiveImage& hive, const KeyTree& tree, uint32_t item,
             const CompareOptions& options, OutputList& list)
      : hive_(hive),
        tree_(tree),
        start_(item),
        options_(options),
        list_(list),
        two_views_(CurrentRegistry().has_32bit_view()),
        value_name_(kLongestValueName, u'\0') {}

  std::vector<uint32_t> Run() {
    if (!FindLivePlace(hive_, place_)) return {};
    const uint32_t end = tree_.items[start_].end;
    for (uint32_t at = start_; at < end && !StopRequested();) {
      while (!levels_.empty() && tree_.items[levels_.back().item].end <= at) levels_.pop_back();
      const bool entered = IsCompared(at) && CompareKey(at);
      at = entered ? at + 1 : tree_.items[at].end;
    }
    return std::move(differing_);
  }

 private:
  // A key on the way down to the one being compared.
  struct Level {
    uint32_t item;
    OpenedKey key;
    bool wow64;
  };

  bool IsCompared(uint32_t item) const { return IsKeyItem(tree_, item) && IsWanted(item); }

  // Beginning at a recovered key asks for those below it.
  bool IsWanted(uint32_t item) const {
    return options_.recovered_keys || !IsRecovered(tree_, item) ||
           (start_ != 0 && IsRecovered(tree_, start_));
  }

  // False when the key's children are not to be visited.
  bool CompareKey(uint32_t item) {
    ++keys_;
    const bool made = (tree_.items[item].marks & kVirtualMarks) != 0;
    values_ = made ? std::vector<uint32_t>() : ListedUpToGap(hive_, tree_.items[item].position);
    const bool link = IsLink(item);
    KeyCounts counts;
    if (!Enter(item, link, counts)) return false;
    if (link) return true;
    CompareValues(item);
    if (options_.rows == CompareRows::kAll) {
      if (counts.values != 0) ListLiveValues(item);
      if (counts.subkeys != 0) ListLiveKeys(item);
    }
    ShowCounts();
    return true;
  }

  // A key that only leads on: one value, that of a link, and nothing below it. It is opened itself
  // then, not what it leads to. Asked on systems with two views alone.
  bool IsLink(uint32_t item) const {
    if (!two_views_ || values_.size() != 1 || tree_.items[item].end != item + 1) return false;
    return ReadValueKey(hive_, values_[0], ValueRead::kFields, 0, nullptr).type == kRegLink;
  }

  bool Enter(uint32_t item, bool link, KeyCounts& counts) {
    bool wow64 = false;
    OpenedKey key = Open(item, link, wow64);
    if (key.error() != kRegistryDone) {
      AddKeyError(item, key.error(), OpenErrorText(key.error()));
      return false;
    }
    const int32_t error = CurrentRegistry().query_info(key.key(), &counts);
    if (error != kRegistryDone) {
      AddKeyError(item, error, InfoErrorText(error));
      return false;
    }
    levels_.push_back({item, std::move(key), wow64});
    return true;
  }

  OpenedKey Open(uint32_t item, bool link, bool& wow64) const {
    if (levels_.empty()) {
      std::u16string path;
      LiveSubPath(hive_, tree_, item, place_, path);
      wow64 = IsWow64SubPath(path);
      return OpenLive(hive_, tree_, item, place_);
    }
    const std::u16string name = WideItemName(hive_, tree_, item);
    if (!IsUsableKeyName(name)) return OpenedKey(0, kErrorBadPathname);
    const Level& parent = levels_.back();
    // Below it all keys are of the 32-bit view.
    wow64 = parent.wow64 || IsWow64Name(name);
    return OpenedKey(parent.key.key(), name.c_str(), kRegistryRead | RegistryViewOf(wow64),
                     link ? kRegistryOpenLink : 0);
  }

  // Of a key with very many values the status line is renewed more often.
  void CompareValues(uint32_t item) {
    const uint32_t per_status = values_.size() > kManyValues ? kManyPerStatus : kValuesPerStatus;
    for (size_t i = 0; i < values_.size() && !StopRequested(); ++i) {
      if ((i + 1) % per_status == 0) ShowStatus(PathOf(item).c_str());
      CompareValue(item, values_[i]);
    }
  }

  // Type and data alike are the same, whatever their text. Values that the file has lost are not
  // compared.
  void CompareValue(uint32_t item, uint32_t position) {
    const ValueKey value = ReadValueWithin(hive_, position, data_budget_, data_);
    if (value.status != ValueStatus::kRead) return;
    const std::u16string name = WideValueName(hive_, value);
    uint32_t type = 0;
    uint32_t size = 0;
    const int32_t error = QueryLive(name, type, size);
    const std::span<const uint8_t> live(live_data_.data(), size);
    if (error == kRegistryDone && IsSameData({value.type, data_}, {type, live})) return;
    if (!IsWanted(error)) return;
    ValueTexts texts;
    texts.name = ValueDisplayName(value);
    texts.stored_name = StoredNameFact(value);
    texts.file = ValueDataText(value, data_);
    texts.live = error == kRegistryDone ? ValueDataText(ShownValue(type, value.name, size), live)
                 : error == kRegistryNotFound ? kNotFound
                                              : kUnknownError;
    texts.position = position;
    texts.icon = IconOfValue(value);
    AddValueRow(item, texts);
  }

  // Into `live_data_`; kRegistryDone or the registry's error, with a size of 0.
  int32_t QueryLive(const std::u16string& name, uint32_t& type, uint32_t& size) {
    size = 0;
    // The functions take a zero for the name's end and would read another value.
    if (name.find(u'\0') != std::u16string::npos) return kErrorBadPathname;
    const int32_t error = ReadLiveData(live_data_, size, [&](uint8_t* bytes, uint32_t* room) {
      return CurrentRegistry().query_value(LiveKey(), name.c_str(), &type, bytes, room);
    });
    if (error != kRegistryDone) size = 0;
    return error;
  }

  // Whether rows for values that the registry answered so are listed.
  bool IsWanted(int32_t error) const {
    switch (options_.rows) {
      case CompareRows::kMissing:
        return error == kRegistryNotFound;
      case CompareRows::kDifferent:
        return error == kRegistryDone;
      case CompareRows::kAll:
        break;
    }
    return true;
  }

  // Values of the registry that the hive's key lacks.
  void ListLiveValues(uint32_t item) {
    const Names names = NamesOfValues();
    for (uint32_t index = 0; !StopRequested(); ++index) {
      auto length = static_cast<uint32_t>(value_name_.size());
      uint32_t type = 0;
      uint32_t size = 0;
      const int32_t error = CurrentRegistry().enum_value(LiveKey(), index, value_name_.data(),
                                                         &length, &type, nullptr, &size);
      if (error != kRegistryDone && error != kRegistryMoreData) return;
      const std::u16string_view name(value_name_.data(), length);
      if (!names.contains(CapitalName(name))) AddLiveValue(item, std::u16string(name), index);
    }
  }

  // Also of those whose data can't be read: they are there.
  Names NamesOfValues() const {
    Names names;
    for (const uint32_t position : values_) {
      const ValueKey value =
          ReadValueKey(hive_, position, ValueRead::kName, kMaxValueData, nullptr);
      if (value.status == ValueStatus::kEmpty || value.status == ValueStatus::kNotAValue) continue;
      names.insert(CapitalName(WideValueName(hive_, value)));
    }
    return names;
  }

  void AddLiveValue(uint32_t item, const std::u16string& name, uint32_t index) {
    uint32_t type = 0;
    uint32_t size = 0;
    const int32_t error = ReadLiveData(live_data_, size, [&](uint8_t* bytes, uint32_t* room) {
      auto length = static_cast<uint32_t>(value_name_.size());
      return CurrentRegistry().enum_value(LiveKey(), index, value_name_.data(), &length, &type,
                                          bytes, room);
    });
    const ValueKey value = ShownValue(type, TextOfWide(name), size);
    ValueTexts texts;
    texts.name = ValueDisplayName(value);
    texts.stored_name = StoredNameFact(value);
    texts.file = kNotFound;
    texts.live = error == kRegistryDone ? ValueDataText(value, std::span(live_data_.data(), size))
                                        : kUnknownError;
    texts.icon = IconOfValue(value);
    AddValueRow(item, texts);
  }

  // Keys of the registry that the hive's key lacks. One that was taken out of the view is there.
  void ListLiveKeys(uint32_t item) {
    Names names;
    const uint32_t end = tree_.items[item].end;
    for (uint32_t child = item + 1; child < end; child = tree_.items[child].end) {
      const KeyItem& it = tree_.items[child];
      if (it.kind == ItemKind::kKey && IsWanted(child)) {
        names.insert(CapitalName(WideItemName(hive_, tree_, child)));
      }
    }
    for (uint32_t index = 0; !StopRequested(); ++index) {
      auto length = static_cast<uint32_t>(value_name_.size());
      uint64_t last_write = 0;
      if (CurrentRegistry().enum_key(LiveKey(), index, value_name_.data(), &length, &last_write) !=
          kRegistryDone) {
        return;
      }
      const std::u16string_view name(value_name_.data(), length);
      if (!names.contains(CapitalName(name))) AddLiveKey(item, name, last_write);
    }
  }

  void AddLiveKey(uint32_t item, std::u16string_view name, uint64_t last_write) {
    const std::string text = TextOfWide(name);
    const std::string shown = ShownKeyName(text);
    const std::string path = PathOf(item) + '\\' + shown;
    // As shown the path may have lost something of a name; then rows keep it as it is stored, too.
    std::string stored = StoredItemPath(hive_, tree_, item);
    if (stored.empty() && shown != text) stored = ItemPath(hive_, tree_, item);
    if (!stored.empty()) stored.append("\\").append(text);
    const Cell cells[] = {path, "", kNotFound};
    NewRow row;
    row.cells = cells;
    row.has_datum = false;
    row.facts.about_key = true;
    row.facts.last_write = last_write;
    row.facts.path = stored;
    Add(item, row);
  }

  void AddKeyError(uint32_t item, int32_t error, const char* text) {
    const bool missing = error == kRegistryNotFound;
    if (options_.rows != CompareRows::kAll &&
        !(options_.rows == CompareRows::kMissing && missing)) {
      return;
    }
    if (error == kRegistryDenied && !options_.list_no_access) return;
    ValueTexts texts;
    texts.live = text;
    AddValueRow(item, texts);
  }

  // The row leads to the value in the hive, or to its key where the hive has no such value.
  void AddValueRow(uint32_t item, const ValueTexts& value) {
    const std::string path = PathOf(item);
    const bool in_hive = value.position != kNoOffset;
    const uint32_t key = tree_.items[item].position;
    const std::string key_offset = PlaceText(hive_, key);
    const std::string value_offset = in_hive ? PlaceText(hive_, value.position) : std::string();
    const Cell cells[] = {path, value.name, value.file, value.live, key_offset, value_offset};
    const std::string stored = StoredItemPath(hive_, tree_, item);
    NewRow row;
    row.cells = cells;
    row.icon = value.icon;
    row.datum = in_hive ? value.position : key;
    row.facts.about_key = value.name.empty();
    row.facts.path = stored;
    row.facts.name = value.stored_name;
    Add(item, row);
  }

  void Add(uint32_t item, const NewRow& row) {
    AddRow(list_, row);
    if (differing_.empty() || differing_.back() != item) differing_.push_back(item);
    ShowCounts();
  }

  void ShowCounts() {
    if (RowCount(list_) < next_status_) return;
    next_status_ = RowCount(list_) + kRowsPerStatus;
    ShowStatus((std::to_string(keys_) + '/' + std::to_string(RowCount(list_))).c_str());
  }

  RegistryKey LiveKey() const { return levels_.back().key.key(); }
  std::string PathOf(uint32_t item) const {
    return PathInPlace(place_, PathBelowRoot(hive_, tree_, item));
  }

  const HiveImage& hive_;
  const KeyTree& tree_;
  const uint32_t start_;
  const CompareOptions options_;
  OutputList& list_;
  const bool two_views_;
  LivePlace place_;
  std::vector<uint32_t> differing_;  // items with rows
  uint32_t keys_ = 0;
  uint32_t next_status_ = kRowsPerStatus;
  DataBudget data_budget_ = MakeDataBudget(hive_);
  std::vector<Level> levels_;
  std::vector<uint32_t> values_;  // of the key being compared
  std::vector<uint8_t> data_;
  std::vector<uint8_t> live_data_;
  std::u16string value_name_;
};

}  // namespace

ComparisonCheck CheckComparison(const HiveImage& hive, const KeyTree& tree, uint32_t item) {
  const KeyItem& it = tree.items[item];
  if (it.kind == ItemKind::kDisconnectedKeys || it.kind == ItemKind::kDisconnectedValues) {
    return {ComparisonFault::kVirtualFolder};
  }
  LivePlace place;
  if (!FindLivePlace(hive, place)) return {ComparisonFault::kNoRoot};
  // The root first: without it the key's own absence would say nothing.
  OpenedKey key = OpenLive(hive, tree, 0, place);
  if (key.error() == kRegistryDenied) return {ComparisonFault::kRootDenied};
  if (key.error() != kRegistryDone) return {ComparisonFault::kNoRoot};
  std::string path = PathInPlace(place, PathBelowRoot(hive, tree, item));
  if (HasNoLivePlace(tree, item)) return {ComparisonFault::kNoKey, std::move(path)};
  key = OpenLive(hive, tree, item, place);
  if (key.error() == kRegistryDone) return {};
  const bool denied = key.error() == kRegistryDenied;
  return {denied ? ComparisonFault::kKeyDenied : ComparisonFault::kNoKey, std::move(path)};
}

std::vector<uint32_t> CompareBranch(const HiveImage& hive, const KeyTree& tree, uint32_t item,
                                    const CompareOptions& options, OutputList& list) {
  ShowStatus("Comparing to Registry ...");
  std::vector<uint32_t> differing = Comparison(hive, tree, item, options, list).Run();
  ShowStatus(std::to_string(RowCount(list)).c_str());
  return differing;
}

}  // namespace hivequarry
