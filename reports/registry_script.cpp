#include "reports/registry_script.h"

#include <algorithm>
#include <array>
#include <set>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "bytes/byte_hash.h"
#include "hive/keys.h"
#include "hive/layers.h"
#include "hive/values.h"
#include "host/case.h"
#include "host/host.h"
#include "host/long_operation.h"
#include "host/shortfalls.h"
#include "host/text.h"
#include "host/visible_text.h"
#include "lists/list_rows.h"
#include "words/item_values.h"
#include "words/layer_words.h"
#include "words/value_text.h"

namespace hivequarry {
namespace {

// Bytes of UTF-8 that are gathered before the sink gets them.
constexpr size_t kScriptFlushSize = 64 * 1024;
// How often the status line says how far it is.
constexpr uint32_t kKeysPerNotice = 33;
constexpr uint32_t kManyValues = 128;  // of a key: it is always shown
constexpr uint32_t kValuesPerStatus = 16;

// Of the line from `start` on.
void KeepOnOneLine(std::string& line, size_t start) {
  for (char& character : std::span(line).subspan(start)) {
    if (character == '\r' || character == '\n' || character == '\0') character = kUnwritable;
  }
}

// False for a name that a key line would take for another: its backslashes part the keys of a path.
// Made names are the program's own.
bool IsScriptKeyName(const KeyTree& tree, uint32_t item, std::string_view name) {
  const KeyItem& it = tree.items[item];
  const bool stored = (it.marks & kVirtualMarks) == 0 && it.kind != ItemKind::kRoot;
  if (!stored || !IsKeyOrCopy(tree, item)) return true;
  const bool fits = name.size() <= kMaxScriptKeyName || CountUnits(name) <= kMaxScriptKeyName;
  return fits && name.find('\\') == name.npos;
}

// Why a value was skipped, in the words of the value lists where they have some.
std::string ValueError(const ValueKey& value) {
  const std::string marker =
      value.status == ValueStatus::kRead ? std::string() : ValueDataText(value, {});
  return marker.empty() ? "Can not be read" : marker;
}

// One walk over the items asked for; paths are kept from one item to the next, as neighbours have
// most of theirs in common.
class ScriptWriter {
 public:
  ScriptWriter(const HiveImage& hive, const KeyTree& tree, const TextSink& sink,
               RecoveredKeys recovered, ScriptForm form, Tombstones tombstones)
      : hive_(hive),
        tree_(tree),
        sink_(sink),
        recovered_(recovered),
        form_(form),
        tombstones_(tombstones) {}

  // Each item with its subtree, or itself alone; the head is written even when nothing follows.
  void Write(std::span<const uint32_t> items, ScriptScope scope) {
    bytes_ = ScriptMark(form_);
    out_ += ScriptHead(form_);
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
    size_t path_from;  // where the key path begins in line_: after the root's
  };

  // What can't be written is left out with all below it, since a script has no place for a key
  // without its parents.
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
      if (at != first && PassOver(first, at)) {
        at = tree_.items[at].end;
        continue;
      }
      const bool is_key = at == first ? IsKeyOrCopy(tree_, at) : IsKeyItem(tree_, at);
      if (is_key && LayerOf(at) == KeyLayer::kTombstone) {
        WriteTombstone(at);
        at = tree_.items[at].end;
        continue;
      }
      if (is_key) WriteComment(at);
      if (is_key) WriteKey(at);
      ++at;
    }
  }

  bool StandsInTree(uint32_t item) const { return item < tree_.disconnected_keys; }

  // True for a recovered key that nobody asked for.
  bool PassOver(uint32_t first, uint32_t item) {
    const bool asked = first != 0 && IsRecovered(tree_, first);
    const bool left_out = recovered_ == RecoveredKeys::kLeftOut && !asked && StandsInTree(item) &&
                          IsRecovered(tree_, item);
    for (uint32_t at = item; left_out && at < tree_.items[item].end; ++at) {
      result_.recovered_left_out += IsKeyItem(tree_, at);
    }
    return left_out;
  }

  // Before each branch of recovered keys in the tree.
  void WriteComment(uint32_t item) {
    const uint32_t parent = tree_.items[item].parent;
    const bool begins = item != 0 && StandsInTree(item) && IsRecovered(tree_, item) &&
                        (parent == 0 || !IsRecovered(tree_, parent));
    if (begins) out_.append("; recovered: ").append(line_, 1).append(kScriptLineEnd);
  }

  KeyLayer LayerOf(uint32_t item) const {
    const KeyItem& it = tree_.items[item];
    const bool has_cell = layered_ && (it.marks & kVirtualMarks) == 0;
    return has_cell ? LayerOfKey(hive_, it.position) : KeyLayer::kMerge;
  }

  // A deletion is only for what an import may write to: not for what hangs under a folder.
  void WriteTombstone(uint32_t item) {
    const uint32_t end = tree_.items[item].end;
    for (uint32_t at = item + 1; at < end; at = tree_.items[at].end) LeaveOut(at);
    ++result_.tombstone_keys;
    const bool deletes = tombstones_ == Tombstones::kDeletions && item != 0 && StandsInTree(item);
    out_.append(deletes ? "[-" : "; tombstone: ").append(line_, 1).append(deletes ? "]" : "");
    out_.append(kScriptLineEnd).append(kScriptLineEnd);
  }

  // A layered hive says with it that the value of the hive below is gone: a deletion, or a comment
  // where deletions are not asked for.
  void WriteTombstone(const ValueKey& value) {
    const size_t start = out_.size();
    if (tombstones_ == Tombstones::kComments) out_ += "; tombstone: ";
    if (FormatScriptDeletion(value.name, out_)) {
      ++result_.tombstone_values;
    } else {
      out_.resize(start);
      result_.skipped.push_back({key_, value.position});
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

  // The folders of what is not connected begin a path of their own: an import would else make their
  // keys below the root.
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
      // Leaves the bracket: the root's path goes.
      line_.resize(1);
      level.path_from = 1;
    } else {
      line_ += '\\';
    }
    const size_t start = line_.size();
    AppendStoredItemName(hive_, tree_, item, line_);
    levels_.push_back({item, line_.size(), level.path_from});
    const std::string_view name = std::string_view(line_).substr(start);
    if (name.size() > kMaxScriptKeyName || PlainEnd(name, 0, '\\', kUnwritable) != name.size()) {
      if (!IsScriptKeyName(tree_, item, name)) return false;
      if (MayBeAnother(name)) {
        const std::string stored(name);
        KeepOnOneLine(line_, start);
        NoteKeyName(item, stored);
      }
    }
    const std::string_view path = std::string_view(line_).substr(level.path_from);
    return path.size() <= kMaxScriptPath || CountUnits(path) <= kMaxScriptPath;
  }

  // A name of which something is lost has a "?" in the script: those alone can become another's.
  bool MayBeAnother(std::string_view name) const {
    if (PlainEnd(name, 0, kUnwritable) == name.size()) return false;
    return !HoldsScriptName(form_, name) || name.find(kUnwritable) != name.npos;
  }
  // In capitals, as the script has it.
  // Two names that are one of these are one name to who imports the script.
  std::string WrittenName(std::string_view name) const {
    if (form_ == ScriptForm::kFive) return CapitalsOfText(name);
    return CapitalsOfText(TextOfCodePage(CodePageOfText(name)));
  }
  void NoteLossy(uint32_t item, uint32_t position) {
    result_.lossy.push_back({item, position});
    NoteShortfall(Shortfall::kScriptTexts);
  }

  // A path is entered again for each key below it that is asked for by itself.
  void NoteKeyName(uint32_t item, std::string_view name) {
    if (!noted_keys_.insert(item).second) return;
    if (!HoldsScriptName(form_, name)) NoteLossy(item, kNoOffset);
    const auto [known, added] = odd_keys_.emplace(MixedHash(kHashStart, WrittenName(line_)), item);
    if (added || known->second == item) return;
    result_.merged.push_back({item, kNoOffset});
    NoteShortfall(Shortfall::kScriptNames);
  }

  // Two values of a key may be written under one name, and an import makes one of them.
  void NoteValueName(const ValueKey& value) {
    std::string name = WrittenName(value.name);
    std::ranges::replace(name, '\0', kUnwritable);
    if (odd_values_.insert(std::move(name)).second) return;
    result_.merged.push_back({key_, value.position});
    NoteShortfall(Shortfall::kScriptNames);
  }

  // Reads the value list once; entries that lead nowhere are counted among what was left out, by
  // the place of the entry.
  void WriteKey(uint32_t item) {
    key_ = item;
    if (LayerOf(item) != KeyLayer::kMerge) {
      ++result_.superseding_keys;
      out_.append("; ").append(KeyStatusText(hive_, tree_.items[item]));
      out_.append(" in the hive below: ").append(line_, 1).append(kScriptLineEnd);
    }
    out_.append(line_).append("]").append(kScriptLineEnd);
    ++result_.keys;
    positions_.clear();
    odd_values_.clear();
    const KeyItem& it = tree_.items[item];
    if ((it.marks & kVirtualMarks) == 0) ReadValuesInWalk(hive_, it.position, positions_);
    if (!positions_.empty()) WriteListStatus(it.position);
    if (result_.keys % kKeysPerNotice == 0 || positions_.size() > kManyValues) ShowKey();
    for (size_t i = 0; i < positions_.size() && !ended_; ++i) {
      if (positions_[i] != kNoOffset) {
        WriteValue(positions_[i]);
      } else {
        const uint32_t entry = ListEntryOf(hive_, it.position, i);
        result_.skipped.push_back({key_, PlaceOfLostValue(hive_, entry)});
      }
    }
    out_ += kScriptLineEnd;
    if (out_.size() >= kScriptFlushSize) Flush();
  }

  // Importing programs pass over lines of this kind.
  void WriteListStatus(uint32_t key) {
    const std::string status = ValueListStatus(hive_, key);
    if (status.empty()) return;
    out_.append("; the values of this key are not sure: ").append(status).append(kScriptLineEnd);
  }

  // Values that lose characters in this form are written all the same and noted.
  void WriteValue(uint32_t position) {
    StopWhenAsked();
    if (!MayShowValue(hive_, position, budget_)) return;
    const ValueKey value = ReadValueWithin(hive_, position, budget_, data_);
    if (layered_ && IsTombstone(hive_, value)) return WriteTombstone(value);
    bool lost = false;
    if (value.status != ValueStatus::kRead ||
        !FormatScriptValue(value.name, value.type, data_, form_, out_, lost)) {
      result_.skipped.push_back({key_, position});
      return;
    }
    const bool odd = value.name_length != 0 && MayBeAnother(value.name);
    if (lost || (odd && LosesValueName(form_, value.name))) NoteLossy(key_, position);
    if (odd) NoteValueName(value);
    ++result_.values;
    if (result_.values % kValuesPerStatus == 0) ShowCount();
    if (out_.size() >= kScriptFlushSize) Flush();
  }

  void LeaveOut(uint32_t item) {
    result_.left_out.push_back(item);
    NoteShortfall(Shortfall::kScriptKeys);
  }

  // Once the sink has refused nothing more is handed to it.
  void Flush() {
    const bool plain = form_ == ScriptForm::kFour && IsAscii(out_);
    if (!plain) EncodeScript(form_, out_, bytes_);
    const std::string& bytes = plain ? out_ : bytes_;
    if (!result_.refused && !bytes.empty()) result_.refused = !sink_(bytes);
    out_.clear();
    bytes_.clear();
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
  const RecoveredKeys recovered_;
  const ScriptForm form_;
  const Tombstones tombstones_;
  // Joined to those below a tombstone is gone, and a key is what it is.
  const bool layered_ = hive_.stack == nullptr && HasLayers(hive_);
  ScriptExport result_;
  bool ended_ = false;
  uint32_t key_ = kNoItem;     // being written
  std::string out_;            // text that is not yet written
  std::string bytes_;          // of it
  std::vector<Level> levels_;  // down to the item being written
  std::string line_;           // its key line, without what closes it
  std::string status_;
  std::vector<uint32_t> missing_;
  std::vector<uint32_t> positions_;  // of the key's values
  std::vector<uint8_t> data_;
  DataBudget budget_ = MakeDataBudget(hive_);
  std::unordered_set<uint32_t> noted_keys_;          // items whose names were looked at
  std::unordered_map<uint64_t, uint32_t> odd_keys_;  // items, by their lines
  std::unordered_set<std::string> odd_values_;       // names, of the key being written
};

}  // namespace

bool HasScriptRoot(const HiveImage& hive) {
  const size_t first = hive.root.long_prefix.find_first_not_of(" \t");
  return hive.root.long_prefix.size() > 1 && first != std::string::npos &&
         hive.root.long_prefix[first] != '-';
}

// It comes from the hive too, where its root key's name is all that is known of it.
std::string ScriptRoot(const HiveImage& hive) {
  std::string root = hive.root.long_prefix;
  KeepOnOneLine(root, 0);
  if (root.ends_with('\\')) root.pop_back();
  return root;
}

ScriptExport ExportKeys(const HiveImage& hive, const KeyTree& tree, std::span<const uint32_t> items,
                        ScriptScope scope, const TextSink& sink, RecoveredKeys recovered,
                        ScriptForm form, Tombstones tombstones) {
  const WholeReading whole;
  ShowStatus("Exporting ...");
  ScriptWriter writer(hive, tree, sink, recovered, form, tombstones);
  writer.Write(items, scope);
  ShowStatus("Done.");
  return writer.TakeResult();
}

// The keys in the order of the tree. Positions of values cost a pass over the value lists of all
// keys, until each is found.
std::vector<uint32_t> KeysOfPositions(const HiveImage& hive, const KeyTree& tree,
                                      std::span<const uint32_t> positions) {
  std::set<uint32_t> keys;
  std::unordered_set<uint32_t> values;
  for (const uint32_t position : positions) {
    const uint32_t item = ItemOfPosition(tree, position);
    if (item == kNoItem) values.insert(position);
    if (item != kNoItem && IsKeyItem(tree, item)) keys.insert(item);
  }
  std::vector<uint32_t> listed;
  for (uint32_t item = 0; item < tree.items.size() && !values.empty(); ++item) {
    if (!HasKeyCell(tree, item)) continue;
    listed.clear();
    ReadValuesOfKey(hive, tree.items[item].position, kAllEntries, listed);
    for (const uint32_t value : listed) {
      if (values.erase(value) != 0) keys.insert(item);
    }
  }
  return std::vector(keys.begin(), keys.end());
}

OutputListPtr ListScriptGaps(const HiveImage& hive, const KeyTree& tree,
                             const ScriptExport& written) {
  const bool whole = written.skipped.empty() && written.left_out.empty();
  if (whole && written.merged.empty() && written.lossy.empty()) return nullptr;
  OutputListPtr list = MakeOutputList(kListValueErrors);
  const auto add = [&](uint32_t item, const std::string& name, const char* error, uint32_t datum) {
    const std::string path = ItemPath(hive, tree, item);
    AddListRow(*list, {path, name, error}, datum);
  };
  const auto name_at = [&hive](uint32_t position) {
    return ReadValueKey(hive, position, ValueRead::kName, kMaxValueData, nullptr);
  };
  for (const uint32_t item : written.left_out) {
    add(item, "", "A script cannot hold this key: left out, with all below it",
        tree.items[item].position);
  }
  const auto add_named = [&](const SkippedValue& named, const char* error) {
    const bool is_key = named.position == kNoOffset;
    add(named.item, is_key ? std::string() : ValueDisplayName(name_at(named.position)), error,
        is_key ? tree.items[named.item].position : named.position);
  };
  for (const SkippedValue& merged : written.merged) {
    add_named(merged, "In the script its name is another's too");
  }
  for (const SkippedValue& skipped : written.skipped) {
    const ValueKey value = name_at(skipped.position);
    // A value that cannot be read at all has no name to list it by.
    const bool lost =
        value.status == ValueStatus::kEmpty || value.status == ValueStatus::kNotAValue;
    const std::string error = lost ? kLeadsNowhere : ValueError(value);
    add(skipped.item, lost ? kLostValue : ValueDisplayName(value), error.c_str(), skipped.position);
  }
  for (const SkippedValue& lossy : written.lossy) {
    add_named(lossy, lossy.position == kNoOffset
                         ? "The script has \"?\" for characters of its name"
                         : "The script has \"?\" for characters of its name or text");
  }
  return list;
}

}  // namespace hivequarry
