#include "tests/support/report_hives.h"

#include <algorithm>
#include <string>
#include <vector>

#include "tests/support/hostile_hives.h"
#include "tests/support/plain_cells.h"

namespace hivequarry::testing {
namespace {

constexpr uint32_t kText = 1;
constexpr uint32_t kBinary = 3;

uint32_t CountOf(double megabytes, uint32_t bytes_each) {
  return std::max(4U, static_cast<uint32_t>(megabytes * 1024 * 1024 / bytes_each));
}

void SetValue(PlainCells& cells, uint32_t key, std::string_view name, uint32_t type,
              std::span<const uint8_t> data) {
  const uint32_t value = cells.Value(name, type, data);
  cells.SetValues(key, std::span(&value, 1));
}

// The root's list, with the bystander after the other keys.
Bytes Ended(PlainCells& cells, std::vector<uint32_t> keys) {
  keys.push_back(cells.Key(cells.root, kBystanderKey));
  SetValue(cells, keys.back(), kBystanderValue, kBinary, Bytes{1, 2, 3, 4, 5});
  cells.List(cells.root, keys);
  return cells.Finish();
}

// An item list of one folder.
Bytes FolderItem() {
  Bytes item(20);
  PutU16(item, 0, 18);
  item[2] = 0x31;
  item[14] = 'f';
  return item;
}

Bytes TextsOf(double megabytes, const std::string& text) {
  PlainCells cells;
  const Bytes data = Utf16Z(text);
  std::vector<uint32_t> keys;
  for (uint32_t i = CountOf(megabytes, static_cast<uint32_t>(data.size()) + 140); i > 0; --i) {
    keys.push_back(cells.Key(cells.root, "k" + std::to_string(i)));
    SetValue(cells, keys.back(), "v", kText, data);
  }
  return Ended(cells, std::move(keys));
}

}  // namespace

Bytes TypesApart(double megabytes) {
  PlainCells cells("S-1-5-21-1-2-3-1001_Classes");
  std::vector<uint32_t> keys;
  const uint32_t count = CountOf(megabytes, 300);
  for (uint32_t i = 0; i < count; ++i) {
    keys.push_back(cells.Key(cells.root, ".x" + std::to_string(i)));
    SetValue(cells, keys.back(), "", kText, Utf16Z("k" + std::to_string(i) + "\\t"));
    keys.push_back(cells.Key(cells.root, "k" + std::to_string(i)));
  }
  return Ended(cells, std::move(keys));
}

Bytes StreamsApart(double megabytes) {
  PlainCells cells;
  const uint32_t explorer = cells.Key(cells.root, "Explorer");
  std::vector<uint32_t> keys;
  for (uint32_t i = CountOf(megabytes, 200); i > 0; --i) {
    keys.push_back(cells.Key(explorer, "StreamMRU"));
    SetValue(cells, keys.back(), std::to_string(i), kBinary, FolderItem());
  }
  keys.push_back(cells.Key(explorer, "Streams"));
  cells.List(explorer, keys);
  return Ended(cells, {explorer});
}

Bytes NestedFolders(double megabytes) {
  PlainCells cells;
  const uint32_t top = cells.Key(cells.root, "BagMRU");
  uint32_t key = top;
  for (uint32_t i = CountOf(megabytes, 240); i > 0; --i) {
    const uint32_t values[] = {cells.Value("0", kBinary, FolderItem()),
                               cells.Value("NodeSlot", 4, Bytes{1, 0, 0, 0})};
    cells.SetValues(key, values);
    const uint32_t child = cells.Key(key, "0");
    cells.List(key, std::span(&child, 1));
    key = child;
  }
  return Ended(cells, {top});
}

Bytes TextsOfBlanks(double megabytes) {
  return TextsOf(megabytes, "C:\\a" + std::string(60000, ' ') + "x");
}

Bytes TextsOfPaths(double megabytes) {
  std::string text;
  for (int i = 0; i < 64; ++i) text += "C:\\a;";
  return TextsOf(megabytes, text);
}

}  // namespace hivequarry::testing
