// Keys of a hive: "nk" records with their offsets led to positions.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "hive/image.h"
#include "hive/subkeys.h"
#include "records/key_node.h"

namespace hivequarry {

// By the cell's size alone: allocated is a size of 64 KiB at most, negative. A key's cell never is
// longer.
enum class KeyState : int8_t { kNotAKey = -1, kFree = 0, kAllocated = 1 };

// A key's fields with its offsets led to positions, and its name. None of the positions was looked
// at: who follows one checks that it is in the image.
struct KeyNode {
  uint32_t position = kNoOffset;
  uint32_t size = 0;                 // as stored
  uint32_t signature_and_flags = 0;  // the signature in the low half
  uint64_t last_write = 0;           // FILETIME, UTC
  // Positions (data_base added), kNoOffset for none; they may lie outside the image.
  uint32_t parent = kNoOffset;
  uint32_t subkey_count = 0;
  uint32_t subkey_list = kNoOffset;
  uint32_t value_count = 0;
  uint32_t value_list = kNoOffset;
  uint32_t security = kNoOffset;
  uint32_t class_name = kNoOffset;
  uint8_t flags_low = 0;           // the flags' low byte
  uint16_t name_length = 0;        // bytes, as stored
  uint16_t class_name_length = 0;  // bytes
  uint32_t length = 0;             // of the cell, absolute
  KeyState state = KeyState::kNotAKey;
  bool name_failed = false;  // a UTF-16 name with a zero character
  std::string name;          // one of more than 256 characters ends in "..."
  SubkeyListCheck list;      // filled when asked for
};

// What ReadKeyNode does beyond the fields and the name.
enum class KeyRead {
  kFields,    // fields, name and state
  kLinks,     // and CheckSubkeyList
  kDiagnose,  // and CheckSubkeyList in recovery mode
};

// Reads the key at `position`; a record that is no key has state kNotAKey.
KeyNode ReadKeyNode(const HiveImage& hive, uint32_t position, KeyRead how);

// 0 plausible key node, 2 link key ("lk": where another hive is mounted), 1 accepted by the
// tolerant test, -1 not a key. The tolerant test runs only for an image with tolerant_keys. Without
// a base block a key must also have a size that is negative and below 64 KiB.
int ClassifyKey(const HiveImage& hive, uint16_t signature, uint16_t flags, uint32_t size,
                uint32_t position);
// True when at least two of the three bytes after a key's 'n' are as they should be ('k', 0x20,
// 0x00), examined in order; `one_bit_errors` grows by the bytes met that differ in a single bit.
bool TolerantKeyTest(const HiveImage& hive, uint32_t position, uint32_t& one_bit_errors);

// Parent position (kNoOffset for the root) and name of the key at `position`.
// kNoOffset and an empty name, too, where the fixed part is not all in the image.
// Other than everywhere else, the whole of the flags must be 0 for a name in UTF-16: with user
// flags (key_flags.h) this reads it as bytes. ReadKeyName does not.
uint32_t ReadKeyParentAndName(const HiveImage& hive, uint32_t position, std::string& name);

// Name of the key at `position` alone.
// As stored, so not safe to show; ShownKeyName (host/visible_text.h) makes it so.
std::string ReadKeyName(const HiveImage& hive, uint32_t position);
void AppendKeyName(const HiveImage& hive, uint32_t position, std::string& out);

// Position of a key's value list: the repaired one if there is, else what the key says.
// kNoOffset for none; may lie outside the image.
uint32_t ValueListOf(const HiveImage& hive, uint32_t key_position);

// Name bytes as stored, at most 510; class name likewise (a length of 1041 or more counts as 520).
std::vector<uint8_t> ReadRawKeyName(const HiveImage& hive, uint32_t position);
// UTF-16 as a rule; programs store other bytes too. In a stack the class name of the layer that
// gives it. Empty where the key has none or its cell is out of bounds.
std::vector<uint8_t> ReadClassName(const HiveImage& hive, const KeyNode& key);

}  // namespace hivequarry
