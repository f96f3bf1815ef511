// The base block: the first 4096 bytes of a hive file. Its first 512 are filled; the root key's
// offset and the data area's length count from the end of the block. Where a system crashed it may
// be out of date or wrong in any field, so nothing here is trusted by itself.
#pragma once

#include <cstdint>
#include <string>

#include "bytes/byte_view.h"

namespace hivequarry {

// Bins and all of the data area are multiples of it, and the system reads and writes them so.
inline constexpr uint32_t kPageSize = 4096;
inline constexpr uint32_t kBaseBlockSize = kPageSize;
inline constexpr uint32_t kHiveSignature = 0x66676572;      // "regf"
inline constexpr uint32_t kSnapshotSignature = 0x70616E73;  // "snap", of a registry snapshot

// Layout of what is filled. What is after the name only later systems fill:
//
//    0    4  "regf"                          40    4  length of the bins
//    4    4  first sequence number           44    4  clustering factor, 1
//    8    4  second sequence number          48   64  file name, UTF-16
//   12    8  last write, FILETIME           112   32  two GUIDs, of transactions
//   20    4  major version, 1               144    4  flags
//   24    4  minor version, 2 to 6          164    4  "rmtm"
//   28    4  type of the file               168    8  last reorganisation, FILETIME
//   32    4  format of the file, 1          508    4  checksum
//   36    4  offset of the root key
//
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
// Sectors in a unit of 512 bytes; 1 wherever it was met, and not looked at.
inline constexpr uint32_t kBaseClustering = 44;
// What the system that wrote the hive called its file: the end of a path, zero-ended unless it
// fills the field.
// The system writes the last 32 units of a longer path, so that it may begin in the middle of a
// name.
inline constexpr uint32_t kBaseFileName = 48;
inline constexpr uint32_t kBaseFileNameUnits = 32;  // UTF-16; the start of a longer path is cut off
inline constexpr uint32_t kBaseFlags = 144;         // bit 0: transactions were not all done
// Of the flags, from version 1607 of Windows 10 on: keys and values may be layered
// (hive/layers.h). Windows 8 says with it that the hive was defragmented.
// A flag that is read with the others' help: HasLayers of hive/layers.h says when it is believed.
inline constexpr uint32_t kBaseLayered = 2;
// "rmtm" where the hive takes part in transactions.
inline constexpr uint32_t kBaseTransactionMark = 164;
inline constexpr uint32_t kTransactionMark = 0x6D746D72;
// FILETIME, but for its two lowest bits, which say what was done: 1: the hive was defragmented; 2:
// the access bits of its keys were cleared.
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
  uint32_t type = 0;         // kBaseFileType
  uint32_t root_offset = 0;  // from the first bin, the root key's cell
  uint32_t length = 0;       // bytes of all bins
  std::u16string file_name;  // up to its first zero
  uint32_t flags = 0;
  uint64_t reorganised = 0;  // FILETIME but for its two lowest bits
  uint32_t checksum = 0;     // as stored
};
// The block at the start of the view; fields beyond its end are 0.
// The name stops at its first zero or after 32 units; it is not made visible yet.
BaseBlock ReadBaseBlock(ByteView image);

// The XOR of the 127 32-bit words before the checksum: what systems store there, but that they
// store 1 for 0 and 0xFFFFFFFE for 0xFFFFFFFF.
uint32_t BaseBlockSum(ByteView image);
// What systems store for that sum.
uint32_t BaseBlockChecksum(ByteView image);

// What a base block begins with: at least three letters of "regf", each in its place, or "snap"
// whole. So one letter that was overwritten does not cost the hive its data base.
// A test of four bytes alone. Whether a hive begins there is decided by what follows
// (hive/hive_start.h).
bool IsBaseBlockSignature(const uint8_t (&bytes)[4]);

}  // namespace hivequarry
