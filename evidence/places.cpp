#include "evidence/places.h"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>

#include "hive/keys.h"
#include "host/case.h"
#include "host/number_text.h"

namespace hivequarry {
namespace {

constexpr std::string_view kAny = "*";
constexpr std::string_view kSet = "<set>";

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

bool IsControlSet(std::string_view capitals) {
  constexpr std::string_view kStart = "CONTROLSET";
  if (capitals == "CURRENTCONTROLSET") return true;
  return capitals.size() == kStart.size() + 3 && capitals.starts_with(kStart) &&
         std::ranges::all_of(capitals.substr(kStart.size()),
                             [](char c) { return c >= '0' && c <= '9'; });
}

bool Fits(const std::string& wanted, const std::string& capitals) {
  if (wanted == kAny) return true;
  return wanted == kSet ? IsControlSet(capitals) : wanted == capitals;
}

// A key that has been reached, and how many names of the path lead to it.
struct Reached {
  EvidenceKey key;
  size_t names;
  EvidenceKey control_set;
};

Reached Step(const Path& path, const Reached& from, EvidenceKey key) {
  const bool set = path.names[from.names] == kSet;
  return {key, from.names + 1, set ? key : from.control_set};
}

class PlaceFinder {
 public:
  PlaceFinder(EvidenceKeys& keys, std::vector<EvidencePlace>& places)
      : keys_(keys), places_(places) {
    for (const EvidenceKey key : keys.LooseKeys()) {
      loose_.emplace(CapitalsOfText(keys.NameOf(key)), key);
    }
    NoteRoots();
  }

  void Find(const Path& path, size_t pattern) {
    std::vector<Reached> open;
    for (const EvidenceKey root : roots_) open.push_back({root, 0, kNoEvidenceKey});
    for (size_t i = 0; i < path.anchors; ++i) BeginAt(path, i, open);
    while (!open.empty()) {
      const Reached at = open.back();
      open.pop_back();
      if (at.names == path.names.size()) {
        if (found_.insert(at.key).second) places_.push_back({at.key, at.control_set, pattern});
        continue;
      }
      Descend(path, at, open);
    }
  }

 private:
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
    if (name == kSet) return;
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

  EvidenceKeys& keys_;
  std::vector<EvidencePlace>& places_;
  std::vector<EvidenceKey> roots_;
  std::string root_name_;
  std::unordered_multimap<std::string, EvidenceKey> loose_;
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

std::string ControlSetText(EvidenceKeys& keys, EvidenceKey control_set) {
  if (control_set == kNoEvidenceKey) return {};
  std::string text = keys.NameOf(control_set);
  const EvidenceKey parent =
      keys.IsFreed(control_set) ? kNoEvidenceKey : keys.tree().items[control_set].parent;
  if (parent == kNoItem || parent == kNoEvidenceKey) return text;
  const EvidenceKey select = keys.ChildNamed(parent, "Select");
  if (select == kNoEvidenceKey) return text;
  const EvidenceValue current = keys.ValueNamed(select, "Current");
  if (current.data.size() != 4) return text;
  const std::string named =
      "ControlSet" + std::string(Decimal(LoadU32(current.data.data()), 3, '0'));
  return EqualIgnoringCase(text, named) ? text + " (current)" : text;
}

}  // namespace hivequarry
