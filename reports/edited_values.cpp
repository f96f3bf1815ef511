#include "reports/edited_values.h"

#include <string>
#include <string_view>
#include <vector>

#include "hive/value_edits.h"
#include "hive/values.h"
#include "lists/list_rows.h"
#include "words/item_values.h"

namespace hivequarry {
namespace {

std::string PathOfKey(const HiveImage& hive, const KeyTree& tree, uint32_t key) {
  const uint32_t item = key == kKeyUnknown ? kNoItem : ItemOfPosition(tree, key);
  return item == kNoItem ? std::string() : ItemPath(hive, tree, item);
}

ValueRow StoredRow(const HiveImage& hive, uint32_t position) {
  std::vector<uint8_t> data;
  const ValueKey stored =
      ReadStoredValueKey(hive, position, ValueRead::kData, kMaxValueData, &data);
  return MakeValueRow(hive, stored, data, ValueViewOptions());
}

// What the value is now beside what the file has; the path is empty for an edit of a value without
// a known key.
void AddEdit(const HiveImage& hive, const KeyTree& tree, const ValueEdit& edit, OutputList& list) {
  const std::string path = PathOfKey(hive, tree, edit.key);
  const ValueRow now = MakeValueRow(hive, edit.position, ValueViewOptions());
  const ValueRow stored = StoredRow(hive, edit.position);
  AddListRow(list,
             {path, now.name, now.type, now.data, stored.type, stored.data,
              PlaceText(hive, edit.position)},
             edit.position, {}, now.icon);
}

}  // namespace

OutputListPtr ListEditedValues(const HiveImage& hive, const KeyTree& tree) {
  OutputListPtr list = MakeOutputList(kListEdits);
  for (const ValueEditPtr& edit : ListEdits(hive)) AddEdit(hive, tree, *edit, *list);
  return list;
}

}  // namespace hivequarry
