// Hives, logs and pieces of them anywhere in a file of any size: an image of a disk or of memory, a
// page file, space that a file system does not use. The file is read as a stream, its positions
// have 64 bits, and no more than what was found is kept.
//
// What is found is said with what proves it. Blocks whose own offsets go with their places in the
// file are one piece; pieces apart from each other are joined only where the one follows the other
// by their own offsets, references of the one lead to what they name in the other, and no other
// piece fits as well.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/file_reading.h"
#include "lists/output_list.h"

namespace hivequarry {

// The order matters: everything up to kJoined is a hive or a part of one.
enum class CarvedKind : uint8_t {
  kHive,         // as long as its base block says
  kCutHive,      // has its base block or first block, and is shorter than that, or nothing says
  kFragment,     // blocks from within a hive
  kJoined,       // pieces of one hive
  kPart,         // one of those
  kBaseBlock,    // alone
  kLog,          // base block and entries
  kLogEntries,   // without
  kPacked,       // of a file that the file system compressed
  kPackedPage,   // of compressed memory
  kPackedSleep,  // memory of a system that slept: told, not read
  kHole,         // zeros
  kUnread,
};
// How much of what was found proves it: `why` has the words.
enum class Sureness : uint8_t { kCertain, kLikely, kPossible };

// Positions count from the start of the file that was searched, 64 bits wide.
struct Carved {
  CarvedKind kind = CarvedKind::kHive;
  Sureness sure = Sureness::kPossible;
  std::vector<FileRange> parts;  // of the file, in the order of what they make; never empty
  uint64_t length = 0;           // of what it is; of a packed one that is more than its parts
  uint32_t keys = 0;             // allocated ones
  std::string root;              // name of the root key; of a fragment "...\" and its first key's
  std::string stored_name;       // of the file, by the base block
  uint64_t last_write = 0;       // FILETIME, of the base block
  bool base = false;             // begins with a base block
  std::string why;               // what proves it, and what is wrong with it
  std::string file;              // that was written of it; empty: none

  // What may be opened as a hive, whole or not.
  bool hive() const {
    return kind <= CarvedKind::kJoined || kind == CarvedKind::kPacked ||
           kind == CarvedKind::kPackedPage;
  }
};

// Holes are stretches of zeros of a page or more.
struct CarveOptions {
  bool holes = false;  // every stretch of zeros, not only those in what was found
};

struct CarvedFile {
  std::string name;           // UTF-8
  int error = 0;              // errno value: it can't be opened
  uint64_t size = 0;          // bytes
  std::vector<Carved> found;  // by position; parts of a joined one after it
  UnreadBytes unread;
  uint64_t zeros = 0;  // bytes, in stretches of pages
  uint64_t holes = 0;  // how many stretches
};
// Ends early when the user stops. More than kMostCarved things of a kind are a shortfall.
inline constexpr size_t kMostCarved = 100000;
// `name` is UTF-8. Reads the file once from its beginning to its end, and then what was found;
// memory goes with what was found. Any file may be given, also a device that can be read.
CarvedFile CarveFile(const std::string& name, const CarveOptions& options);

// Writes a file of each hive, fragment and log to the folder, which is made where it is missing,
// and names it in `file`: "SOURCE.0x000012345000.hive" with the position, ".blocks" for what has no
// base block, ".log". Zeros stand for what is missing between parts. No file is replaced but, with
// `replace`, what is no hive and no log. The folder may be the source's, the source is never
// written. `fault` takes what the user must know of the first failure; an empty one means that all
// were written.
struct CarveWriting {
  std::string folder;
  bool replace = false;  // files of these names that are there already
};
void WriteCarved(CarvedFile& carved, const CarveWriting& writing, std::string& fault);

// A row each, of kind kListCarved.
OutputListPtr ListCarved(const CarvedFile& carved);

}  // namespace hivequarry
