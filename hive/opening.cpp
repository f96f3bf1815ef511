#include "hive/opening.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <optional>

#include "hive/placing.h"
#include "hive/replaying.h"
#include "hive/root_path.h"
#include "hive/text_copy.h"
#include "host/evidence.h"
#include "host/files.h"
#include "host/host.h"
#include "host/long_operation.h"
#include "host/side_work.h"

namespace hivequarry {
namespace {

constexpr uint32_t kReadChunk = 256 * 1024;
constexpr uint32_t kProgressLength = 28000900;  // smaller hives load without a progress bar

void NoteCurrentFile(const std::string& file_name) {
  HiveTable& table = TheHiveTable();
  const size_t slash = file_name.find_last_of("/\\");
  table.current_folder = slash == std::string::npos ? std::string() : file_name.substr(0, slash);
  table.current_file = file_name;
}

// Null when it can't be opened.
FileStream OpenHiveFile(const std::string& file_name, OpenFailure& failure) {
  NoteCurrentFile(file_name);
  FileStream stream(OpenFile(file_name, "rb", failure.error));
  if (stream == nullptr) failure.fault = OpenFault::kCannotOpen;
  return stream;
}

// The partial range that was asked for, cut to the file. False: the whole file.
// A range that is longer than the file, or begins after its end, is not taken at all: it was meant
// for another file.
bool ChooseRange(uint64_t file_size, uint32_t& start, uint32_t& length) {
  const HiveTable& table = TheHiveTable();
  if (table.end_offset <= table.start_offset) return false;
  const uint32_t wanted = table.end_offset - table.start_offset;
  if (wanted > file_size || table.start_offset >= file_size) return false;
  start = table.start_offset;
  length = static_cast<uint32_t>(std::min<uint64_t>(wanted, file_size - start));
  return true;
}

// A stretch of the hive that is read into its place in the buffer.
struct ReadStretch {
  uint32_t begin = 0;  // positions, [begin, end)
  uint32_t end = 0;
  uint32_t done = 0;  // after the last byte that came
  UnreadBytes unread = {};
};

// Ends early where the file does, and when the user stops. `show` gets each position.
template <typename Show>
void ReadPart(const HiveImage& hive, std::FILE* stream, ReadStretch& part, const Show& show) {
  part.done = part.begin;
  while (part.done < part.end && !StopRequested()) {
    const uint32_t size = std::min(kReadChunk, part.end - part.done);
    const size_t got = ReadFileBytes(stream, uint64_t{hive.base_offset} + part.done,
                                     hive.buffer.get() + part.done, size, &part.unread);
    part.done += static_cast<uint32_t>(got);
    if (got < size) break;
    show(part.done);
  }
}

// Large hives are read in two halves side by side, each through a stream of its own: half of the
// time goes to memory that is touched for the first time. Without a second stream there is one.
FileStream SecondStream(const HiveImage& hive) {
  int error = 0;
  if (!IsWorthSideWork(hive.length)) return nullptr;
  return FileStream(OpenFile(hive.file_name, "rb", error));
}

// Reads the hive into its buffer, showing progress for large ones. A file that turns out shorter
// than it was gives a shorter hive. False when the user stopped.
bool ReadIntoBuffer(HiveImage& hive, std::FILE* stream) {
  const Host& host = CurrentHost();
  const bool show_progress = hive.length > kProgressLength;
  const FileStream second = SecondStream(hive);
  const uint32_t half = second == nullptr ? hive.length : hive.length / 2 / kReadChunk * kReadChunk;
  const uint32_t percent = std::max(half / 100, 1U);
  if (show_progress) host.progress_range(host.context, 100);
  ReadStretch first{0, half};
  ReadStretch other{half, hive.length};
  {
    std::optional<SideWork> beside;
    if (second != nullptr) {
      beside.emplace([&] { ReadPart(hive, second.get(), other, [](uint32_t) {}); });
    }
    uint32_t shown = 0;
    ReadPart(hive, stream, first, [&](uint32_t done) {
      if (!show_progress || done / percent <= shown) return;
      shown = done / percent;
      host.progress_position(host.context, shown);
    });
  }
  if (show_progress) host.progress_range(host.context, 0);
  if (StopRequested()) return false;
  AddUnread(hive.unread, first.unread);
  const bool went_on = second != nullptr && first.done == half;
  if (went_on) AddUnread(hive.unread, other.unread);
  const uint32_t done = went_on ? other.done : first.done;
  hive.length = hive.file_bytes = done;
  std::memset(hive.buffer.get() + done, 0, kImageSlack);
  return true;
}

// A medium that gave nothing at all is a failure with its error; one that gave a part is a hive
// with gaps.
OpenFailure LoadImage(HiveImage& hive, std::FILE* stream) {
  hive.buffer = AllocateImage(hive.length);
  if (!hive.buffer) return {OpenFault::kNoMemory};
  ShowStatus("Loading File ... ");
  if (!ReadIntoBuffer(hive, stream)) return {OpenFault::kStopped};
  if (hive.unread.count != 0 && hive.unread.count >= hive.length && hive.length != 0) {
    return {OpenFault::kCannotOpen, hive.unread.error};
  }
  return {};
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
  // What was put in between is short; after more than that the base block belongs to something
  // else.
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
  part.ranged = ChooseRange(part.file_size, hive.base_offset, length);
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
      part.ranged = ChooseRange(part.file_size, hive.base_offset, length);
    }
  }
  // A file of more than 4 GiB is refused by the caller, before this number is used.
  hive.length = part.ranged ? length : static_cast<uint32_t>(part.file_size);
  return true;
}

// The part of opening that can fail; the caller frees the slot then.
// The file is closed before logs are read: nothing needs it any more.
OpenFailure OpenIntoSlot(HiveImage& hive, const std::string& file_name) {
  OpenFailure failure;
  FileStream stream = OpenHiveFile(file_name, failure);
  if (stream == nullptr) return failure;
  const int64_t measured = FileSize(stream.get());
  FilePart part;
  part.file_size = measured < 0 ? 0 : static_cast<uint64_t>(measured);
  if (!ChoosePart(hive, stream.get(), part)) return {OpenFault::kStopped};
  if (!part.ranged && part.file_size > kLongestImage) return {OpenFault::kNoMemory};
  const Host& host = CurrentHost();
  host.hive_title(host.context, file_name);
  CutUnread(hive.unread, hive.base_offset);  // what follows is read once more
  failure = LoadImage(hive, stream.get());
  if (failure.fault != OpenFault::kNone) return failure;
  const bool undone = part.text && UndoTextCopy(hive, part.probe);
  if (!undone && !part.probe.header_valid) {
    ProbeHiveStart(stream.get(), hive.base_offset, part.probe);
  }
  stream.reset();
  const bool whole = !part.ranged && !undone && hive.base_offset == 0;
  ReplayAndPlace(hive, TheHiveTable().logs, whole, part.probe);
  if (StopRequested()) return {OpenFault::kStopped};  // of logs a part was read
  return {};
}

// What an opening under way holds: unless it is kept, it is given back, however the opening ends.
struct Opening {
  explicit Opening(int taken) : slot(taken) {
    CurrentHost().wait_cursor(CurrentHost().context, true);
  }
  ~Opening() {
    TheHiveTable().start_offset = TheHiveTable().end_offset = 0;  // a range serves one opening
    TheHiveTable().logs = LogChoice();                            // and so does a choice of logs
    CurrentHost().wait_cursor(CurrentHost().context, false);
    if (!kept) FreeHiveSlot(slot);
  }
  Opening(const Opening&) = delete;
  Opening& operator=(const Opening&) = delete;

  int slot;
  bool kept = false;
};

}  // namespace

int OpenHive(const std::string& file_name, OpenFailure& failure) {
  failure = OpenFailure();
  const int slot = AllocateHiveSlot();
  if (slot < 0) {
    failure.fault = OpenFault::kTableFull;
    return -1;
  }
  HiveImage& hive = HiveOfSlot(slot);
  Opening opening(slot);
  hive.file_name = file_name;
  KeepEvidence(file_name);
  failure = OpenIntoSlot(hive, file_name);
  opening.kept = failure.fault == OpenFault::kNone;
  if (!opening.kept) return -1;
  TheHiveTable().current = slot;
  ShowStatus(file_name.c_str());
  SetDefaultRoot(file_name);
  return slot;
}

int OpenHive(const std::string& file_name) {
  OpenFailure failure;
  return OpenHive(file_name, failure);
}

bool ValidateHiveFile(HiveImage& hive, OpenFailure& failure) {
  failure = OpenFailure();
  const FileStream opened = OpenHiveFile(hive.file_name, failure);
  std::FILE* const stream = opened.get();
  if (stream == nullptr) return false;
  const uint32_t signature = ReadFileU32(stream, 0);
  if (signature != kHiveSignature && signature != kSnapshotSignature) {
    failure.fault = OpenFault::kNoHive;
    return false;
  }
  const int64_t file_size = FileSize(stream);
  hive.last_valid = file_size < 8 ? 0 : static_cast<uint32_t>(file_size - 8);
  const uint64_t root = uint64_t{ReadFileU32(stream, kBaseRootOffset)} + hive.data_start;
  const bool inside = root <= static_cast<uint64_t>(std::max<int64_t>(file_size, 0));
  hive.root_position = inside ? static_cast<uint32_t>(root) : hive.lower_bound;
  return true;
}

}  // namespace hivequarry
