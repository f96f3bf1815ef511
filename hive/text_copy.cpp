#include "hive/text_copy.h"

#include <algorithm>
#include <cstring>

#include "hive/image.h"
#include "host/long_operation.h"
#include "records/bin_header.h"

namespace hivequarry {
namespace {

using Bytes = std::span<const uint8_t>;

// A copy as text puts the first before each of the second.
constexpr uint8_t kReturn = 0x0D;
constexpr uint8_t kFeed = 0x0A;
// So many 0As after a 0D are none by chance, whatever the file's length.
constexpr size_t kManyFeeds = 16;

// Blocks that follow each other by their sizes, from the first one on.
size_t BlocksInLine(Bytes bytes) {
  const std::vector<BinHeader> headers = FindBinHeaders(bytes);
  size_t in_line = 0;
  for (size_t i = 0; i < headers.size(); ++i) {
    const bool begins = i == 0 || headers[i].Distance() == headers[i - 1].Distance();
    in_line += begins && headers[i].position % kPageSize == headers[0].position % kPageSize;
  }
  return in_line;
}

}  // namespace

bool MayBeTextCopy(std::FILE* stream, uint64_t start, uint64_t length) {
  constexpr size_t kBlock = 64 * 1024;
  std::vector<uint8_t> block(std::min<uint64_t>(kBlock, length));
  bool any = false;
  uint8_t before = 0;
  for (uint64_t done = 0; done < length;) {
    const size_t wanted = static_cast<size_t>(std::min<uint64_t>(block.size(), length - done));
    const size_t got = ReadFileBytes(stream, start + done, block.data(), wanted);
    const uint8_t* const end = block.data() + got;
    for (const uint8_t* at = block.data();; ++at) {
      at = static_cast<const uint8_t*>(std::memchr(at, kFeed, static_cast<size_t>(end - at)));
      if (at == nullptr) break;
      if ((at == block.data() ? before : at[-1]) != kReturn) return false;
      any = true;
    }
    if (got < wanted || got == 0 || StopRequested()) break;
    before = end[-1];
    done += got;
  }
  return any;
}

std::vector<uint32_t> ReturnsOfTextCopy(Bytes bytes) {
  std::vector<uint32_t> returns;
  for (size_t i = 0; i < bytes.size(); ++i) {
    if (bytes[i] != kFeed) continue;
    if (i == 0 || bytes[i - 1] != kReturn) return {};
    returns.push_back(static_cast<uint32_t>(i - returns.size() - 1));
  }
  if (returns.empty()) return {};
  // The hive's length is one of whole pages, the copy's is not, or its blocks come into line.
  const size_t left = bytes.size() - returns.size();
  const bool pages = left % kPageSize == 0 && bytes.size() % kPageSize != 0;
  if (pages && returns.size() >= kManyFeeds) return returns;
  std::vector<uint8_t> undone(bytes.begin(), bytes.end());
  undone.resize(RemoveReturns(undone));
  const size_t before = BlocksInLine(bytes);
  const size_t after = BlocksInLine(undone);
  const bool better = after > before || (after == before && pages);
  return better ? returns : std::vector<uint32_t>();
}

uint32_t RemoveReturns(std::span<uint8_t> bytes) {
  size_t to = 0;
  for (size_t i = 0; i < bytes.size(); ++i) {
    if (bytes[i] == kFeed && i > 0 && bytes[i - 1] == kReturn) --to;
    bytes[to++] = bytes[i];
  }
  return static_cast<uint32_t>(to);
}

}  // namespace hivequarry
