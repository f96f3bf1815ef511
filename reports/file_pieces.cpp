// Cutting a file into the pieces that a list names.

#include "reports/file_pieces.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <system_error>
#include <vector>

#include "host/file_reading.h"
#include "host/files.h"
#include "host/host.h"
#include "host/long_operation.h"
#include "host/number_text.h"
#include "host/output_file.h"

namespace hivequarry {
namespace {

constexpr int kSeries = 100;
constexpr uint64_t kCopyBlock = 64 * 1024;
constexpr int kFileColumn = 3;

struct Range {
  uint64_t first = 0;
  uint64_t last = 0;  // of its bytes, itself one of them
};

// Where the pieces' names begin.
std::string PieceStem(const std::string& source, const std::string& folder) {
  if (folder.empty()) return source;
  const bool closed = folder.back() == '/' || folder.back() == '\\';
  return folder + (closed ? "" : "/") + LeafOf(FilePath(source));
}

std::string PieceName(const std::string& stem, int series, uint32_t number) {
  const std::string series_text = series == 0 ? "" : std::to_string(series);
  return Concat({stem, ".sp", series_text, "_", Decimal(number, 2)});
}

// A name that can't be looked at counts as taken.
bool IsTaken(const std::string& name) {
  std::error_code error;
  const std::filesystem::file_status status =
      std::filesystem::symlink_status(FilePath(name), error);
  return status.type() != std::filesystem::file_type::not_found;
}

// The first series of names of which none is taken; kSeries when there is none left.
// It only looks: a file of that name that appears later ends the run when its piece is to be made,
// as pieces are made new or not at all.
int FreeSeries(const std::string& stem, uint32_t rows) {
  for (int series = 0; series < kSeries; ++series) {
    uint32_t number = 1;
    while (number <= rows && !IsTaken(PieceName(stem, series, number))) ++number;
    if (number > rows) return series;
  }
  return kSeries;
}

bool ParsePosition(std::string_view text, uint64_t& position) {
  const size_t open = text.find('(');
  if (open == std::string_view::npos) return false;
  const char* end = text.data() + text.size();
  const auto [last, error] = std::from_chars(text.data() + open + 1, end, position);
  return error == std::errc() && last != end && *last == ')';
}

// The rows of a Report List have texts alone.
bool PositionOfCell(const OutputList& list, uint32_t row, int column, uint64_t& position) {
  position = CellValue(list, row, column);
  return position != kNoValue || ParsePosition(CellText(list, row, column), position);
}

// False for a row that does not say what to copy, or says what can't be.
// A last byte one behind the file's end is let pass; CopyRange ends with the file.
bool RangeOfRow(const OutputList& list, uint32_t row, uint64_t file_size, Range& range) {
  return PositionOfCell(list, row, 0, range.first) && PositionOfCell(list, row, 1, range.last) &&
         range.last >= range.first && range.last <= file_size;
}

// True when every byte of the range that the file has was written, those in `unread` as zeros.
bool CopyRange(std::FILE* source, const Range& range, uint64_t file_size, OutputFile& piece,
               UnreadBytes& unread) {
  std::vector<uint8_t> block(kCopyBlock);
  const uint64_t end = std::min(range.last + 1, file_size);
  for (uint64_t at = range.first; at < end;) {
    if (StopRequested()) return false;
    const auto size = static_cast<size_t>(std::min(kCopyBlock, end - at));
    const size_t got = ReadFileBytes(source, at, block.data(), size, &unread);
    const std::string_view bytes(reinterpret_cast<const char*>(block.data()), got);
    if (!WriteOutput(piece, bytes) || got < size) return false;
    at += got;
  }
  return true;
}

// The pieces of a run under way.
struct Split {
  OutputList& list;
  std::FILE* source;
  uint64_t size;  // of the source
  std::string stem;
  int series;
  SplitResult result = {};
};

// What became of one piece's file.
enum class PieceResult {
  kWhole,
  kHoles,    // what could not be read is zeros
  kNotKept,  // not all of it could be written
  kNoFile,
};

// A piece that could not be written whole is not left behind (OutputGuard). Bytes that the medium
// did not give are zeros in it, and the result says so.
PieceResult WritePiece(Split& split, uint32_t row, const Range& range) {
  const std::string name = PieceName(split.stem, split.series, row + 1);
  int error = 0;
  OutputFile piece;
  if (!OpenOutput(name, OutputMode::kNew, piece, error)) {
    split.result.fault = SplitFault::kCannotCreate;
    split.result.file = name;
    return PieceResult::kNoFile;
  }
  const OutputGuard guard(piece);
  UnreadBytes unread;
  const bool copied = CopyRange(split.source, range, split.size, piece, unread);
  if (!CloseOutput(piece, copied)) return PieceResult::kNotKept;
  ReplaceCell(split.list, row, kFileColumn, name);
  return unread.count == 0 ? PieceResult::kWhole : PieceResult::kHoles;
}

// A file that cannot be made ends the work, one that could not be finished does not: the next range
// may be readable.
void WritePieces(Split& split) {
  const Host& host = CurrentHost();
  const uint32_t rows = RowCount(split.list);
  bool written = false;
  bool sound = true;
  host.progress_range(host.context, rows);
  for (uint32_t row = 0; row < rows && !StopRequested(); ++row) {
    Range range;
    if (!RangeOfRow(split.list, row, split.size, range)) break;
    const PieceResult result = WritePiece(split, row, range);
    sound = sound && result == PieceResult::kWhole;
    if (result == PieceResult::kNoFile) break;
    written = written || result != PieceResult::kNotKept;
    host.progress_position(host.context, row + 1);
  }
  host.progress_range(host.context, 0);
  if (split.result.fault == SplitFault::kNone && !StopRequested()) ShowStatus("Done.");
  split.result.whole = written && sound;
}

}  // namespace

SplitResult SplitFile(OutputList& list, const std::string& folder) {
  const std::string& source = ListSource(list);
  const uint32_t rows = RowCount(list);
  if (source.empty() || rows == 0) return {};
  int error = 0;
  const FileStream stream(OpenFile(source, "rb", error));
  const int64_t size = stream == nullptr ? -1 : FileSize(stream.get());
  if (size < 0) return {.fault = SplitFault::kCannotOpen};
  const std::string stem = PieceStem(source, folder);
  const int series = FreeSeries(stem, rows);
  if (series == kSeries) return {.fault = SplitFault::kNoName};
  Split split{list, stream.get(), static_cast<uint64_t>(size), stem, series};
  WritePieces(split);
  return split.result;
}

}  // namespace hivequarry
