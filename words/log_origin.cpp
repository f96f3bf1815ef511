#include "words/log_origin.h"

#include <algorithm>

#include "hive/layer_stack.h"
#include "hive/replaying.h"
#include "records/cell.h"
#include "records/key_node.h"
#include "records/value_key.h"
#include "replay/log_words.h"

namespace hivequarry {
namespace {

// True for a record that was allocated there with the same signature and name.
bool WasThere(const HiveImage& hive, uint32_t position, uint32_t name, uint32_t name_length) {
  const ByteView before = hive.logs->before_bytes();
  const ByteView after = ImageBytes(hive);
  const auto same = [&](uint32_t at, uint32_t size) {
    return std::ranges::equal(PartOf(before, at, size), PartOf(after, at, size));
  };
  return IsAllocated(ReadU32(before, position)) && same(position + 4, 2) &&
         same(position + name, name_length);
}

// "new" for a record that was not there before the logs, or was another's.
std::string TextOf(const HiveImage& hive, const LogOrigin& origin, bool was_there) {
  if (!origin.found) return {};
  return (was_there ? "changed: " : "new: ") +
         OriginWords(*hive.logs, origin.step, origin.log_position);
}

}  // namespace

// By the record alone, its fields and its name: what changed in its lists is not looked for.
std::string KeyOriginText(const HiveImage& hive, uint32_t position) {
  if (hive.stack != nullptr) {
    return KeyOriginText(LayerHive(hive, position), position - LayerStart(hive, position));
  }
  if (!IsReplayed(hive)) return {};
  const uint32_t length = ReadU16(hive, position + kKeyNameLength);
  const LogOrigin origin = OriginOf(hive, position, kKeyName + length);
  return TextOf(hive, origin, origin.found && WasThere(hive, position, kKeyName, length));
}

// The later of the steps that wrote the record or its data. Data in the record itself are changed
// with it; data in several segments are not looked at.
std::string ValueOriginText(const HiveImage& hive, const ValueKey& value) {
  if (hive.stack != nullptr) {
    ValueKey own = value;
    own.position -= LayerStart(hive, value.position);
    own.data_position -= LayerStart(hive, value.position);
    return ValueOriginText(LayerHive(hive, value.position), own);
  }
  if (!IsReplayed(hive)) return {};
  const uint32_t length = value.name_length;
  LogOrigin origin = OriginOf(hive, value.position, kValueName + length);
  if (!value.inline_data && !value.big_data && value.data_length != 0) {
    const LogOrigin data = OriginOf(hive, value.data_position, value.data_length);
    if (data.found && (!origin.found || data.step > origin.step)) origin = data;
  }
  return TextOf(hive, origin, origin.found && WasThere(hive, value.position, kValueName, length));
}

}  // namespace hivequarry
