#include "lists/record_members.h"

#include "hive/layers.h"
#include "hive/values.h"
#include "host/number_text.h"

namespace hivequarry {
namespace {

void AppendFlag(const char* name, bool flag, std::string& out) {
  out += Concat({",\"", name, flag ? "\":true" : "\":false"});
}

void AppendKeyMembers(const HiveImage& hive, uint32_t position, std::string& out) {
  if (!HasLayers(hive)) return;
  const KeyLayer layer = LayerOfKey(hive, position);
  out += Concat({",\"Layer\":", Decimal(static_cast<uint32_t>(layer))});
  AppendFlag("InheritClass", InheritsClass(hive, position), out);
  AppendFlag("Tombstone", layer == KeyLayer::kTombstone, out);
}

void AppendValueMembers(const HiveImage& hive, uint32_t position, std::string& out) {
  if (!HasLayers(hive)) return;
  const ValueKey value = ReadValueKey(hive, position, ValueRead::kFields, 0, nullptr);
  AppendFlag("Tombstone", IsTombstone(hive, value), out);
}

}  // namespace

void AppendRecordMembers(const HiveImage& hive, uint32_t position, bool key, std::string& out) {
  key ? AppendKeyMembers(hive, position, out) : AppendValueMembers(hive, position, out);
}

}  // namespace hivequarry
