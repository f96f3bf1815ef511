#include "view/item_words.h"

#include <string_view>
#include <vector>

#include "hive/file_place.h"
#include "hive/values.h"
#include "host/number_text.h"
#include "view/shown_text.h"
#include "view/value_meaning.h"
#include "words/item_values.h"
#include "words/layer_words.h"
#include "words/why_here.h"

namespace hivequarry {
namespace {

constexpr const char* kCopyWords = "copy of a connected key";

void Append(std::string& text, std::string_view separator, std::string_view label,
            const std::string& words) {
  if (words.empty()) return;
  if (!text.empty()) text += separator;
  text += label;
  text += words;
}

// Empty for a key of which nothing is to be said.
std::string Words(const HiveImage& hive, const KeyTree& tree, const KeyItem& it,
                  std::string_view separator) {
  std::string text;
  if (it.kind == ItemKind::kPathCopy) text = kCopyWords;
  Append(text, separator, "Status: ", KeyStatusText(hive, it));
  Append(text, separator, "Info: ", InfoWords(hive, tree, it));
  const uint32_t edits = it.position == kNoOffset ? 0 : EditsOfKey(hive, it.position);
  if (edits != 0) Append(text, separator, "Edited in memory: ", std::to_string(edits));
  return text;
}

// What the value's own type makes of its data, where the details show them otherwise.
std::string MeaningOfValue(const HiveImage& hive, uint32_t position) {
  std::vector<uint8_t> data;
  const ValueKey value = ReadValueKey(hive, position, ValueRead::kData, kMaxValueData, &data);
  return value.status == ValueStatus::kRead ? MeaningDetail(value.type, data) : std::string();
}

// Data that are too long for a text; bytes they are all the same, as far as the hive has them.
std::string LongValueWords(const HiveImage& hive, uint32_t position) {
  const ValueKey value = ReadValueKey(hive, position, ValueRead::kFields, kMaxValueData, nullptr);
  const bool there = value.data_length <= hive.length;
  return Concat({"Type ", std::to_string(value.type), ", Length 0x", Hex(value.data_length), " (",
                 std::to_string(value.data_length), ")\r\n",
                 there
                     ? "Too long to be shown as text.\r\n"
                     : "The length is more than the hive has bytes: its data can't be read.\r\n"});
}

}  // namespace

std::u16string ItemWords(const HiveImage& hive, const KeyTree& tree, uint32_t item) {
  return ShownText(Words(hive, tree, tree.items[item], "    "));
}

std::u16string ItemTip(const HiveImage& hive, const KeyTree& tree, uint32_t item) {
  const KeyItem& it = tree.items[item];
  if (it.kind == ItemKind::kDisconnectedKeys) return u"Keys not connected to the Root cell";
  if (it.kind == ItemKind::kDisconnectedValues) return u"Values not connected to any key";
  std::string text = Words(hive, tree, it, "\r\n");
  const bool made = (it.marks & kVirtualMarks) != 0;
  if (it.position != kNoOffset) {
    Append(text, "\r\n", made ? "No key cell at " : "Position: ", PlaceWords(hive, it.position));
  }
  return ShownText(text);
}

std::u16string ItemDetail(const HiveImage& hive, const KeyTree& tree, uint32_t item) {
  const KeyItem& it = tree.items[item];
  if (it.kind != ItemKind::kPathCopy) return ShownText(KeyDetail(hive, tree, item));
  return u"This is a copy of a connected key: the way to what was unlinked from it.\r\n\r\n" +
         ShownText(KeyDetail(hive, tree, item));
}

std::u16string ValueDetailOf(const HiveImage& hive, const KeyTree& tree, uint32_t position) {
  const ValueDetailText shown = ShownValueDetail(hive, position);
  std::string detail = shown.text;
  if (shown.status == ValueStatus::kTooLong) detail = LongValueWords(hive, position);
  if (!shown.text.empty()) detail += MeaningOfValue(hive, position);
  const std::string why = WhyValueIsHere(tree, position);
  return ShownText(why.empty() || detail.empty() ? detail : "Why here: " + why + "\r\n" + detail);
}

}  // namespace hivequarry
