#include "lists/record_members.h"

#include "hive/layer_stack.h"
#include "hive/layers.h"
#include "hive/values.h"
#include "host/number_text.h"
#include "lists/list_writers.h"
#include "words/item_values.h"
#include "words/layer_words.h"

namespace hivequarry {
namespace {

void AppendFlag(const char* name, bool flag, std::string& out) {
  out += Concat({",\"", name, flag ? "\":true" : "\":false"});
}

void AppendText(const char* name, const std::string& text, std::string& out) {
  if (!text.empty()) out += Concat({",\"", name, "\":", JsonString(text)});
}

// Of several hives shown as one: which of them the record is from, and which others say something
// of the key.
void AppendStackMembers(const HiveImage& hive, uint32_t position, std::string& out) {
  out += Concat({",\"FromLayer\":", Decimal(LayerAt(hive, position))});
  AppendText("FromFile", LayerHive(hive, position).file_name, out);
  AppendText("Layers", JoinedLayersText(hive, position), out);
  AppendText("Hidden", HiddenText(hive, position), out);
}

// The members of layers only in a hive that has them; "Layer" is the number as stored.
void AppendKeyMembers(const HiveImage& hive, uint32_t position, std::string& out) {
  AppendText("LinkTarget", LinkTarget(hive, position), out);
  if (!HasLayers(hive, position)) return;
  const KeyLayer layer = LayerOfKey(hive, position);
  out += Concat({",\"Layer\":", Decimal(static_cast<uint32_t>(layer))});
  AppendFlag("InheritClass", InheritsClass(hive, position), out);
  AppendFlag("Tombstone", layer == KeyLayer::kTombstone, out);
}

void AppendValueMembers(const HiveImage& hive, uint32_t position, std::string& out) {
  if (!HasLayers(hive, position)) return;
  const ValueKey value = ReadValueKey(hive, position, ValueRead::kFields, 0, nullptr);
  AppendFlag("Tombstone", IsTombstone(hive, value), out);
}

}  // namespace

void AppendAccess(const HiveImage& hive, uint32_t position, std::string& out) {
  out += Concat({",\"Access\":", Decimal(uint32_t{ReadU8(hive, position + kKeyAccessBits)})});
}

void AppendRecordMembers(const HiveImage& hive, uint32_t position, bool key, std::string& out) {
  if (hive.stack != nullptr) AppendStackMembers(hive, position, out);
  key ? AppendKeyMembers(hive, position, out) : AppendValueMembers(hive, position, out);
}

}  // namespace hivequarry
