#include "reports/registry_script.h"

#include <algorithm>
#include <array>
#include <set>
#include <unordered_set>
#include <utility>

#include "hive/key_node.h"
#include "hive/value_key.h"
#include "hive/value_text.h"
#include "host/host.h"
#include "host/long_operation.h"
#include "lists/list_rows.h"
#include "recovery/item_values.h"

namespace hivequarry {
namespace {

constexpr char kLineEnd[] = "\r\n";
constexpr char kUnwritable = '?';  // in place of what a line cannot hold

constexpr size_t kBufferSize = 64 * 1024;
constexpr size_t kMaxKeyName = 256;
// Times the image's length: what may have been written behind a key line, and behind a value line.
constexpr uint64_t kKeyLimit = 5;
constexpr uint64_t kValueLimit = 3;
constexpr uint32_t kKeysPerNotice = 33;
constexpr uint32_t kManyValues = 128;  // of a key: it is always shown
constexpr uint32_t kValuesPerStatus = 16;

// Of the line from `start` on.
void KeepOnOneLine(std::string& line, size_t start) {
  for (char& character : std::span(line).subspan(start)) {
    if (character == '\r' || character == '\n' || character == '\0') character = kUnwritable;
  }
}

void AppendScriptName(const HiveImage& hive, const KeyTree& tree, uint32_t item,
                      std::string& line) {
  const size_t start = line.size();
  AppendItemName(hive, tree, item, line);
  if (line.size() - start > kMaxKeyName) line.resize(start + kMaxKeyName);
  KeepOnOneLine(line, start);
}

// The root's path comes from the hive too, where its root key's name is all that is known of it.
std::string ScriptRoot(const HiveImage& hive) {
  std::string root = hive.long_prefix;
  KeepOnOneLine(root, 0);
  if (root.ends_with('\\')) root.pop_back();
  return root;
}

// Why a value was skipped, in the words of the value lists where they have some.
std::string ValueError(const ValueKey& value) {
  const std::string marker =
      value.status == ValueStatus::kRead ? std::string() : ValueDataText(value, {});
  return marker.empty() ? "Can not be read" : marker;
}

class ScriptWriter {
 public:
  ScriptWriter(const HiveImage& hive, const KeyTree& tree, const TextSink& sink)
      : hive_(hive), tree_(tree), sink_(sink) {}

  void Write(std::span<const uint32_t> items, ScriptScope scope) {
    out_ += "REGEDIT4\r\n\r\n";
    for (const uint32_t item : items) {
      if (ended_) break;
      WriteItems(item, scope == ScriptScope::kBranch ? tree_.items[item].end : item + 1);
    }
    Flush();
  }
  ScriptExport TakeResult() { return std::move(result_); }

 private:
  // An item on the way to the one being written.
  struct Level {
    uint32_t item;
    size_t length;     // of line_ up to its name
    size_t path_from;  // where the key path begins in line_: behind the root's
  };

  void WriteItems(uint32_t first, uint32_t end) {
    levels_.clear();
    size_t first_depth = 0;
    for (uint32_t at = first; at < end && !ended_;) {
      const bool fits = Enter(at);
      if (at == first) first_depth = levels_.size();
      if (!fits || levels_.size() - first_depth > kMaxScriptDepth) {
        LeaveOut(at);
        at = tree_.items[at].end;
        continue;
      }
      const bool is_key = at == first ? IsKeyOrCopy(tree_, at) : IsKeyItem(tree_, at);
      if (is_key) WriteKey(at);
      ++at;
    }
  }

  // Makes line_ that of the item. False when the path of the item, or of one above it, is too long;
  // nothing below it is to be entered then.
  bool Enter(uint32_t item) {
    while (!levels_.empty() && item >= tree_.items[levels_.back().item].end) levels_.pop_back();
    missing_.clear();
    const uint32_t known = levels_.empty() ? kNoItem : levels_.back().item;
    for (uint32_t at = item; at != known; at = tree_.items[at].parent) missing_.push_back(at);
    return std::all_of(missing_.rbegin(), missing_.rend(),
                       [this](uint32_t at) { return EnterChild(at); });
  }

  bool EnterChild(uint32_t item) {
    const ItemKind kind = tree_.items[item].kind;
    if (levels_.empty()) {
      line_.assign("[").append(ScriptRoot(hive_));
      levels_.push_back({item, line_.size(), line_.size() + 1});
      return true;
    }
    Level level = levels_.back();
    line_.resize(level.length);
    if (kind == ItemKind::kDisconnectedKeys || kind == ItemKind::kDisconnectedValues) {
      line_.resize(1);
      level.path_from = 1;
    } else {
      line_ += '\\';
    }
    AppendScriptName(hive_, tree_, item, line_);
    levels_.push_back({item, line_.size(), level.path_from});
    return line_.size() - level.path_from <= kMaxScriptPath;
  }

  void WriteKey(uint32_t item) {
    key_ = item;
    out_.append(line_).append("]").append(kLineEnd);
    ++result_.keys;
    if (Written() > kKeyLimit * hive_.length) return CutShort();
    positions_.clear();
    const KeyItem& it = tree_.items[item];
    if ((it.marks & kVirtualMarks) == 0) {
      positions_ = ListedUpToGap(hive_, it.position, budget_);
    }
    if (budget_ == 0) LeaveOut(item);
    if (result_.keys % kKeysPerNotice == 0 || positions_.size() > kManyValues) ShowKey();
    for (const uint32_t position : positions_) {
      if (ended_) break;
      WriteValue(position);
    }
    out_ += kLineEnd;
    if (out_.size() >= kBufferSize) Flush();
  }

  void WriteValue(uint32_t position) {
    StopWhenAsked();
    const ValueKey value = ReadValueKey(hive_, position, ValueRead::kData, kMaxValueData, &data_);
    // A length beyond the hive itself is damage, and the value like any other that cannot be read.
    const bool too_long = value.status == ValueStatus::kTooLong &&
                          value.data_length > kMaxValueData && value.data_length <= hive_.length;
    if (too_long) return CutShort();
    if (value.status != ValueStatus::kRead ||
        !FormatScriptValue(value.name, value.type, data_, out_)) {
      result_.skipped.push_back({key_, position});
      return;
    }
    ++result_.values;
    if (result_.values % kValuesPerStatus == 0) ShowCount();
    if (Written() > kValueLimit * hive_.length) return CutShort();
    if (out_.size() >= kBufferSize) Flush();
  }

  uint64_t Written() const { return handed_on_ + out_.size(); }

  void LeaveOut(uint32_t item) {
    if (result_.cut_at == kNoItem) result_.cut_at = item;
  }

  void CutShort() {
    LeaveOut(key_);
    ended_ = true;
  }

  void Flush() {
    handed_on_ += out_.size();
    if (!result_.refused && !out_.empty()) result_.refused = !sink_(out_);
    out_.clear();
    ended_ = ended_ || result_.refused;
  }

  void ShowKey() {
    status_.assign(" ").append(line_);
    ShowStatus(status_.c_str());
    StopWhenAsked();
  }

  void ShowCount() { ShowStatus(std::to_string(result_.values).c_str()); }

  void StopWhenAsked() { ended_ = ended_ || StopRequested(); }

  const HiveImage& hive_;
  const KeyTree& tree_;
  const TextSink& sink_;
  ScriptExport result_;
  bool ended_ = false;
  uint32_t key_ = kNoItem;  // being written
  std::string out_;
  uint64_t handed_on_ = 0;     // bytes
  std::vector<Level> levels_;  // down to the item being written
  std::string line_;           // its key line, without what closes it
  std::string status_;
  std::vector<uint32_t> missing_;
  std::vector<uint32_t> positions_;  // of the key's values
  std::vector<uint8_t> data_;
  // Entries of value lists still to be read. A sound hive has four bytes for each; a list that many
  // keys share is written at each of them, within what one list each would take at most.
  uint32_t budget_ = hive_.length / 4;
};

}  // namespace

bool HasScriptRoot(const HiveImage& hive) {
  const size_t first = hive.long_prefix.find_first_not_of(" \t");
  return hive.long_prefix.size() > 1 && first != std::string::npos &&
         hive.long_prefix[first] != '-';
}

ScriptExport ExportKeys(const HiveImage& hive, const KeyTree& tree, std::span<const uint32_t> items,
                        ScriptScope scope, const TextSink& sink) {
  ShowStatus("Exporting ...");
  ScriptWriter writer(hive, tree, sink);
  writer.Write(items, scope);
  ShowStatus("Done.");
  return writer.TakeResult();
}

std::vector<uint32_t> KeysOfPositions(const HiveImage& hive, const KeyTree& tree,
                                      std::span<const uint32_t> positions) {
  std::set<uint32_t> keys;
  std::unordered_set<uint32_t> values;
  for (const uint32_t position : positions) {
    const uint32_t item = ItemOfPosition(tree, position);
    if (item == kNoItem) values.insert(position);
    if (item != kNoItem && IsKeyItem(tree, item)) keys.insert(item);
  }
  uint32_t budget = hive.length / 4;
  std::vector<uint32_t> listed;
  for (uint32_t item = 0; item < tree.items.size() && !values.empty(); ++item) {
    if (!HasKeyCell(tree, item)) continue;
    listed.clear();
    ReadValuesOfKey(hive, tree.items[item].position, budget, listed);
    for (const uint32_t value : listed) {
      if (values.erase(value) != 0) keys.insert(item);
    }
  }
  return std::vector(keys.begin(), keys.end());
}

OutputListPtr ListScriptGaps(const HiveImage& hive, const KeyTree& tree,
                             const ScriptExport& written) {
  if (written.skipped.empty() && written.cut_at == kNoItem) return nullptr;
  OutputListPtr list = MakeOutputList(kListValueErrors);
  const auto add = [&](uint32_t item, const std::string& name, const char* error, uint32_t datum) {
    const std::string path = ItemPath(hive, tree, item);
    const std::array<std::string_view, 3> texts = {path, name, error};
    AddListRow(*list, texts, datum, RowFacts());
  };
  if (written.cut_at != kNoItem) {
    add(written.cut_at, "", "Too much for a script: cut short here",
        tree.items[written.cut_at].position);
  }
  for (const SkippedValue& skipped : written.skipped) {
    const ValueKey value =
        ReadValueKey(hive, skipped.position, ValueRead::kName, kMaxValueData, nullptr);
    const std::string error = ValueError(value);
    add(skipped.item, ValueDisplayName(value), error.c_str(), skipped.position);
  }
  return list;
}

}  // namespace hivequarry
