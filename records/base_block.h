// The base block: the first 4096 bytes of a hive file. Its first 512 are filled; the root key's
// offset and the data area's length count from the end of the block. Where a system crashed it may
// be out of date or wrong in any field, so nothing here is trusted by itself.
#pragma once

#include <cstdint>
#include <string>

#include "bytes/byte_view.h"

namespace hivequarry {

inline constexpr uint32_t kBaseBlockSize = 4096;
inline constexpr uint32_t kHiveSignature = 0x66676572;      // "regf"
inline constexpr uint32_t kSnapshotSignature = 0x70616E73;  // "snap", of a registry snapshot

// Offsets of the fields from the start of the block. The signature is at 0; fields are 32 bits wide
// where nothing else is said. Times are shown but decide nothing, and a hive is scanned as a
// whole, whatever its block claims. The sequence numbers say whether its logs belong to it.
inline constexpr uint32_t kBaseSequence1 = 4;   // raised before the hive is written
inline constexpr uint32_t kBaseSequence2 = 8;   // set to the first one after that
inline constexpr uint32_t kBaseLastWrite = 12;  // FILETIME, 64 bits
inline constexpr uint32_t kBaseMajor = 20;
inline constexpr uint32_t kBaseMinor = 24;
inline constexpr uint32_t kBaseFileType = 28;    // 0: a hive, others: logs
inline constexpr uint32_t kBaseFileFormat = 32;  // 1: loaded directly
// Of the root key's cell, an offset like any other. A hint alone: it is followed to a key or not at
// all.
inline constexpr uint32_t kBaseRootOffset = 36;
// Bytes of all bins, this block not among them. What is after them in the file is looked at too.
inline constexpr uint32_t kBaseLength = 40;
inline constexpr uint32_t kBaseClustering = 44;
// What the system that wrote the hive called its file: the end of a path, zero-ended unless it
// fills the field.
inline constexpr uint32_t kBaseFileName = 48;
inline constexpr uint32_t kBaseFileNameUnits = 32;  // UTF-16; the start of a longer path is cut off
inline constexpr uint32_t kBaseFlags = 144;         // bit 0: transactions were not all done
// Of the flags, from version 1607 of Windows 10 on: keys and values may be layered
// (hive/layers.h). Windows 8 says with it that the hive was defragmented.
inline constexpr uint32_t kBaseLayered = 2;
// "rmtm" where the hive takes part in transactions.
inline constexpr uint32_t kBaseTransactionMark = 164;
inline constexpr uint32_t kTransactionMark = 0x6D746D72;
// FILETIME; its two lowest bits say what was done.
inline constexpr uint32_t kBaseReorganised = 168;
inline constexpr uint32_t kBaseChecksum = 508;  // as BaseBlockChecksum has it
inline constexpr uint32_t kBaseUsed = 512;      // bytes; the rest of the block is empty

// The fields as stored, none of them held against anything.
struct BaseBlock {
  uint32_t signature = 0;
  uint32_t sequence1 = 0;
  uint32_t sequence2 = 0;
  uint64_t last_write = 0;  // FILETIME, of the hive
  uint32_t major = 0;
  uint32_t minor = 0;
  uint32_t type = 0;
  uint32_t root_offset = 0;
  uint32_t length = 0;       // bytes of all bins
  std::u16string file_name;  // up to its first zero
  uint32_t flags = 0;
  uint64_t reorganised = 0;
  uint32_t checksum = 0;  // as stored
};
// The block at the start of the view; fields beyond its end are 0.
BaseBlock ReadBaseBlock(ByteView image);

// The XOR of the 127 32-bit words before the checksum: what systems store there, but that they
// store 1 for 0 and 0xFFFFFFFE for 0xFFFFFFFF.
uint32_t BaseBlockSum(ByteView image);
// What systems store for that sum.
uint32_t BaseBlockChecksum(ByteView image);

// What a base block begins with: at least three letters of "regf", each in its place, or "snap"
// whole. So one letter that was overwritten does not cost the hive its data base.
bool IsBaseBlockSignature(const uint8_t (&bytes)[4]);

}  // namespace hivequarry
