// The runs of blocks in a file.

#include <algorithm>
#include <cstring>
#include <vector>

#include "host/file_reading.h"
#include "host/files.h"
#include "host/host.h"
#include "host/long_operation.h"
#include "host/number_text.h"
#include "lists/list_rows.h"
#include "reports/file_pieces.h"

namespace hivequarry {
namespace {

constexpr size_t kRunWindow = 1024 * 1024;
constexpr uint64_t kProgressSize = 2201000;  // smaller files are read without a progress bar

// The stretch of the file that is in memory; it moves along with the search.
class FileWindow {
 public:
  FileWindow(std::FILE* stream, uint64_t size)
      : stream_(stream), size_(size), bytes_(kRunWindow), progress_(size >= kProgressSize) {
    if (progress_) ShowRange(100);
  }
  ~FileWindow() {
    if (progress_) ShowRange(0);
  }
  FileWindow(const FileWindow&) = delete;
  FileWindow& operator=(const FileWindow&) = delete;

  uint64_t size() const { return size_; }
  const UnreadBytes& unread() const { return unread_; }

  bool Read(uint64_t position, uint8_t* out, size_t size) {
    if (!Holds(position, size)) return ReadFileBytes(stream_, position, out, size) == size;
    std::memcpy(out, &bytes_[static_cast<size_t>(position - start_)], size);
    return true;
  }

  // The first "hbin" with room for a header from `at` on. False after the last one, or when the
  // user stopped.
  bool FindSignature(uint64_t at, uint64_t& found) {
    while (!StopRequested() && (Holds(at, kBinHeaderSize) || Load(at))) {
      // Only places with a whole header after them in the window; the others are looked at in the
      // next one.
      const uint8_t* const stop = bytes_.data() + got_ - (kBinHeaderSize - 1);
      const uint8_t* h = bytes_.data() + (at - start_);
      while (h < stop) {
        h = static_cast<const uint8_t*>(std::memchr(h, 'h', static_cast<size_t>(stop - h)));
        if (h == nullptr) break;
        found = start_ + static_cast<uint64_t>(h - bytes_.data());
        if (LoadU32(h) == kBinSignature) return true;
        ++h;
      }
      at = start_ + static_cast<uint64_t>(stop - bytes_.data());
    }
    return false;
  }

 private:
  static void ShowRange(uint32_t steps) {
    const Host& host = CurrentHost();
    host.progress_range(host.context, steps);
  }

  bool Holds(uint64_t position, size_t size) const {
    return position >= start_ && position + size <= start_ + got_;
  }

  // With room for a base block first, which is looked at next. False at the end of the file.
  bool Load(uint64_t at) {
    start_ = at - std::min<uint64_t>(at, kBaseBlockSize);
    got_ = ReadFileBytes(stream_, start_, bytes_.data(), bytes_.size(), &unread_);
    if (progress_) {
      const Host& host = CurrentHost();
      host.progress_position(host.context, static_cast<uint32_t>(at * 100 / size_));
    }
    return Holds(at, kBinHeaderSize);
  }

  std::FILE* stream_;
  uint64_t size_;
  std::vector<uint8_t> bytes_;
  UnreadBytes unread_;
  uint64_t start_ = 0;
  size_t got_ = 0;
  bool progress_;
};

// A block that was met in the file; `end` as its header says it.
struct Block {
  uint64_t position = 0;
  uint64_t end = 0;
  uint32_t own_offset = 0;
};

// Blocks of one hive that follow each other.
struct BlockRun {
  uint64_t start = 0;
  uint64_t end = 0;  // after its last byte
  Block last;
};

// The same test as ReadBinHeader's, of a place in a file that may be longer than an image.
bool ReadBlock(FileWindow& window, uint64_t position, Block& block) {
  uint8_t header[kBinHeaderSize];
  if (!window.Read(position, header, sizeof(header))) return false;
  const uint32_t size = LoadU32(header + 8);
  block.position = position;
  block.end = position + size;
  block.own_offset = LoadU32(header + 4);
  return LoadU32(header) == kBinSignature && block.own_offset % kPageSize == 0 &&
         size % kPageSize == 0 && size != 0 && size < 0x80000000;
}

bool IsBaseBlock(FileWindow& window, uint64_t position) {
  uint8_t bytes[4];
  return window.Read(position, bytes, sizeof(bytes)) && IsBaseBlockSignature(bytes);
}

// The next one from `at` on, at any byte.
bool FindBlock(FileWindow& window, uint64_t at, Block& block) {
  uint64_t position = 0;
  for (; window.FindSignature(at, position); at = position + 1) {
    if (ReadBlock(window, position, block)) return true;
  }
  return false;
}

// True when the file goes on after a block as it should: then what looks like a header inside of
// it is data of a cell.
bool IsFollowed(FileWindow& window, const Block& block) {
  Block next;
  return block.end == window.size() || ReadBlock(window, block.end, next) ||
         IsBaseBlock(window, block.end);
}

// Offset 0 begins a hive anew. A block within the last one's length continues the run where offset
// and place go together.
bool Continues(const BlockRun& run, const Block& block) {
  if (block.own_offset == 0) return false;
  if (block.position == run.last.end) return true;
  const uint64_t distance = block.position - run.last.position;
  return block.position < run.end && block.own_offset == run.last.own_offset + distance;
}

// A base block right before the first block belongs to the run, unless the run before it reaches
// over that place.
BlockRun BeginRun(FileWindow& window, const Block& block, const BlockRun* before) {
  BlockRun run{block.position, block.end, block};
  if (block.position < kBaseBlockSize) return run;
  const uint64_t base = block.position - kBaseBlockSize;
  const bool free = before == nullptr || base > before->last.position;
  if (free && IsBaseBlock(window, base)) run.start = base;
  return run;
}

// Places in the file: first byte, last byte, size in bytes.
// `end` is before the run's own where its last block's size reaches into the next run or beyond the
// file.
void AddRun(OutputList& list, const BlockRun& run, uint64_t end) {
  const uint64_t last = end - 1;
  const uint64_t size = end - run.start;
  AddListRow(list,
             {{HexAndDecimal(run.start), run.start},
              {HexAndDecimal(last), last},
              {HexAndDecimal(size), size}},
             kNoOffset);
}

// A block whose size is not confirmed by what follows it is left after its header, so that a
// made-up size hides no blocks.
void AddRuns(FileWindow& window, OutputList& list) {
  BlockRun run;
  bool open = false;
  Block block;
  for (uint64_t at = 0; FindBlock(window, at, block);) {
    if (open && Continues(run, block)) {
      run.end = std::max(run.end, block.end);
      run.last = block;
    } else {
      const BlockRun next = BeginRun(window, block, open ? &run : nullptr);
      if (open) AddRun(list, run, std::min(run.end, next.start));
      run = next;
      open = true;
    }
    at = IsFollowed(window, block) ? block.end : block.position + kBinHeaderSize;
  }
  if (open) AddRun(list, run, std::min(run.end, window.size()));
}

}  // namespace

OutputListPtr ListBlockRuns(const std::string& file, UnreadBytes& unread) {
  int error = 0;
  std::FILE* stream = OpenFile(file, "rb", error);
  const int64_t size = stream == nullptr ? -1 : FileSize(stream);
  if (size < 0) {
    if (stream != nullptr) std::fclose(stream);
    return nullptr;
  }
  OutputListPtr list = MakeOutputList(kListPieces);
  SetListSource(*list, file);
  ShowStatus("Reading File ...");
  FileWindow window(stream, static_cast<uint64_t>(size));
  AddRuns(window, *list);
  std::fclose(stream);
  unread = window.unread();
  ShowStatus("");
  return list;
}

}  // namespace hivequarry
