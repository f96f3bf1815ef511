#include "hive/placing.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <span>
#include <vector>

#include "hive/moved_bytes.h"
#include "hive/offset_map.h"
#include "hive/text_copy.h"
#include "host/long_operation.h"
#include "records/cell.h"

namespace hivequarry {
namespace {

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

// Where the hive begins in an image that holds more, by its first block; 0 when it says nothing.
uint32_t StartInImage(const HiveImage& hive) {
  if (BeginsAsBaseBlock(hive)) return 0;
  for (const BinHeader& bin : FindBinHeaders(ImageBytes(hive))) {
    const uint64_t from_zero = uint64_t{bin.own_offset} + kBaseBlockSize;
    return bin.position >= from_zero ? static_cast<uint32_t>(bin.position - from_zero) : 0;
  }
  return 0;
}

}  // namespace

bool UndoTextCopy(HiveImage& hive, HiveProbe& probe) {
  const std::span<uint8_t> bytes(hive.buffer.get(), hive.length);
  hive.places.returns = ReturnsOfTextCopy(bytes);
  if (hive.places.returns.empty()) return false;
  hive.length = RemoveReturns(bytes);
  const auto gone = static_cast<uint32_t>(hive.places.returns.size());
  std::memset(hive.buffer.get() + hive.length, 0, gone);
  hive.places.undone.push_back({MoveKind::kTextCopy, 0, gone, 0});
  if (const uint32_t start = StartInImage(hive); start != 0) DropFront(hive, start);
  probe = ProbeImage(hive);
  return true;
}

void SetPlaces(HiveImage& hive, const HiveProbe& probe) {
  hive.header_valid = probe.header_valid;
  hive.root_valid = probe.root_valid;
  SetBounds(hive);
  if (!FindDataBase(hive) && !BeginsAsBaseBlock(hive)) {
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

}  // namespace hivequarry
