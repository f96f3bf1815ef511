// What the steps of carving share. Not for use outside this folder.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "bytes/byte_view.h"
#include "cases/carve.h"
#include "host/file_reading.h"
#include "host/files.h"
#include "host/shortfalls.h"
#include "records/log_entry.h"

namespace hivequarry {

// The file under the search, read at any place through one window.
class CarveSource {
 public:
  CarveSource() = default;
  // Of bytes in memory, which live as long.
  explicit CarveSource(ByteView bytes) : size_(bytes.size()), memory_(bytes) {}
  // 0, or an errno value.
  int Open(const std::string& name);
  uint64_t size() const { return size_; }
  std::FILE* stream() const { return stream_.get(); }
  // The bytes from `position` on, fewer than `size` at the end of the file alone. Valid until the
  // next call.
  ByteView At(uint64_t position, uint32_t size);

 private:
  FileStream stream_;
  uint64_t size_ = 0;
  ByteView memory_;              // what is examined when no file was opened
  std::vector<uint8_t> window_;  // what was read last
  uint64_t start_ = 0;           // of the window, in the file
};

// Things inside of things inside of things: each byte is looked at for a few of them.
class NestGuard {
 public:
  // In ascending order of positions. False for one inside too many others: a shortfall.
  bool MayEnter(uint64_t position) {
    constexpr size_t kMost = 4;
    std::erase_if(ends_, [position](uint64_t each) { return each <= position; });
    if (ends_.size() < kMost) return true;
    NoteShortfall(Shortfall::kRows);
    return false;
  }
  void Add(uint64_t end) { ends_.push_back(end); }

 private:
  std::vector<uint64_t> ends_;  // after those that a position may still be inside of
};

// --- the first pass: what begins where -----------------------------------------------------------

// Positions here and below count from the start of the file.
struct BaseBlockAt {
  uint64_t position = 0;  // of its first byte
  uint32_t type = 0;      // 0: a hive, others: logs
  uint32_t length = 0;    // of its bins, as it says
};

// Headers of blocks at one distance from their own offsets.
struct BinRun {
  uint64_t start = 0;    // of the first
  uint64_t last = 0;     // of the last
  uint64_t end = 0;      // after the last, as its header says
  uint64_t vouched = 0;  // up to where a base block says that they go on; 0: none does
  uint32_t own = 0;      // own offset of the first
  // An offset, as `own` is.
  uint32_t own_end() const { return own + static_cast<uint32_t>(end - start); }
};

// Compressed bytes that begin a base block or a block.
struct PackedAt {
  uint64_t position = 0;  // of its first byte
  bool page = false;      // of memory
};

// What the first pass notes, each by position.
struct SourceMarks {
  std::vector<BaseBlockAt> bases;
  std::vector<BinRun> runs;
  std::vector<FileRange> entries;  // runs of entries of logs, headers proven
  std::vector<PackedAt> packed;
  std::vector<uint64_t> sleeps;  // blocks of a file that holds the memory of a sleeping system
  uint64_t sleep_count = 0;      // of all, also of those that are not kept
  std::vector<FileRange> holes;  // where they are asked for
  uint64_t zeros = 0;            // bytes in all holes
  uint64_t hole_count = 0;       // of all, also of those that are not kept
  UnreadBytes unread;
};
// One pass over the file; what it notes is a candidate, nothing more. Ends early when the user
// stops.
void ScanSource(CarveSource& source, bool keep_holes, SourceMarks& marks);

// --- the second: what of it holds ----------------------------------------------------------------

// An offset in one piece at which another must have a key.
struct KeyReference {
  uint32_t target = 0;  // an offset of the hive
  uint32_t check = 0;   // hash or hint of the key's name
  enum Kind : uint8_t { kHash, kHint, kParent } kind = kParent;
};

// What is known of a piece after its blocks were read. Offsets (`own`, `claimed`) count as a hive's
// do, without its base block.
struct HivePiece {
  uint64_t start = 0;       // of the base block, or of the first block
  uint64_t bins = 0;        // of the first block
  uint64_t end = 0;         // after the last block
  uint32_t own = 0;         // own offset of the first block
  bool base = false;        // has a base block
  bool letters = false;     // "regf" as it should be, or a snapshot's
  bool snapshot = false;    // "snap"
  bool checksum = false;    // right
  uint32_t claimed = 0;     // length of the bins by the base block
  uint64_t last_write = 0;  // FILETIME, by the base block; 0 without one
  std::string stored_name;  // by the base block
  uint32_t whole = 0;       // blocks that cells fill
  uint32_t broken = 0;      // others
  uint32_t cells = 0;       // that were met, free ones too
  uint32_t keys = 0;
  bool root_found = false;
  std::string root;
  std::vector<FileRange> zeros;        // pages of zeros between blocks
  std::vector<FileRange> foreign;      // other bytes between blocks
  bool inside = false;                 // a whole block of another piece
  uint64_t outer = 0;                  // where that one begins
  std::vector<KeyReference> forward;   // to keys after this piece
  std::vector<KeyReference> backward;  // to keys before it

  uint32_t own_end() const { return own + static_cast<uint32_t>(end - bins); }
  // As long as its base block says, every block whole, and nothing else among them.
  bool complete() const {
    return base && own_end() >= claimed && claimed != 0 && zeros.empty() && foreign.empty() &&
           broken == 0;
  }
};
// What the run is; blocks before `from` belong to somebody else. A piece of no block (whole and
// broken are 0) is none.
HivePiece ExamineRun(CarveSource& source, const BinRun& run, uint64_t from);

// A log at a base block of one, or entries without: appended when anything holds.
void ExamineLogAt(CarveSource& source, const BaseBlockAt& base, std::vector<Carved>& found);
void ExamineEntries(CarveSource& source, const FileRange& run, std::vector<Carved>& found);

// Numbers of pieces that make one hive, in its order: only those of two or more.
std::vector<std::vector<uint32_t>> JoinPieces(CarveSource& source,
                                              const std::vector<HivePiece>& pieces);

// What compressed bytes are: false for nothing that holds. The bytes themselves go to `bytes` where
// the caller wants them (else null).
bool ExaminePacked(CarveSource& source, const PackedAt& at, Carved& carved,
                   std::vector<uint8_t>* bytes);

// What a piece is, with the words for it; and what several of them, in order, are.
Carved CarvedOf(const HivePiece& piece);
Carved CarvedOf(const std::vector<HivePiece>& pieces, const std::vector<uint32_t>& chain);

}  // namespace hivequarry
