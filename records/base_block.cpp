#include "records/base_block.h"

namespace hivequarry {

BaseBlock ReadBaseBlock(ByteView image) {
  BaseBlock block;
  block.signature = ReadU32(image, 0);
  block.sequence1 = ReadU32(image, kBaseSequence1);
  block.sequence2 = ReadU32(image, kBaseSequence2);
  block.last_write = ReadU64(image, kBaseLastWrite);
  block.major = ReadU32(image, kBaseMajor);
  block.minor = ReadU32(image, kBaseMinor);
  block.type = ReadU32(image, kBaseFileType);
  block.flags = ReadU32(image, kBaseFlags);
  block.reorganised = ReadU64(image, kBaseReorganised);
  block.root_offset = ReadU32(image, kBaseRootOffset);
  block.length = ReadU32(image, kBaseLength);
  block.checksum = ReadU32(image, kBaseChecksum);
  for (uint32_t i = 0; i < kBaseFileNameUnits; ++i) {
    const char16_t unit = ReadU16(image, kBaseFileName + 2 * i);
    if (unit == 0) break;
    block.file_name.push_back(unit);
  }
  return block;
}

uint32_t BaseBlockSum(ByteView image) {
  uint32_t sum = 0;
  for (uint32_t at = 0; at < kBaseChecksum; at += 4) sum ^= ReadU32(image, at);
  return sum;
}

uint32_t BaseBlockChecksum(ByteView image) {
  const uint32_t sum = BaseBlockSum(image);
  if (sum == 0) return 1;
  return sum == 0xFFFFFFFF ? 0xFFFFFFFE : sum;
}

bool IsBaseBlockSignature(const uint8_t (&bytes)[4]) {
  constexpr uint8_t kLetters[4] = {'r', 'e', 'g', 'f'};
  int matches = 0;
  for (int i = 0; i < 4; ++i) matches += bytes[i] == kLetters[i];
  return matches >= 3 || LoadU32(bytes) == kSnapshotSignature;
}

}  // namespace hivequarry
