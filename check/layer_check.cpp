// Keys and values of a layered hive: one that holds only what differs from another.
#include "check/checking.h"
#include "host/number_text.h"
#include "records/key_node.h"
#include "records/value_key.h"

namespace hivequarry {
namespace {

using enum CheckCode;

constexpr uint8_t kLayerBits = kLayerMask | kInheritClass;
constexpr uint8_t kUnusedBits = 0xFF & ~kLayerBits;

std::string ByteFound(uint8_t byte) { return Concat({"0x", Hex(byte, 2)}); }

bool HasOwnThings(const uint8_t* record) {
  return LoadU32(record + kKeySubkeyCount) != 0 || LoadU32(record + kKeyValueCount) != 0 ||
         LoadU16(record + kKeyClassNameLength) != 0;
}

// Below a key that replaces its whole subtree nothing merges with the hive below: every key there
// replaces too, or is a tombstone.
void CheckUnderSuperseding(Checking& check, uint32_t key, KeyLayer kind) {
  const uint32_t parent = check.result.keys[key].parent;
  if (parent == kNoCheckedKey) return;
  const uint8_t above = check.hive[check.result.keys[parent].position + kKeyLayerBits];
  const bool fits = kind == KeyLayer::kSupersedeTree || kind == KeyLayer::kTombstone;
  if (LayerOf(above) != KeyLayer::kSupersedeTree || fits) return;
  AddFinding(check, kT2, check.result.keys[key].position, key,
             {std::to_string(static_cast<int>(kind)), "3, or 1 for a tombstone"});
}

}  // namespace

void CheckLayer(Checking& check, uint32_t key) {
  const uint32_t position = check.result.keys[key].position;
  const uint8_t* const record = check.hive.data() + position;
  const uint8_t bits = record[kKeyLayerBits];
  if (!check.layered) {
    // Older versions have another use for the byte.
    if (check.layers_unknown || (bits & kLayerBits) == 0) return;
    AddFinding(check, kT5, position, key, {ByteFound(bits), "0"});
    return;
  }
  if ((bits & kUnusedBits) != 0) AddFinding(check, kT4, position, key, {ByteFound(bits), "0"});
  const KeyLayer kind = LayerOf(bits);
  if (kind == KeyLayer::kTombstone && HasOwnThings(record)) {
    AddFinding(check, kT1, position, key, {"subkeys, values or a class", "none"});
  }
  CheckUnderSuperseding(check, key, kind);
}

// A tombstone has a name alone: type and length are 0, and the offset leads nowhere.
void CheckTombstoneValue(Checking& check, uint32_t position, uint32_t key) {
  const uint8_t* const record = check.hive.data() + position;
  const uint16_t flags = LoadU16(record + kValueFlags);
  if ((flags & kValueTombstone) == 0) return;
  if (!check.layered) {
    if (check.layers_unknown) return;
    AddFinding(check, kT5, position, key, {Concat({"flags 0x", Hex(flags, 4)}), "no tombstone"});
    return;
  }
  const bool data = LoadU32(record + kValueType) != 0 || LoadU32(record + kValueDataLength) != 0 ||
                    LoadU32(record + kValueDataOffset) != kNowhereOffset;
  if (data) AddFinding(check, kT3, position, key, {"type or data", "none"});
}

}  // namespace hivequarry
