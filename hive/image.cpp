#include "hive/image.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>

#include "hive/moved_bytes.h"
#include "hive/offset_map.h"
#include "hive/root_path.h"
#include "hive/text_copy.h"
#include "host/evidence.h"
#include "host/files.h"
#include "host/host.h"
#include "host/long_operation.h"
#include "records/bin_header.h"
#include "records/cell.h"

namespace hivequarry {
namespace {

constexpr uint32_t kRootName = 80;  // from the start of the root cell
constexpr uint32_t kReadChunk = 256 * 1024;
constexpr uint32_t kProgressLength = 28000900;  // smaller hives load without a progress bar

struct StreamCloser {
  void operator()(std::FILE* stream) const { std::fclose(stream); }
};
using Stream = std::unique_ptr<std::FILE, StreamCloser>;

void NoteCurrentFile(const std::string& file_name) {
  HiveTable& table = TheHiveTable();
  const size_t slash = file_name.find_last_of("/\\");
  table.current_folder = slash == std::string::npos ? std::string() : file_name.substr(0, slash);
  table.current_file = file_name;
}

void ReportCannotOpen(const std::string& file_name, int error) {
  const std::string text = "Can not open " + file_name + "\r\n(" + std::strerror(error) + ")";
  ShowMessage(text.c_str(), kProgramName, Icon::kInformation);
}

// Null after the message "Can not open %s\r\n(%s)".
Stream OpenHiveFile(const std::string& file_name) {
  NoteCurrentFile(file_name);
  int error = 0;
  Stream stream(OpenFile(file_name, "rb", error));
  if (stream == nullptr) ReportCannotOpen(file_name, error);
  return stream;
}

// Takes the partial range asked for and cuts it to the file. False: the whole file.
bool TakeRange(uint64_t file_size, uint32_t& start, uint32_t& length) {
  const HiveTable& table = TheHiveTable();
  if (table.end_offset <= table.start_offset) return false;
  const uint32_t wanted = table.end_offset - table.start_offset;
  if (wanted > file_size || table.start_offset >= file_size) return false;
  start = table.start_offset;
  length = static_cast<uint32_t>(std::min<uint64_t>(wanted, file_size - start));
  return true;
}

// Reads the hive into its buffer, showing progress for large ones. A file that turns out shorter
// than it was gives a shorter hive. False when the user stopped.
bool ReadIntoBuffer(HiveImage& hive, std::FILE* stream) {
  const Host& host = CurrentHost();
  const bool show_progress = hive.length > kProgressLength;
  const uint32_t percent = std::max(hive.length / 100, 1U);
  if (show_progress) host.progress_range(host.context, 100);
  uint32_t done = 0;
  for (uint32_t shown = 0; done < hive.length && !StopRequested();) {
    const uint32_t size = std::min(kReadChunk, hive.length - done);
    const size_t got = ReadFileBytes(stream, uint64_t{hive.base_offset} + done,
                                     hive.buffer.get() + done, size, &hive.unread);
    done += static_cast<uint32_t>(got);
    if (got < size) break;
    if (show_progress && done / percent > shown) {
      shown = done / percent;
      host.progress_position(host.context, shown);
    }
  }
  if (show_progress) host.progress_range(host.context, 0);
  if (StopRequested()) return false;
  hive.length = hive.file_bytes = done;
  std::memset(hive.buffer.get() + done, 0, kImageSlack);
  return true;
}

bool LoadImage(HiveImage& hive, std::FILE* stream) {
  hive.buffer = AllocateImage(hive.length);
  if (!hive.buffer) {
    ShowMessage("Could Not Allocate Memory", kProgramName, Icon::kStop);
    return false;
  }
  ShowStatus("Loading File ... ");
  if (!ReadIntoBuffer(hive, stream)) return false;
  if (hive.unread.count < hive.length || hive.length == 0) {
    ReportUnread(hive.file_name, hive.unread);
    return true;
  }
  ReportCannotOpen(hive.file_name, hive.unread.error);
  return false;
}

void SetBounds(HiveImage& hive) {
  hive.data_start = hive.header_valid ? kBaseBlockSize : 0;
  hive.data_base = hive.data_start;
  hive.data_base_proven = hive.header_valid;
  hive.root_position = hive.root_valid ? kFirstCellPosition : 0;
  hive.lower_bound = hive.root_position;
  hive.last_valid = hive.length < 8 ? 0 : hive.length - 8;
}

int CountMatches(const uint8_t* bytes, const char* expected, int count) {
  int matches = 0;
  for (int i = 0; i < count; ++i) matches += bytes[i] == static_cast<uint8_t>(expected[i]);
  return matches;
}

bool HasSignature(const HiveImage& hive) {
  uint8_t signature[4] = {};
  ReadBytes(hive, 0, signature, sizeof(signature));
  return IsBaseBlockSignature(signature);
}

// Leaves out the first bytes of a loaded image.
void DropFront(HiveImage& hive, uint32_t count) {
  std::memmove(hive.buffer.get(), hive.buffer.get() + count, hive.length - count);
  hive.length -= count;
  std::memset(hive.buffer.get() + hive.length, 0, count);
  std::vector<uint32_t>& returns = hive.places.returns;
  const auto kept = std::upper_bound(returns.begin(), returns.end(), count);
  const uint32_t bytes = count + static_cast<uint32_t>(kept - returns.begin());
  returns.erase(returns.begin(), kept);
  for (uint32_t& position : returns) position -= count;
  hive.base_offset += bytes;
  hive.file_bytes -= bytes;
}

// The step of a fragment's cells: that of its first block, else that at which most records start.
uint32_t StepOfFragment(const HiveImage& hive) {
  const std::vector<BinHeader> headers = FindBinHeaders(ImageBytes(hive));
  if (!headers.empty()) return headers.front().position % 8;
  std::array<uint32_t, 8> records{};
  for (uint32_t p = 0; InsideHive(hive, p, 8) && (p % 4096 != 0 || !StopRequested()); ++p) {
    const uint32_t size = LoadU32(hive.buffer.get() + p);
    if (!IsAllocated(size) || size % 8 != 0 || CellLength(size) > 65536) continue;
    records[p % 8] += IsRecordSignature(LoadU16(hive.buffer.get() + p + 4));
  }
  const auto most = std::max_element(records.begin(), records.end());
  return *most == 0 ? 0 : static_cast<uint32_t>(most - records.begin());
}

// Cells are on 8-byte steps counted from the start of a hive. A fragment may have been cut
// anywhere: bytes before the first step are left out.
void AlignFragment(HiveImage& hive) {
  const uint32_t step = StepOfFragment(hive);
  if (step == 0 || step > hive.length) return;
  DropFront(hive, step);
}

// A copy as text becomes the hive that it was; what stood in the file before that is left out.
void UndoTextCopy(HiveImage& hive) {
  const std::span<uint8_t> bytes(hive.buffer.get(), hive.length);
  hive.places.returns = ReturnsOfTextCopy(bytes);
  if (hive.places.returns.empty()) return;
  hive.length = TakeReturnsOut(bytes);
  const auto gone = static_cast<uint32_t>(hive.places.returns.size());
  std::memset(hive.buffer.get() + hive.length, 0, gone);
  hive.places.undone.push_back({MoveKind::kTextCopy, 0, gone, 0});
}

// Where the hive begins in an image that holds more, by its first block; 0 when it says nothing.
uint32_t StartInImage(const HiveImage& hive) {
  if (HasSignature(hive)) return 0;
  for (const BinHeader& bin : FindBinHeaders(ImageBytes(hive))) {
    const uint64_t from_zero = uint64_t{bin.own_offset} + kBaseBlockSize;
    return bin.position >= from_zero ? static_cast<uint32_t>(bin.position - from_zero) : 0;
  }
  return 0;
}

bool IsRootFlagsByte(uint8_t flags) {
  return flags == 0x2C || flags == 0xA0 || flags == 0xAC || flags == 0x60;
}

// The first eight bytes of a root key node: size, "nk", flags.
bool LooksLikeRootCell(const uint8_t (&cell)[8]) {
  const bool n = cell[4] == 'n';
  const bool k = cell[5] == 'k';
  const bool flags = cell[6] == 0x2C;
  const int score = (cell[0] == 0xA0 || cell[0] == 0xA8) + (cell[1] == 0xFF) + (cell[2] == 0xFF) +
                    (cell[3] == 0xFF) + n + k + flags + (cell[7] == 0);
  if (score >= 5) return true;
  return n && k && IsRootFlagsByte(cell[6]);
}

// The names that the system gives to root keys of fresh hives; a letter or two may be lost.
bool LooksLikeRootName(const uint8_t (&name)[12]) {
  return CountMatches(name, "$$$PROTO.HIV", 12) >= 10 ||
         CountMatches(name, "CMI-CreateHive", 12) >= 11;
}

// What an "hbin" at a file offset says of the hive's start.
bool StartFromBin(std::FILE* stream, uint32_t position, const uint8_t* header, uint32_t& start) {
  const uint32_t own_offset = LoadU32(header + 4);
  const uint32_t size = LoadU32(header + 8);
  const uint64_t from_zero = uint64_t{own_offset} + kBaseBlockSize;
  if (own_offset % 4096 == 0 && position == from_zero) {
    start = 0;
    return true;
  }
  if (size != 0 && size % 4096 == 0 && position >= from_zero) {
    start = position - static_cast<uint32_t>(from_zero);
    return true;
  }
  // A sound header that names a place further in belongs to the middle of a hive.
  if (own_offset != 0 && own_offset % 4096 == 0 && size != 0 && size % 4096 == 0) return false;
  HiveProbe probe;
  ProbeHiveStart(stream, position - kBaseBlockSize, probe);
  start = position - kBaseBlockSize;
  return probe.header_valid && probe.root_valid;
}

uint32_t ReadFileU32(std::FILE* stream, uint64_t file_offset) {
  uint8_t bytes[4] = {};
  ReadFileBytes(stream, file_offset, bytes, sizeof(bytes));
  return LoadU32(bytes);
}

// The part of the file to be opened.
struct FilePart {
  uint64_t file_size = 0;
  bool ranged = false;  // as the user or the search for the hive's start chose it
  bool text = false;    // may be a copy as text
  HiveProbe probe;
};

// A base block at the file's start to which the first block belongs: what is too much between them
// was put in.
bool BaseBlockAtZero(std::FILE* stream, uint32_t start) {
  constexpr uint32_t kMost = 1024 * 1024;
  uint8_t first[4] = {};
  uint8_t there[4] = {};
  ReadFileBytes(stream, 0, first, sizeof(first));
  ReadFileBytes(stream, start, there, sizeof(there));
  return start < kMost && LoadU32(first) == kHiveSignature && !IsBaseBlockSignature(there);
}

// False when the user stopped.
bool ChoosePart(HiveImage& hive, std::FILE* stream, FilePart& part) {
  HiveTable& table = TheHiveTable();
  uint32_t length = 0;
  part.ranged = TakeRange(part.file_size, hive.base_offset, length);
  const bool whole = !part.ranged && table.end_offset <= table.start_offset;
  const uint64_t looked_at = part.ranged ? length : part.file_size;
  part.text = MayBeTextCopy(stream, hive.base_offset, looked_at);
  if (whole && !part.text) {
    const HiveStart found = FindHiveStart(stream, part.file_size, hive.unread);
    if (found.stopped) return false;
    part.probe.header_valid = part.probe.root_valid = found.found;
    if (found.start != 0 && !BaseBlockAtZero(stream, found.start)) {
      table.start_offset = found.start;
      table.end_offset = static_cast<uint32_t>(std::min<uint64_t>(part.file_size, UINT32_MAX));
      part.ranged = TakeRange(part.file_size, hive.base_offset, length);
    }
  }
  hive.length = part.ranged ? length : static_cast<uint32_t>(part.file_size);
  return true;
}

// What the image itself confirms, where the file could not be asked.
void ProbeImage(const HiveImage& hive, HiveProbe& probe) {
  uint8_t cell[8] = {};
  uint8_t name[12] = {};
  ReadBytes(hive, kFirstCellPosition, cell, sizeof(cell));
  ReadBytes(hive, kFirstCellPosition + kRootName, name, sizeof(name));
  probe.root_valid = LooksLikeRootCell(cell) || LooksLikeRootName(name);
  probe.header_valid = probe.root_valid || HasSignature(hive);
}

// Bounds, and where offsets lead: bytes that were moved are put back.
void SetPlaces(HiveImage& hive) {
  SetBounds(hive);
  if (!FindDataBase(hive) && !HasSignature(hive)) {
    // Any key in the right place looks like a root, but the bins deny that a base block precedes.
    hive.header_valid = hive.root_valid = false;
  }
  if (!hive.header_valid) {
    AlignFragment(hive);
    SetBounds(hive);
    FindDataBase(hive);
  }
  hive.held = hive.length;
  if (hive.data_base_proven) {
    if (IsInOrder(hive)) return;  // as nearly all are: no more to be put back or mapped
    UndoMoves(hive);
  }
  MapOffsets(hive);
}

// The part of opening that can fail; the caller frees the slot on false.
bool OpenIntoSlot(HiveImage& hive, const std::string& file_name) {
  Stream stream = OpenHiveFile(file_name);
  if (stream == nullptr) return false;
  const int64_t measured = FileSize(stream.get());
  FilePart part;
  part.file_size = measured < 0 ? 0 : static_cast<uint64_t>(measured);
  if (!ChoosePart(hive, stream.get(), part)) return false;
  if (!part.ranged && part.file_size > kLongestImage) {
    ShowMessage("Could Not Allocate Memory", kProgramName, Icon::kStop);
    return false;
  }
  const Host& host = CurrentHost();
  host.hive_title(host.context, file_name);
  CutUnread(hive.unread, hive.base_offset);  // what follows is read once more
  if (!LoadImage(hive, stream.get())) return false;
  if (part.text) UndoTextCopy(hive);
  if (!hive.places.returns.empty()) {
    if (const uint32_t start = StartInImage(hive); start != 0) DropFront(hive, start);
    ProbeImage(hive, part.probe);
  } else if (!part.probe.header_valid) {
    ProbeHiveStart(stream.get(), hive.base_offset, part.probe);
  }
  stream.reset();
  hive.header_valid = part.probe.header_valid;
  hive.root_valid = part.probe.root_valid;
  SetPlaces(hive);
  return true;
}

}  // namespace

void ResetHiveTable() {
  HiveTable& table = TheHiveTable();
  for (int slot = 0; slot < kSlotCount; ++slot) FreeHiveSlot(slot);
  table.start_offset = table.end_offset = 0;
  table.current = 0;
}

int AllocateHiveSlot(uint32_t kind) {
  HiveTable& table = TheHiveTable();
  for (int slot = 1; slot < kSlotCount; ++slot) {
    HiveImage& hive = table.slots[static_cast<size_t>(slot)];
    if (hive.state != SlotState::kFree) continue;
    hive = HiveImage();
    hive.state = SlotState::kTaken;
    hive.kind = kind;
    hive.slot = slot;
    return slot;
  }
  ShowMessage("Too many files opened !", kProgramName, Icon::kExclamation);
  return -1;
}

void FreeHiveSlot(int slot) {
  HiveImage& hive = TheHiveTable().slots[static_cast<size_t>(slot)];
  ReleaseEvidence(hive.file_name);
  hive = HiveImage();
}

namespace {

// What an opening under way holds: unless it is kept, it is given back, however the opening ends.
struct Opening {
  explicit Opening(int taken) : slot(taken) {
    CurrentHost().wait_cursor(CurrentHost().context, true);
  }
  ~Opening() {
    TheHiveTable().start_offset = TheHiveTable().end_offset = 0;  // a range serves one opening
    CurrentHost().wait_cursor(CurrentHost().context, false);
    if (!kept) FreeHiveSlot(slot);
  }
  Opening(const Opening&) = delete;
  Opening& operator=(const Opening&) = delete;

  int slot;
  bool kept = false;
};

}  // namespace

int OpenHive(const std::string& file_name) {
  const int slot = AllocateHiveSlot(kBrowseSlot);
  if (slot < 0) return -1;
  HiveTable& table = TheHiveTable();
  HiveImage& hive = table.slots[static_cast<size_t>(slot)];
  Opening opening(slot);
  hive.file_name = file_name;
  KeepEvidence(file_name);
  opening.kept = OpenIntoSlot(hive, file_name);
  if (!opening.kept) return -1;
  table.current = slot;
  ShowStatus(file_name.c_str());
  SetDefaultRoot(file_name);
  return slot;
}

bool ValidateHiveFile(HiveImage& hive) {
  const Stream opened = OpenHiveFile(hive.file_name);
  std::FILE* const stream = opened.get();
  if (stream == nullptr) return false;
  const uint32_t signature = ReadFileU32(stream, 0);
  if (signature != kHiveSignature && signature != kSnapshotSignature) {
    ShowMessage("Invalid File format !", "Error", Icon::kExclamation);
    RequestStop();
    return false;
  }
  const int64_t file_size = FileSize(stream);
  hive.last_valid = file_size < 8 ? 0 : static_cast<uint32_t>(file_size - 8);
  const uint64_t root = uint64_t{ReadFileU32(stream, kBaseRootOffset)} + hive.data_start;
  const bool inside = root <= static_cast<uint64_t>(std::max<int64_t>(file_size, 0));
  hive.root_position = inside ? static_cast<uint32_t>(root) : hive.lower_bound;
  return true;
}

HiveStart FindHiveStart(std::FILE* stream, uint64_t file_size, UnreadBytes& unread) {
  constexpr uint64_t kProgressSize = 2201000;
  constexpr size_t kBlock = 64 * 1024;
  constexpr size_t kHeader = 12;  // bytes looked at from an "h" on
  HiveStart result;
  if (file_size < kBaseBlockSize) return result;
  const Host& host = CurrentHost();
  const bool show_progress = file_size >= kProgressSize;
  if (show_progress) {
    ShowStatus("Reading File ...");
    host.progress_range(host.context, 100);
  }
  std::vector<uint8_t> block(kBlock);
  const uint64_t end = std::min<uint64_t>(file_size - kBaseBlockSize + 1, UINT32_MAX);
  for (uint64_t at = kBaseBlockSize; at < end && !result.found;) {
    result.stopped = StopRequested();
    const size_t got = ReadFileBytes(stream, at, block.data(), block.size(), &unread);
    if (result.stopped || got <= kHeader) break;
    // Headers that begin in the last bytes of the block are met again at the start of the next.
    const size_t usable = got - kHeader;
    const uint8_t* const stop = block.data() + std::min<uint64_t>(usable, end - at);
    const uint8_t* h = block.data();
    while (h < stop && !result.found) {
      h = static_cast<const uint8_t*>(std::memchr(h, 'h', static_cast<size_t>(stop - h)));
      if (h == nullptr) break;
      const auto position = static_cast<uint32_t>(at + static_cast<uint64_t>(h - block.data()));
      if (LoadU32(h) == kBinSignature) {
        result.found = StartFromBin(stream, position, h, result.start);
      }
      ++h;
    }
    at += usable;
    if (show_progress) {
      host.progress_position(host.context, static_cast<uint32_t>(at * 100 / file_size));
    }
  }
  if (show_progress) host.progress_range(host.context, 0);
  if (!result.found) result.start = 0;
  return result;
}

void ProbeHiveStart(std::FILE* stream, uint32_t candidate, HiveProbe& probe) {
  uint8_t signature[4] = {};
  ReadFileBytes(stream, candidate, signature, sizeof(signature));
  if (IsBaseBlockSignature(signature)) probe.header_valid = true;
  uint8_t cell[8] = {};
  uint8_t name[12] = {};
  const uint64_t root = uint64_t{candidate} + kFirstCellPosition;
  ReadFileBytes(stream, root, cell, sizeof(cell));
  ReadFileBytes(stream, root + kRootName, name, sizeof(name));
  if (LooksLikeRootCell(cell) || LooksLikeRootName(name)) {
    probe.header_valid = probe.root_valid = true;
  }
}

HiveImage ImageOfBytes(ByteView bytes) {
  HiveImage hive;
  hive.buffer = AllocateImage(bytes.size());
  if (!hive.buffer) return hive;
  std::copy(bytes.begin(), bytes.end(), hive.buffer.get());
  std::memset(hive.buffer.get() + bytes.size(), 0, kImageSlack);
  hive.length = hive.held = hive.file_bytes = static_cast<uint32_t>(bytes.size());
  SetBounds(hive);
  return hive;
}

uint32_t ReadHeldBytes(const HiveImage& hive, uint32_t position, uint8_t* out, uint32_t size) {
  return ReadBytes(ByteView(hive.buffer.get(), hive.held), position, out, size);
}

}  // namespace hivequarry
