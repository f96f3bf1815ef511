#include "host/file_reading.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "host/files.h"
#include "host/long_operation.h"
#include "host/number_text.h"

namespace hivequarry {
namespace {

constexpr size_t kSector = 512;  // what media lose at once, at least

// Returns how many bytes came. `error` is 0 at the file's end, else errno's number; EIO where the
// platform failed without giving one.
size_t ReadStream(std::FILE* stream, uint64_t position, uint8_t* out, size_t size, int& error) {
  errno = 0;
  std::clearerr(stream);
  const size_t got = SeekFile(stream, position) ? std::fread(out, 1, size, stream) : 0;
  const bool failed = got < size && (std::ferror(stream) != 0 || std::feof(stream) == 0);
  error = !failed ? 0 : errno != 0 ? errno : EIO;
  return got;
}

// How much of the file there is from a position on, at most `most`.
size_t LeftOfFile(std::FILE* stream, uint64_t position, size_t most) {
  const int64_t size = FileSize(stream);
  if (size < 0) return most;  // the medium is beyond telling
  const uint64_t end = static_cast<uint64_t>(size);
  return position >= end ? 0 : static_cast<size_t>(std::min<uint64_t>(most, end - position));
}

}  // namespace

FileReader& TheFileReader() {
  static FileReader reader{ReadStream};
  return reader;
}

void AddUnread(UnreadBytes& unread, uint64_t position, uint64_t size) {
  const uint64_t start = std::max(position, unread.end);
  const uint64_t end = position + size;
  if (end <= start) return;
  const bool goes_on = !unread.ranges.empty() && start == unread.end &&
                       unread.ranges.back().position + unread.ranges.back().size == start;
  if (goes_on) {
    unread.ranges.back().size += end - start;
  } else if (unread.ranges.size() < UnreadBytes::kMostRanges) {
    unread.ranges.push_back({start, end - start});
  }
  unread.count += end - start;
  unread.end = end;
}

void AddUnread(UnreadBytes& unread, const UnreadBytes& later) {
  uint64_t listed = 0;
  for (const FileRange& range : later.ranges) {
    AddUnread(unread, range.position, range.size);
    listed += range.size;
  }
  unread.count += later.count - listed;
  unread.end = std::max(unread.end, later.end);
  if (unread.error == 0) unread.error = later.error;
}

void CutUnread(UnreadBytes& unread, uint64_t position) {
  UnreadBytes kept;
  kept.error = unread.error;
  for (const FileRange& range : unread.ranges) {
    if (range.position >= position) break;
    AddUnread(kept, range.position, std::min(range.size, position - range.position));
  }
  unread = kept;
}

size_t ReadFileBytes(std::FILE* stream, uint64_t position, uint8_t* out, size_t size,
                     UnreadBytes* unread) {
  if (stream == nullptr) return 0;
  size_t done = 0;
  for (size_t piece = size; done < size;) {
    const uint64_t at = position + done;
    const auto to_sector_end = static_cast<size_t>(kSector - at % kSector);
    const size_t wanted = std::min(piece <= kSector ? to_sector_end : piece, size - done);
    int error = 0;
    const size_t got = TheFileReader().read(stream, at, out + done, wanted, error);
    done += got;
    if (got == wanted) {
      piece = piece <= size / 2 ? 2 * piece : size;
      continue;
    }
    if (StopRequested()) break;
    if (got != 0) continue;  // whatever keeps the rest is met at its own place
    const size_t left = LeftOfFile(stream, at, wanted);
    if (left == 0) break;
    if (unread != nullptr && unread->error == 0) unread->error = error != 0 ? error : EIO;
    if (piece > kSector) {
      piece = std::max(piece / 8, kSector);
      continue;
    }
    std::memset(out + done, 0, left);
    if (unread != nullptr) AddUnread(*unread, at, left);
    done += left;
  }
  return done;
}

std::string UnreadRangesText(const UnreadBytes& unread, size_t most) {
  std::string text;
  for (size_t i = 0; i < unread.ranges.size() && i < most; ++i) {
    const FileRange& range = unread.ranges[i];
    text += Concat({i == 0 ? "" : ", ", "0x", Hex(range.position, 8), "-0x",
                    Hex(range.position + range.size - 1, 8)});
  }
  return unread.ranges.size() > most ? text + ", ..." : text;
}

}  // namespace hivequarry
