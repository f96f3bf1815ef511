#include "hive/layers.h"

#include "hive/layer_stack.h"
#include "hive/values.h"

namespace hivequarry {
namespace {

// Systems with layers write these two bits alone; older ones have others in the same word, so that
// a hive with any of those is none of theirs.
constexpr uint32_t kKnownFlags = 3;

uint8_t LayerBits(const HiveImage& hive, uint32_t key_position) {
  return HasLayers(hive, key_position) ? ReadU8(hive, key_position + kKeyLayerBits) : uint8_t{0};
}

}  // namespace

bool HasLayers(const HiveImage& hive, uint32_t position) {
  if (hive.stack != nullptr) return HasLayers(LayerHive(hive, position));
  if (!hive.header_valid) return false;
  const uint32_t flags = ReadU32(hive, kBaseFlags);
  return (flags & kBaseLayered) != 0 && (flags & ~kKnownFlags) == 0 &&
         ReadU32(hive, kBaseTransactionMark) != kTransactionMark;
}

KeyLayer LayerOfKey(const HiveImage& hive, uint32_t key_position) {
  return static_cast<KeyLayer>(LayerBits(hive, key_position) & kLayerMask);
}

bool InheritsClass(const HiveImage& hive, uint32_t key_position) {
  return (LayerBits(hive, key_position) & kInheritClass) != 0;
}

bool IsTombstone(const HiveImage& hive, const ValueKey& value) {
  return (value.flags & kValueTombstone) != 0 && HasLayers(hive, value.position);
}

}  // namespace hivequarry
