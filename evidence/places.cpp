#include "evidence/places.h"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>

#include "hive/keys.h"
#include "host/case.h"
#include "reports/control_sets.h"

namespace hivequarry {
namespace {

constexpr std::string_view kAny = "*";
constexpr std::string_view kSet = "<set>";

// A pattern taken apart.
struct Path {
  std::vector<std::string> names;  // in capitals
  size_t anchors = 0;              // how many of the first names a path may begin at
};

Path ParsePattern(std::string_view pattern) {
  Path path;
  while (!pattern.empty()) {
    const size_t end = std::min(pattern.find('\\'), pattern.size());
    std::string_view name = pattern.substr(0, end);
    pattern.remove_prefix(std::min(end + 1, pattern.size()));
    if (name.starts_with('!')) {
      name.remove_prefix(1);
      path.anchors = path.names.size() + 1;
    }
    path.names.push_back(name == kSet ? std::string(name) : CapitalsOfText(name));
  }
  return path;
}

// "CurrentControlSet" is a link in a running system and not in a hive file; in an image of a whole
// registry it may be a key.
bool IsControlSet(std::string_view capitals) {
  return capitals == "CURRENTCONTROLSET" || ControlSetNumber(capitals).has_value();
}

bool Fits(const std::string& wanted, const std::string& capitals) {
  if (wanted == kAny) return true;
  return wanted == kSet ? IsControlSet(capitals) : wanted == capitals;
}

// A key that has been reached, how many names of the path lead to it, and the control set on the
// way. A stack of these instead of recursion: paths are as long as patterns, but a "*" may fan out.
struct Reached {
  EvidenceKey key;
  size_t names;
  EvidenceKey control_set;
};

Reached Step(const Path& path, const Reached& from, EvidenceKey key) {
  const bool set = path.names[from.names] == kSet;
  return {key, from.names + 1, set ? key : from.control_set};
}

// Walks down the patterns, from the roots that the hive has. Keys are found once, whatever patterns
// lead to them.
class PlaceFinder {
 public:
  PlaceFinder(EvidenceKeys& keys, std::vector<EvidencePlace>& places)
      : keys_(keys), places_(places) {
    for (const EvidenceKey key : keys.LooseKeys()) {
      const std::string name = CapitalsOfText(keys.NameOf(key));
      loose_.emplace(IsControlSet(name) ? std::string(kSet) : name, key);
    }
    NoteRoots();
  }

  // Each key is found by the first pattern that leads to it.
  void Find(const Path& path, size_t pattern) {
    std::vector<Reached> open;
    for (const EvidenceKey root : roots_) open.push_back({root, 0, kNoEvidenceKey});
    for (size_t i = 0; i < path.anchors; ++i) BeginAt(path, i, open);
    while (!open.empty()) {
      const Reached at = open.back();
      open.pop_back();
      if (at.names == path.names.size()) {
        if (found_.insert(at.key).second) {
          places_.push_back({at.key, SetText(at.control_set), pattern});
        }
        continue;
      }
      Descend(path, at, open);
    }
  }

 private:
  // Besides the hive's own root: an image of a whole registry has its hives' roots below.
  void NoteRoots() {
    constexpr std::string_view kHives[] = {"SYSTEM", "SOFTWARE", "SAM", "SECURITY", ".DEFAULT"};
    roots_.push_back(0);
    for (const EvidenceKey child : keys_.ChildrenOf(0)) {
      const std::string name = CapitalsOfText(keys_.NameOf(child));
      const bool hive = std::ranges::find(kHives, name) != std::end(kHives);
      if (hive || name.starts_with("S-1-5-")) roots_.push_back(child);
    }
    const KeyTree& tree = keys_.tree();
    if (!HasKeyCell(tree, 0)) return;
    const KeyNode root = ReadKeyNode(keys_.hive(), tree.items[0].position, KeyRead::kFields);
    root_name_ = CapitalsOfText(root.name);
  }

  void BeginAt(const Path& path, size_t index, std::vector<Reached>& open) {
    const std::string& name = path.names[index];
    if (name == kAny) return;
    const Reached none = {kNoEvidenceKey, index, kNoEvidenceKey};
    if (!root_name_.empty() && Fits(name, root_name_)) open.push_back(Step(path, none, 0));
    const auto [first, last] = loose_.equal_range(name);
    for (auto at = first; at != last; ++at) open.push_back(Step(path, none, at->second));
  }

  // Pushed from the last to the first, since the last one pushed is looked at first.
  void Descend(const Path& path, const Reached& at, std::vector<Reached>& open) {
    const std::vector<EvidenceKey> children = keys_.ChildrenOf(at.key);
    for (auto child = children.rbegin(); child != children.rend(); ++child) {
      if (Fits(path.names[at.names], CapitalsOfText(keys_.NameOf(*child)))) {
        open.push_back(Step(path, at, *child));
      }
    }
  }

  // By the "Select" beside the control set.
  const std::string& SetText(EvidenceKey set) {
    const auto [known, is_new] = set_texts_.try_emplace(set);
    std::string& text = known->second;
    if (!is_new) return text;
    text = keys_.NameOf(set);
    const EvidenceKey above = keys_.IsFreed(set) ? kNoEvidenceKey : keys_.ParentOf(set);
    const uint32_t current = ReadControlSets(keys_.hive(), keys_.tree(), above).current;
    if (current != 0 && ControlSetNumber(text) == current) text += " (current)";
    return text;
  }

  EvidenceKeys& keys_;
  std::vector<EvidencePlace>& places_;
  std::vector<EvidenceKey> roots_;
  std::string root_name_;                                    // of the hive's root key, in capitals
  std::unordered_multimap<std::string, EvidenceKey> loose_;  // by name, control sets by kSet
  // Words about each control set, made once.
  std::unordered_map<EvidenceKey, std::string> set_texts_;
  std::unordered_set<EvidenceKey> found_;
};

}  // namespace

std::vector<EvidencePlace> FindPlaces(EvidenceKeys& keys, std::span<const PlacePattern> patterns) {
  std::vector<EvidencePlace> places;
  if (keys.tree().items.empty()) return places;
  PlaceFinder finder(keys, places);
  for (size_t i = 0; i < patterns.size(); ++i) finder.Find(ParsePattern(patterns[i]), i);
  return places;
}

}  // namespace hivequarry
