#include "hive/layer_stack.h"

#include <algorithm>
#include <cstring>
#include <memory>

#include "hive/file_place.h"
#include "hive/keys.h"
#include "hive/layers.h"
#include "hive/offset_map.h"
#include "hive/values.h"
#include "host/case.h"
#include "host/long_operation.h"

namespace hivequarry {
namespace {

constexpr uint32_t kGap = 4096;  // zeros after a layer: fields beyond its end are 0

uint64_t RoomOf(const HiveImage& hive) {
  return (uint64_t{hive.length} + kGap - 1) / kGap * kGap + kGap;
}

// --- the image -----------------------------------------------------------------------------------

// The layers' bytes one after another, the topmost first, each at a page with at least kGap zeros
// after it. A layer whose bytes were put together again can't be in a stack: its places are not
// those of its file.
StackResult CopyLayers(std::vector<TreeOfLayer>& from, LayerStack& layers, HiveImage& stack) {
  uint64_t length = 0;
  for (uint32_t i = 0; i < from.size(); ++i) {
    if (!from[i].hive.data_base_proven || !from[i].hive.places.returns.empty()) {
      return {StackFault::kNoPlaces, i};
    }
    length += RoomOf(from[i].hive);
  }
  stack.buffer = AllocateImage(length);
  if (!stack.buffer) return {StackFault::kNoMemory};
  uint8_t* out = stack.buffer.get();
  std::memset(out + length, 0, kImageSlack);
  uint64_t start = 0;
  for (TreeOfLayer& layer : from) {
    const uint64_t room = RoomOf(layer.hive);
    std::memcpy(out + start, layer.hive.buffer.get(), layer.hive.length);
    std::memset(out + start + layer.hive.length, 0, room - layer.hive.length);
    layers.layers.push_back({std::move(layer.hive), static_cast<uint32_t>(start)});
    start += room;
  }
  stack.length = stack.held = static_cast<uint32_t>(length);
  stack.last_valid = stack.length - 8;
  return {};
}

// What is known of the topmost layer, which the stack stands for.
void CopyTopFacts(const HiveImage& top, HiveImage& stack) {
  stack.state = top.state;
  stack.slot = top.slot;
  stack.root_valid = top.root_valid;
  stack.root_position = top.root_position;
  stack.base_offset = top.base_offset;
  stack.file_bytes = top.file_bytes;
  stack.file_name = top.file_name;
  stack.header_valid = top.header_valid;
  stack.lower_bound = top.lower_bound;
  stack.data_start = top.data_start;
  stack.data_base = top.data_base;
  stack.data_base_proven = true;
  stack.moves_sought = true;
  stack.logs = top.logs;
  stack.root = top.root;
}

void MapLayers(const LayerStack& layers, HiveImage& stack) {
  std::vector<ImagePiece> pieces;
  const auto count = static_cast<uint32_t>(layers.layers.size());
  for (uint32_t i = 0; i < count; ++i) {
    const auto& [hive, start] = layers.layers[i];
    const uint32_t end = i + 1 < count ? layers.layers[i + 1].start : stack.length;
    AddLayerRuns(hive, start, end, i == 0, stack.offset_runs);
    if (hive.places.pieces.empty()) pieces.push_back({start, 0, PieceKind::kOwn});
    for (ImagePiece piece : hive.places.pieces) {
      piece.position += start;
      pieces.push_back(piece);
    }
    stack.tolerant_keys |= hive.tolerant_keys;
    for (const auto& [key, list] : hive.found.value_lists) {
      stack.found.value_lists.emplace(key + start, list + start);
    }
    for (const auto& [key, note] : hive.found.list_notes) {
      stack.found.list_notes.emplace(key + start, note);
    }
  }
  SetPieces(stack, pieces);
  // A place that is asked for without a layer is the topmost one's.
  std::erase_if(stack.places.by_place, [&](uint32_t piece) {
    return count > 1 && stack.places.pieces[piece].position >= layers.layers[1].start;
  });
}

// --- the tree ------------------------------------------------------------------------------------

// A key of a layer.
struct LayerKey {
  uint32_t layer = 0;  // 0 is the topmost
  uint32_t item = 0;   // of that layer's own tree
};
using LayerKeys = std::vector<LayerKey>;  // keys that are one, topmost first

// How many of the parts count, from the topmost on, and what hides the others.
struct Scope {
  size_t subkeys = 0;
  size_t values = 0;
  HiddenNote no_subkeys;
  HiddenNote no_values;
};

// Makes the tree of a stack: keys of one path in several layers become one item, in the place that
// the topmost gives it.
class StackTree {
 public:
  StackTree(const std::vector<TreeOfLayer>& from, bool show_hidden, LayerStack& layers,
            const HiveImage& stack, KeyTree& tree)
      : from_(from), show_hidden_(show_hidden), layers_(layers), stack_(stack), tree_(tree) {}

  // False when the user stopped.
  bool Build() {
    tree_ = KeyTree();
    tree_.root_text = from_[0].tree.root_text;
    tree_.minimum_name_length = from_[0].tree.minimum_name_length;
    LayerKeys roots;
    for (uint32_t layer = 0; layer < from_.size(); ++layer) roots.push_back({layer, 0});
    Open(roots, {}, kNoItem);
    while (!frames_.empty()) {
      if (StopRequested()) return false;
      Frame& frame = frames_.back();
      if (frame.next == frame.children.size()) {
        if (frames_.size() == 1) AddFolders();
        CloseItem(tree_, frame.item);
        frames_.pop_back();
      } else {
        const Child child = std::move(frame.children[frame.next++]);
        Open(child.parts, child.hidden, frame.item);
      }
    }
    FillIndex();
    return true;
  }

 private:
  // Keys of one name below those being opened.
  struct Child {
    LayerKeys parts;
    HiddenNote hidden;
    std::string capitals;  // of its name
  };
  // A key on the way down, whose children are being added.
  struct Frame {
    uint32_t item;
    std::vector<Child> children;
    size_t next = 0;
  };

  const HiveImage& HiveOf(const LayerKey& part) const { return layers_.layers[part.layer].hive; }
  const KeyTree& TreeOf(const LayerKey& part) const { return from_[part.layer].tree; }
  const KeyItem& ItemOf(const LayerKey& part) const { return TreeOf(part).items[part.item]; }
  uint32_t StartOf(const LayerKey& part) const { return layers_.layers[part.layer].start; }
  uint32_t PositionOf(const LayerKey& part) const { return ItemOf(part).position + StartOf(part); }
  bool HasCell(const LayerKey& part) const { return HasKeyCell(TreeOf(part), part.item); }

  // A root is there whatever it says.
  KeyLayer SemanticsOf(const LayerKey& part) const {
    if (!HasCell(part)) return KeyLayer::kMerge;
    const KeyLayer layer = LayerOfKey(HiveOf(part), ItemOf(part).position);
    return part.item == 0 && layer == KeyLayer::kTombstone ? KeyLayer::kMerge : layer;
  }
  bool IsTombstoneKey(const LayerKey& part) const {
    return SemanticsOf(part) == KeyLayer::kTombstone;
  }

  // From the topmost part down to the first that ends it: a tombstone hides itself and all below, a
  // key that supersedes hides all below, one that supersedes locally only values below.
  Scope ScopeOf(const LayerKeys& parts) const {
    Scope scope{parts.size(), parts.size(), {}, {}};
    for (size_t i = 0; i < parts.size(); ++i) {
      const KeyLayer layer = SemanticsOf(parts[i]);
      if (layer == KeyLayer::kMerge || (layer == KeyLayer::kTombstone && i == 0)) continue;
      const bool tombstone = layer == KeyLayer::kTombstone;
      const HiddenNote note = {tombstone ? HiddenBy::kTombstone : HiddenBy::kSuperseded,
                               parts[i].layer};
      const size_t end = tombstone ? i : i + 1;
      if (end < scope.values) scope.values = end, scope.no_values = note;
      if (layer == KeyLayer::kSupersedeLocal) continue;
      scope.subkeys = end;
      scope.no_subkeys = note;
      break;
    }
    return scope;
  }

  void Open(const LayerKeys& parts, HiddenNote hidden, uint32_t parent) {
    const LayerKey& top = parts.front();
    if (parts.size() == 1 && !HasLayers(HiveOf(top))) return CopyBranch(top, hidden, parent);
    const uint32_t item = AddItem(top, parent);
    for (const LayerKey& part : parts) {
      if (HasCell(part)) owners_.emplace_back(PositionOf(part), item);
    }
    const Scope scope = ScopeOf(parts);
    if (HasCell(top)) JoinKeys(parts, scope, hidden);
    frames_.push_back({item, ChildrenOf(parts, scope, hidden)});
  }

  // A copy of the layer's item with its positions moved to where the stack has the layer's bytes.
  uint32_t AddItem(const LayerKey& part, uint32_t parent) {
    const auto item = static_cast<uint32_t>(tree_.items.size());
    KeyItem copy = ItemOf(part);
    const uint32_t start = StartOf(part);
    if (copy.position != kNoOffset) copy.position += start;
    if (copy.entry != 0) copy.entry += start;
    if (copy.noted) {
      KeyNote note = NoteOf(TreeOf(part), ItemOf(part));
      if (note.evidence != 0) note.evidence += start;
      tree_.key_notes[copy.position] = note;
    }
    copy.parent = parent;
    tree_.items.push_back(copy);
    return item;
  }

  // All of a branch that nothing is joined to, in a layer whose keys do nothing to others.
  void CopyBranch(const LayerKey& top, HiddenNote hidden, uint32_t parent) {
    const auto base = static_cast<uint32_t>(tree_.items.size());
    const KeyTree& tree = TreeOf(top);
    for (uint32_t at = top.item; at < tree.items[top.item].end; ++at) {
      const LayerKey part{top.layer, at};
      const uint32_t above = at == top.item ? parent : tree.items[at].parent - top.item + base;
      const uint32_t item = AddItem(part, above);
      tree_.items[item].end = tree.items[at].end - top.item + base;
      const bool copy = tree.items[at].kind == ItemKind::kPathCopy;
      if (!copy && IsKeyItem(tree, at)) owners_.emplace_back(PositionOf(part), item);
      if (hidden.by != HiddenBy::kNothing && HasCell(part)) HideKey(part, hidden);
    }
  }

  void HideKey(const LayerKey& part, HiddenNote hidden) {
    layers_.hidden.emplace(PositionOf(part), hidden);
    for (const StackValue& value : ValuesOf(part)) layers_.hidden.emplace(value.position, hidden);
  }

  // --- subkeys

  std::vector<Child> ChildrenOf(const LayerKeys& parts, const Scope& scope, HiddenNote hidden) {
    const auto middle = parts.begin() + static_cast<ptrdiff_t>(scope.subkeys);
    std::vector<Child> children;
    Gather({parts.begin(), middle}, hidden, children);
    if (show_hidden_ && middle != parts.end()) {
      const bool already = hidden.by != HiddenBy::kNothing;
      Gather({middle, parts.end()}, already ? hidden : scope.no_subkeys, children);
    }
    if (parts.size() > 1) {
      std::ranges::stable_sort(children, [](const Child& a, const Child& b) {
        return CompareIgnoringCase(a.capitals, b.capitals) < 0;
      });
    }
    return children;
  }

  // The subkeys of keys that are one, those of a name together; keys that no list leads to, and
  // that have no name of their own, each by itself.
  void Gather(const LayerKeys& parts, HiddenNote hidden, std::vector<Child>& children) {
    std::vector<Child> found;
    std::unordered_map<std::string, size_t> by_name;
    for (const LayerKey& part : parts) {
      const KeyTree& tree = TreeOf(part);
      for (uint32_t at = FirstChild(tree, part.item); at != kNoItem; at = NextSibling(tree, at)) {
        if (tree.items[at].kind != ItemKind::kKey) continue;
        std::string name = CapitalsOfText(StoredItemName(HiveOf(part), tree, at));
        const bool joins = !IsRecovered(tree, at) && !HasMadeName(tree, tree.items[at]);
        const auto known = joins ? by_name.find(name) : by_name.end();
        if (known != by_name.end() && found[known->second].parts.back().layer != part.layer) {
          found[known->second].parts.push_back({part.layer, at});
          continue;
        }
        if (joins) by_name.emplace(name, found.size());
        found.push_back({{{part.layer, at}}, hidden, std::move(name)});
      }
    }
    for (Child& child : found) AddChild(std::move(child), children);
  }

  // A tombstone and what it hides are two items, where they are shown at all.
  void AddChild(Child child, std::vector<Child>& children) {
    if (!IsTombstoneKey(child.parts.front())) {
      children.push_back(std::move(child));
      return;
    }
    if (!show_hidden_) return;
    const HiddenNote own = {HiddenBy::kTombstone, child.parts.front().layer};
    const HiddenNote note = child.hidden.by != HiddenBy::kNothing ? child.hidden : own;
    Child below{{child.parts.begin() + 1, child.parts.end()}, note, child.capitals};
    children.push_back({{child.parts.front()}, note, std::move(child.capitals)});
    // The next one may be a tombstone as well.
    while (!below.parts.empty() && IsTombstoneKey(below.parts.front())) {
      children.push_back({{below.parts.front()}, note, below.capitals});
      below.parts.erase(below.parts.begin());
    }
    if (!below.parts.empty()) children.push_back(std::move(below));
  }

  // --- values

  std::vector<StackValue> ValuesOf(const LayerKey& part) const {
    std::vector<StackValue> values;
    if (!HasCell(part)) return values;
    const HiveImage& hive = HiveOf(part);
    const uint32_t key = ItemOf(part).position;
    std::vector<uint32_t> positions;
    ReadValuesOfKey(hive, key, kAllEntries, positions);
    const uint32_t list = positions.empty() ? 0 : ValueListOf(hive, key);
    for (size_t i = 0; i < positions.size(); ++i) {
      const uint32_t position = positions[i];
      values.push_back({position == kNoOffset ? kNoOffset : position + StartOf(part),
                        ValueEntryPosition(list, i) + StartOf(part)});
    }
    if (positions.empty() && HasValueList(hive, key)) {
      values.push_back({kNoOffset, PositionOf(part) + kKeyValueList});
    }
    return values;
  }

  // What became of a name so far.
  struct Named {
    uint32_t layer;
    HiddenBy by;  // what it is for values of that name further down
  };

  // Notes of the value, of a part whose values count, and whether it is there.
  // Names are settled by the topmost part that has them. In one part the same name twice is not
  // hidden by itself.
  HiddenNote NoteOfValue(const LayerKey& part, const StackValue& value,
                         std::unordered_map<std::string, Named>& named) const {
    if (value.position == kNoOffset) return {};
    const ValueKey read = ReadValueKey(HiveOf(part), value.position - StartOf(part),
                                       ValueRead::kName, kMaxValueData, nullptr);
    if (read.status == ValueStatus::kEmpty || read.status == ValueStatus::kNotAValue) return {};
    const bool tombstone = IsTombstone(HiveOf(part), read);
    const auto [known, added] =
        named.emplace(CapitalsOfText(read.name),
                      Named{part.layer, tombstone ? HiddenBy::kTombstone : HiddenBy::kOwnValue});
    if (known->second.layer != part.layer) return {known->second.by, known->second.layer};
    return tombstone ? HiddenNote{HiddenBy::kTombstone, part.layer} : HiddenNote();
  }

  // Facts are kept for keys of several parts or with something hidden alone; of others the layer's
  // own record says all.
  void JoinKeys(const LayerKeys& parts, const Scope& scope, HiddenNote hidden) {
    StackKey key;
    bool plain = parts.size() == 1 && hidden.by == HiddenBy::kNothing;
    std::unordered_map<std::string, Named> named;
    bool class_found = false;
    for (size_t i = 0; i < parts.size(); ++i) {
      const LayerKey& part = parts[i];
      if (!HasCell(part)) continue;
      const uint32_t position = PositionOf(part);
      key.keys.push_back(position);
      if (i < scope.values) {
        const uint32_t own = ItemOf(part).position;
        key.last_write = std::max(key.last_write, ReadU64(HiveOf(part), own + kKeyLastWrite));
        if (!class_found) key.class_of = position;
        class_found = class_found || !InheritsClass(HiveOf(part), own);
      }
      for (const StackValue& value : ValuesOf(part)) {
        HiddenNote note = i < scope.values ? NoteOfValue(part, value, named) : scope.no_values;
        if (hidden.by != HiddenBy::kNothing) note = hidden;
        const bool is_hidden = note.by != HiddenBy::kNothing;
        plain = plain && !is_hidden;
        if (is_hidden && !show_hidden_) continue;
        key.values.push_back(value);
        if (is_hidden && value.position != kNoOffset) layers_.hidden.emplace(value.position, note);
      }
    }
    if (hidden.by != HiddenBy::kNothing) layers_.hidden.emplace(key.keys.front(), hidden);
    if (!plain) layers_.keys.emplace(PositionOf(parts.front()), std::move(key));
  }

  // --- the rest

  // What no list leads to, layer after layer.
  void AddFolders() {
    tree_.disconnected_keys =
        AddFolder(tree_, ItemKind::kDisconnectedKeys, DisconnectedKeysId(stack_));
    for (uint32_t layer = 0; layer < from_.size(); ++layer) {
      const KeyTree& tree = from_[layer].tree;
      const uint32_t folder = tree.disconnected_keys;
      for (uint32_t at = FirstChild(tree, folder); at != kNoItem; at = NextSibling(tree, at)) {
        CopyBranch({layer, at}, {}, tree_.disconnected_keys);
      }
      const uint32_t start = layers_.layers[layer].start;
      for (const uint32_t value : tree.disconnected_value_positions) {
        tree_.disconnected_value_positions.push_back(value + start);
      }
      for (const auto& [key, note] : tree.sibling_notes) {
        tree_.sibling_notes.emplace(key + start, note);
      }
      for (const auto& [record, other] : tree.shared_bytes) {
        tree_.shared_bytes.emplace(record + start, other + start);
      }
    }
    CloseItem(tree_, tree_.disconnected_keys);
    tree_.disconnected_values =
        AddFolder(tree_, ItemKind::kDisconnectedValues, DisconnectedValuesId(stack_));
    CloseItem(tree_, tree_.disconnected_values);
  }

  // Of a position with several items the first one made counts.
  void FillIndex() {
    ResetIndex(tree_.key_positions, stack_.length);
    for (const auto& [position, item] : owners_) InsertPosition(tree_.key_positions, position);
    SealIndex(tree_.key_positions);
    tree_.item_of_rank.assign(owners_.size(), kNoItem);
    for (const auto& [position, item] : owners_) {
      const uint32_t rank = RankOfPosition(tree_.key_positions, position);
      if (rank != kNoRank && tree_.item_of_rank[rank] == kNoItem) tree_.item_of_rank[rank] = item;
    }
  }

  const std::vector<TreeOfLayer>& from_;
  const bool show_hidden_;
  LayerStack& layers_;
  const HiveImage& stack_;
  KeyTree& tree_;
  std::vector<Frame> frames_;                          // down to the item being made
  std::vector<std::pair<uint32_t, uint32_t>> owners_;  // positions of keys, and their items
};

const StackLayer& LayerOfPosition(const LayerStack& stack, uint32_t position) {
  const auto after = std::ranges::upper_bound(stack.layers, position, {}, &StackLayer::start);
  return *std::prev(after);
}

}  // namespace

uint32_t LayerAt(const HiveImage& hive, uint32_t position) {
  if (hive.stack == nullptr) return 0;
  return static_cast<uint32_t>(&LayerOfPosition(*hive.stack, position) - hive.stack->layers.data());
}

uint32_t LayerStart(const HiveImage& hive, uint32_t position) {
  return hive.stack == nullptr ? 0 : LayerOfPosition(*hive.stack, position).start;
}

const HiveImage& LayerHive(const HiveImage& hive, uint32_t position) {
  return hive.stack == nullptr ? hive : LayerOfPosition(*hive.stack, position).hive;
}

bool InOneLayer(const LayerStack& stack, uint32_t position, uint32_t size) {
  const StackLayer& layer = LayerOfPosition(stack, position);
  return InsideHive(layer.hive, position - layer.start, size);
}

const StackKey* StackKeyAt(const LayerStack& stack, uint32_t position) {
  const auto key = stack.keys.find(position);
  return key == stack.keys.end() ? nullptr : &key->second;
}

HiddenNote HiddenNoteAt(const HiveImage& hive, uint32_t position) {
  if (hive.stack == nullptr) return {};
  const auto note = hive.stack->hidden.find(position);
  return note == hive.stack->hidden.end() ? HiddenNote() : note->second;
}

uint64_t LastWriteOfKey(const HiveImage& hive, uint32_t position) {
  const StackKey* key = StackKeyAt(hive, position);
  return key == nullptr ? ReadU64(hive, position + kKeyLastWrite) : key->last_write;
}

StackResult StackHives(std::vector<TreeOfLayer> layers, bool show_hidden, HiveImage& stack,
                       KeyTree& tree) {
  const auto joined = std::make_shared<LayerStack>();
  HiveImage image;
  const StackResult copied = CopyLayers(layers, *joined, image);
  if (copied.fault != StackFault::kNone) return copied;
  CopyTopFacts(joined->layers[0].hive, image);
  MapLayers(*joined, image);
  if (!StackTree(layers, show_hidden, *joined, image, tree).Build()) {
    return {StackFault::kStopped};
  }
  image.stack = joined;
  stack = std::move(image);
  return {};
}

}  // namespace hivequarry
