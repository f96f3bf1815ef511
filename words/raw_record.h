// The raw view of a record: what is in its bytes, field by field, as the file has it (edits in
// memory don't show). Damaged records are shown as far as they reach.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "hive/image.h"

namespace hivequarry {

// By what is at a position, not by who names it.
enum class RecordKind : uint8_t {
  kNone,  // outside the image
  kBaseBlock,
  kBlockHeader,
  kKey,
  kValue,
  kSecurity,
  kList,  // "lf", "lh", "li" or "ri"
  kBigData,
  kValueList,  // has no signature: an allocated cell that begins with the offset of a value
  kAllocated,  // another allocated cell
  kFree,
  kNoCell,  // bytes in which no cell can be made out
};
// "key", "value list" and so on.
const char* RecordKindWord(RecordKind kind);

// Positions are those of the image.
struct RecordPlace {
  RecordKind kind = RecordKind::kNone;
  uint32_t position = 0;  // of its first byte
  uint32_t length = 0;    // as far as the image has it
};

// The record that holds `position`. A recognisable record that begins just there is taken, also one
// hidden in another cell; else the cell of the chain through the block. Inside free cells and bytes
// without a cell the nearest record before it that reaches so far is preferred.
// kNone outside the image. Linear in the blocks before the position and in the cells of its own, so
// it is for one record at a time, not for walks.
RecordPlace RecordAt(const HiveImage& hive, uint32_t position);

// A field of a record, or a stretch of bytes that no field takes.
struct RawField {
  uint32_t position = 0;  // in the image
  uint32_t size = 0;      // bytes that the image has of it
  std::string name;
  std::string bytes;              // "0A FF ...", at most kRawBytes of them
  std::string meaning;            // what the bytes say, in words; may be empty
  uint32_t leads_to = kNoOffset;  // where an offset leads inside the image
};

inline constexpr uint32_t kRawBytes = 16;        // shown of a field
inline constexpr uint32_t kMostRawRows = 16384;  // of entries or bytes; what is left is one field

// A record with all its bytes: the fields follow each other up to its end.
struct RawRecord {
  RecordPlace place;
  std::vector<RawField> fields;  // ascending by position, without gaps; empty for kNone
};
// Of the record that holds `position` (RecordAt). Bytes of the record that no field of its layout
// takes are fields of their own, so that every byte is shown once.
RawRecord ReadRawRecord(const HiveImage& hive, uint32_t position);

}  // namespace hivequarry
