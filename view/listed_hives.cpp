#include "view/listed_hives.h"

#include <algorithm>

#include "host/case.h"
#include "reports/hive_state.h"

namespace hivequarry {
namespace {

constexpr size_t kHashDigits = 64;  // those of logs have a name after them

// A head without a line about the file begins with one hive all the same.
ListedHive& LastOf(std::vector<ListedHive>& listed) {
  if (listed.empty()) listed.emplace_back();
  return listed.back();
}

bool IsBelow(std::string_view path, std::string_view root) {
  return StartsIgnoringCase(path, root) &&
         (path.size() == root.size() || path[root.size()] == '\\');
}

// The one with the longest root that the path begins with; null where the head does not tell.
const ListedHive* ListedOf(std::string_view path, std::span<const ListedHive> listed) {
  if (listed.size() == 1) return &listed.front();
  const ListedHive* found = nullptr;
  for (const ListedHive& hive : listed) {
    if (hive.root.empty() || !IsBelow(path, hive.root)) continue;
    if (found == nullptr || hive.root.size() > found->root.size()) found = &hive;
  }
  return found;
}

uint32_t ShownItem(const HiveToSearch& in, std::string_view path) {
  const uint32_t item = FindItemByPath(*in.hive, *in.tree, path);
  return item == kNoItem || in.tree->items[item].hidden ? kNoItem : item;
}

// "HKLM\\SYSTEM(1)" without the number that tells hives of one kind apart.
std::string_view WithoutNumber(std::string_view root) {
  const size_t number = root.rfind('(');
  const bool numbered = number != root.npos && root.ends_with(')') &&
                        root.find_first_not_of("0123456789", number + 1) == root.size() - 1;
  return numbered ? root.substr(0, number) : root;
}

// The root may have had another number when the list was made.
uint32_t ItemOfListed(const HiveToSearch& in, std::string_view path) {
  const std::string_view root = WithoutNumber(in.tree->root_text);
  if (!StartsIgnoringCase(path, root)) return ShownItem(in, path);
  const size_t rest = std::min(path.find('\\', root.size()), path.size());
  if (WithoutNumber(path.substr(0, rest)).size() != root.size()) return ShownItem(in, path);
  return ShownItem(in, in.tree->root_text + std::string(path.substr(rest)));
}

}  // namespace

std::vector<ListedHive> ListedHives(std::span<const std::string> head) {
  std::vector<ListedHive> listed;
  for (const std::string& line : head) {
    if (line.starts_with(kHeadFileLine)) listed.emplace_back();
    if (line.starts_with(kHeadRootLine)) LastOf(listed).root = line.substr(kHeadRootLine.size());
    if (line.starts_with(kHeadHashLine) && line.size() == kHeadHashLine.size() + kHashDigits) {
      LastOf(listed).hash = line.substr(kHeadHashLine.size());
    }
  }
  return listed;
}

KeyOfRow FindKeyOfRow(std::string_view path, std::span<const ListedHive> listed,
                      std::span<const HiveToSearch> hives, size_t preferred) {
  const ListedHive* of = ListedOf(path, listed);
  const bool known = of != nullptr && !of->hash.empty();
  for (size_t i = 0; known && i < hives.size(); ++i) {
    if (hives[i].hash == of->hash) return {i, ItemOfListed(hives[i], path), false};
  }
  KeyOfRow found{preferred, ShownItem(hives[preferred], path), false};
  for (size_t i = 0; found.item == kNoItem && i < hives.size(); ++i) {
    const uint32_t item = ShownItem(hives[i], path);
    if (item != kNoItem) found = {i, item, false};
  }
  // Of a hive whose hash is not known it can't be said that it is another file.
  found.other_file = known && !hives[found.hive].hash.empty();
  return found;
}

}  // namespace hivequarry
