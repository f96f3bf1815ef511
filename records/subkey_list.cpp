#include "records/subkey_list.h"

#include "records/cell.h"

namespace hivequarry {

ListKind ListKindOfSignature(uint16_t signature) {
  switch (signature) {
    case kSignatureLf:
      return ListKind::kLf;
    case kSignatureLh:
      return ListKind::kLh;
    case kSignatureLi:
      return ListKind::kLi;
    case kSignatureRi:
      return ListKind::kRi;
    default:
      return ListKind::kNone;
  }
}

uint32_t ListEntrySize(ListKind kind) {
  return kind == ListKind::kLf || kind == ListKind::kLh ? 8 : 4;
}

ListRoom RoomOfList(ByteView image, uint32_t list, uint32_t size) {
  const uint32_t raw = ReadU32(image, list);
  const uint32_t length = CellLength(raw);
  const bool credible =
      IsAllocated(raw) && length % 8 == 0 && length >= 16 && IsInside(image, list, length);
  const uint32_t left = list < image.size() ? static_cast<uint32_t>(image.size()) - list : 0;
  const uint32_t bytes = credible ? length : left;
  return {bytes < kListEntries ? 0 : (bytes - kListEntries) / size, credible};
}

}  // namespace hivequarry
