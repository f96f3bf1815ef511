// Where a hive begins: in a larger file, by its bins, and what the bytes at a place confirm.
#pragma once

#include <cstdint>
#include <cstdio>

#include "hive/image.h"

namespace hivequarry {

// Where a hive begins inside a larger file, by walking to its first sensible "hbin".
struct HiveStart {
  bool found = false;
  bool stopped = false;  // by the user: then nothing is found
  uint32_t start = 0;    // file offset
};
// Adds to `unread` what could not be read on the way.
// The stream's position is anywhere afterwards. Looks no further than the first block that tells;
// linear in what is before it, with progress for files of 2 MB and more. A file shorter than a base
// block has no start, and one that begins beyond 4 GiB is not found.
HiveStart FindHiveStart(std::FILE* stream, uint64_t file_size, UnreadBytes& unread);

// What the bytes at a candidate file offset confirm; flags already set stay set.
struct HiveProbe {
  bool header_valid = false;  // a base block, or room where one was
  bool root_valid = false;    // the first cell is a root key's
};
// A root that is recognised vouches for a base block before it, whose own letters may be lost.
void ProbeHiveStart(std::FILE* stream, uint32_t candidate, HiveProbe& probe);
// What an image in memory confirms of its own start, where the file could not be asked.
HiveProbe ProbeImage(const HiveImage& hive);

// True for an image that begins as a base block does.
bool BeginsAsBaseBlock(const HiveImage& hive);

}  // namespace hivequarry
