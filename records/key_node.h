// The "nk" record: a key, as its bytes have it. Its offsets are as stored; where they lead is the
// hive's business (hive/keys.h).
#pragma once

#include <cstdint>
#include <string>

#include "bytes/byte_view.h"

namespace hivequarry {

// Layout. At 16, 17, 58 and 59 older systems wrote parts of wider fields, so what is there is
// believed only where something else says that it means what it does now:
//
//    0    4  size of the cell              40    4  number of values
//    4    2  "nk"                          44    4  offset of the value list
//    6    2  flags                         48    4  offset of the security record
//    8    8  last write, FILETIME          52    4  offset of the class name
//   16    1  access bits                   56    2  longest name of a subkey, bytes
//   17    1  layer bits                    58    1  user flags, virtualisation
//   18    2  spare                         59    1  debug bits
//   20    4  offset of the parent          60    4  longest class name of a subkey, bytes
//   24    4  number of subkeys             64    4  longest name of a value, bytes
//   28    4  number of volatile subkeys    68    4  longest data of a value, bytes
//   32    4  offset of the subkey list     72    4  work variable
//   36    4  offset of the volatile list   76    2  length of the name, bytes
//                                          78    2  length of the class name, bytes
//                                          80       the name
//
// Offsets of the fields from the start of the cell, after its size (0) and its signature (4). Where
// nothing else is said a field is 32 bits wide. Fields that lead somewhere are offsets from the
// start of the data area to the size field of a cell; 0xFFFFFFFF is "none".
inline constexpr uint32_t kKeyFlags = 6;      // 16 bits
inline constexpr uint32_t kKeyLastWrite = 8;  // FILETIME, UTC, 64 bits
// Who opened the key since the hive was cleaned last (base_block.h): 1 before the registry was
// initialised at boot, 2 after. From Windows 8 on; one byte since version 1607 of Windows 10, four
// before that.
inline constexpr uint32_t kKeyAccessBits = 16;
// How the key goes with that of the same path in the hive below (hive/layers.h): what it does to
// it, and whether the class name is that one's. Older systems wrote other things here.
inline constexpr uint32_t kKeyLayerBits = 17;
// Bits 0 and 1 of a key's byte at kKeyLayerBits, of a layered hive alone.
enum class KeyLayer : uint8_t { kMerge, kTombstone, kSupersedeLocal, kSupersedeTree };
inline constexpr uint8_t kLayerMask = 3;
inline constexpr uint8_t kInheritClass = 0x80;
inline constexpr uint32_t kKeyParent = 20;       // the key that it is in; a root's says nothing
inline constexpr uint32_t kKeySubkeyCount = 24;  // of those that the hive keeps
// Subkeys that live until the system stops. They are never in a file, so what a file says here is
// shown and not followed.
inline constexpr uint32_t kKeyVolatileCount = 28;
inline constexpr uint32_t kKeySubkeyList = 32;  // an "lf", "lh", "li" or "ri" cell
inline constexpr uint32_t kKeyVolatileList = 36;
inline constexpr uint32_t kKeyValueCount = 40;
// A cell without a signature: after its size the offsets of the values, as many as the count says.
// A cell that once had more often has theirs still after these.
inline constexpr uint32_t kKeyValueList = 44;
inline constexpr uint32_t kKeySecurity = 48;   // an "sk" cell, which other keys name too
inline constexpr uint32_t kKeyClassName = 52;  // a cell without a signature: UTF-16 text
// High-water marks of what the key has had since it last had none (recovery/high_marks.h).
inline constexpr uint32_t kKeyLongestSubkeyName = 56;  // bytes as UTF-16; 16 bits
inline constexpr uint32_t kKeyUserFlags = 58;          // low nibble; high: virtualisation
inline constexpr uint32_t kKeyDebugBits = 59;
inline constexpr uint32_t kKeyLongestValueName = 64;  // bytes as UTF-16
inline constexpr uint32_t kKeyLongestValueData = 68;  // bytes
inline constexpr uint32_t kKeyNameLength = 76;        // bytes; 16 bits
inline constexpr uint32_t kKeyClassNameLength = 78;   // bytes; 16 bits
inline constexpr uint32_t kKeyName = 80;              // the fixed part ends here

// Of the root key of a hive: a hive begins here, not to be deleted, a name of bytes.
inline constexpr uint16_t kRootKeyFlags = 0x2C;
inline constexpr uint8_t kKeyNameIsBytes = 0x20;  // of the flags: low bytes of UTF-16, not UTF-16

// The fields as stored: none is held against the image, and no offset is led to a position yet.
struct KeyFields {
  uint32_t size = 0;  // of the cell, as stored
  uint16_t signature = 0;
  uint16_t flags = 0;
  uint64_t last_write = 0;  // FILETIME, UTC
  uint32_t parent = 0;      // this and the next four: offsets, 0xFFFFFFFF for none
  uint32_t subkey_list = 0;
  uint32_t value_list = 0;
  uint32_t security = 0;
  uint32_t class_name = 0;
  uint32_t subkey_count = 0;
  uint32_t value_count = 0;
  uint16_t name_length = 0;        // bytes
  uint16_t class_name_length = 0;  // bytes
};
// Of the cell at `cell`, whatever its signature is. False, and all 0, when the fixed part is not
// all in the view.
bool ReadKeyFields(ByteView image, uint32_t cell, KeyFields& fields);

// True for the low byte of the flags that keys of the kinds known to be written have: 0x04
// and 0x08 mark a root, 0x10 a symbolic link, 0x20 a name of bytes, 0x40 a predefined handle, 0x80
// the source of a virtualised key. Of any other the tolerant test decides (hive/keys.h).
bool IsKeyFlagsByte(uint8_t flags);

// The bytes of a name that are read at most: as many as a registry's name takes (510), or as the
// cell has.
inline constexpr uint32_t kMaxRawName = 510;
// A longer name than 510 bytes is a forged or damaged one; its bytes are shown as far as its own
// cell goes, and no other record's are.
uint32_t LongestKeyName(ByteView image, uint32_t cell);
// The name of `length` bytes as stored, at most LongestKeyName, as text, and at the end of `out`;
// fast for a name of bytes.
// `cell` is a position. UTF-8, not yet made visible (host/visible_text.h); shorter than `length`
// where the image ends first. `wide` is the caller's: he knows the flags (key_flags.h).
std::string KeyNameText(ByteView image, uint32_t cell, uint32_t length, bool wide);
void AppendKeyNameText(ByteView image, uint32_t cell, uint32_t length, bool wide, std::string& out);
// The same in UTF-16, whatever the user's choice of reading: what hashes are made of, and what the
// registry is asked for.
// Asks the key's own flags how the name is stored; of one in UTF-16 an odd last byte is left out.
std::u16string WideKeyName(ByteView image, uint32_t cell, uint32_t length);

}  // namespace hivequarry
