#include "lists/list_sink.h"

#include <cstring>

#include "host/host.h"
#include "host/long_operation.h"

namespace hivequarry {
namespace {

constexpr size_t kBufferSize = 64 * 1024;
constexpr uint32_t kStopInterval = 1024;

bool IsAscii(std::string_view text) {
  uint64_t seen = 0;
  size_t at = 0;
  for (; at + 8 <= text.size(); at += 8) {
    uint64_t eight = 0;
    std::memcpy(&eight, text.data() + at, 8);
    seen |= eight;
  }
  for (; at < text.size(); ++at) seen |= static_cast<uint8_t>(text[at]);
  return (seen & 0x8080808080808080) == 0;
}

}  // namespace

void FlushOutput(ListOutput& out) {
  if (!out.buffer.empty() && out.open) out.open = out.sink(out.buffer);
  out.buffer.clear();
}

bool WriteInPieces(ListOutput& out, uint32_t count,
                   const std::function<void(uint32_t)>& write_row) {
  for (uint32_t row = 0; row < count; ++row) {
    if (row % kStopInterval == 0 && StopRequested()) return false;
    write_row(row);
    if (out.buffer.size() >= kBufferSize) FlushOutput(out);
    if (!out.open) return false;
  }
  FlushOutput(out);
  return out.open;
}

ListShape ShapeOf(const OutputList& list) {
  ListShape shape = {list, ColumnCount(list), RowCount(list), {}};
  const ListKindInfo& kind = FindListKind(ListKindOf(list));
  for (int column = 0; column < shape.columns; ++column) {
    shape.holds[static_cast<size_t>(column)] = HoldsOf(kind, column);
  }
  return shape;
}

std::string_view Utf8OfListText(std::string_view text, std::string& scratch) {
  return CellUtf8(text, false, scratch);
}

std::string_view CellUtf8(std::string_view text, bool is_utf8, std::string& scratch) {
  if (IsAscii(text)) return text;
  // The way through UTF-16 replaces what is no UTF-8.
  scratch = is_utf8 ? Utf8FromWide(WideFromUtf8(text)) : Utf8FromNarrow(text);
  return scratch;
}

std::string_view CellNarrow(const ListShape& shape, int column, std::string_view text,
                            std::string& scratch) {
  if (!IsUtf8(shape, column) || IsAscii(text)) return text;
  scratch = NarrowText(WideFromUtf8(text));
  return scratch;
}

}  // namespace hivequarry
