#include "tests/support/plain_cells.h"

#include <string>
#include <vector>

namespace hivequarry::testing {
namespace {

constexpr uint32_t kListMost = 60000;  // entries of one list

}  // namespace

PlainCells::PlainCells(std::string_view root_name)
    : root(AddKeyCell(writer, TextBytes(root_name), 0x2C, kDefaultTime)) {}

uint32_t PlainCells::Key(uint32_t parent, std::string_view name) {
  const uint32_t key = AddKeyCell(writer, TextBytes(name), 0x20, kDefaultTime);
  PutU32(writer.bytes, key + field::kKeyParent, parent - kDataArea);
  return key;
}

uint32_t PlainCells::WideKey(uint32_t parent, std::string_view utf8_name) {
  const uint32_t key = AddKeyCell(writer, Utf16(utf8_name), 0, kDefaultTime);
  PutU32(writer.bytes, key + field::kKeyParent, parent - kDataArea);
  return key;
}

uint32_t PlainCells::KeyList(std::span<const uint32_t> keys) {
  const auto count = static_cast<uint32_t>(keys.size());
  if (count <= kListMost) {
    const uint32_t list = AddListCell(writer, List::kLi, count, 0);
    for (uint32_t i = 0; i < count; ++i) {
      PutU32(writer.bytes, list + field::kListEntries + 4 * i, keys[i] - kDataArea);
    }
    return list;
  }
  std::vector<uint32_t> children;
  const uint32_t list = AddListCell(writer, List::kRiOfLi, count, kListMost, &children);
  for (uint32_t i = 0; i < count; ++i) {
    const uint32_t child = children[i / kListMost];
    PutU32(writer.bytes, child + field::kListEntries + 4 * (i % kListMost), keys[i] - kDataArea);
  }
  return list;
}

void PlainCells::SetKeyList(uint32_t key, uint32_t list, uint32_t count) {
  PutU32(writer.bytes, key + field::kKeySubkeys, count);
  PutU32(writer.bytes, key + field::kKeyList, list - kDataArea);
}

void PlainCells::List(uint32_t key, std::span<const uint32_t> keys) {
  SetKeyList(key, KeyList(keys), static_cast<uint32_t>(keys.size()));
}

uint32_t PlainCells::Value(std::string_view name, uint32_t type, std::span<const uint8_t> data) {
  const uint32_t value =
      AddValueCell(writer, TextBytes(name), 1, type, static_cast<uint32_t>(data.size()));
  AddValueData(writer, value, data);
  return value;
}

void PlainCells::SetValues(uint32_t key, std::span<const uint32_t> values) {
  const uint32_t list = AddCell(writer, 4 * static_cast<uint32_t>(values.size()));
  for (uint32_t i = 0; i < values.size(); ++i) {
    PutU32(writer.bytes, list + 4 + 4 * i, values[i] - kDataArea);
  }
  PutU32(writer.bytes, key + field::kKeyValues, static_cast<uint32_t>(values.size()));
  PutU32(writer.bytes, key + field::kKeyValueList, list - kDataArea);
}

Bytes PlainCells::Finish() {
  FinishHive(writer, {});
  return std::move(writer.bytes);
}

namespace {

// The innermost of nested keys.
uint32_t Nest(PlainCells& cells, uint32_t levels, std::string_view utf8_name) {
  uint32_t key = cells.root;
  for (uint32_t level = 0; level < levels; ++level) {
    const uint32_t child = cells.WideKey(key, utf8_name);
    cells.List(key, std::span(&child, 1));
    key = child;
  }
  return key;
}

}  // namespace

Bytes NestedHive(uint32_t levels, std::string_view utf8_name) {
  PlainCells cells;
  Nest(cells, levels, utf8_name);
  return cells.Finish();
}

Bytes WideBelowNested(uint32_t levels, std::string_view utf8_name, uint32_t keys) {
  PlainCells cells;
  const uint32_t parent = Nest(cells, levels, utf8_name);
  const Bytes data = {1, 2, 3, 4};
  std::vector<uint32_t> children;
  for (uint32_t i = 0; i < keys; ++i) {
    const uint32_t key = cells.Key(parent, std::to_string(i));
    const uint32_t value = cells.Value("", 4, data);
    cells.SetValues(key, std::span(&value, 1));
    children.push_back(key);
  }
  cells.List(parent, children);
  return cells.Finish();
}

}  // namespace hivequarry::testing
