// Hives put together cell by cell, for shapes that no builder of sound hives makes: keys by the
// hundred thousand, lists that many keys share, names of any bytes. Nothing is kept per key.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "tests/support/cell_writer.h"

namespace hivequarry::testing {

struct PlainCells {
  CellWriter writer;
  uint32_t root;  // the root key's cell

  explicit PlainCells(std::string_view root_name = "ROOT");
  // A key cell that names `parent`; no list names it yet.
  uint32_t Key(uint32_t parent, std::string_view name);
  uint32_t WideKey(uint32_t parent, std::string_view utf8_name);
  // The list cell of keys, and keys that have it as theirs.
  uint32_t KeyList(std::span<const uint32_t> keys);
  void SetKeyList(uint32_t key, uint32_t list, uint32_t count);
  void List(uint32_t key, std::span<const uint32_t> keys);
  // A value cell, single-byte name.
  uint32_t Value(std::string_view name, uint32_t type, std::span<const uint8_t> data);
  void SetValues(uint32_t key, std::span<const uint32_t> values);
  Bytes Finish();
};

// `levels` nested keys of one name.
Bytes NestedHive(uint32_t levels, std::string_view utf8_name);
// `keys` keys, each with a value, below `levels` nested keys of one name.
Bytes WideBelowNested(uint32_t levels, std::string_view utf8_name, uint32_t keys);

}  // namespace hivequarry::testing
