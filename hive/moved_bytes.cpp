#include "hive/moved_bytes.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "hive/byte_shifts.h"
#include "hive/file_place.h"
#include "hive/moved_pages.h"
#include "host/long_operation.h"
#include "records/bin_header.h"
#include "records/cell.h"

namespace hivequarry {
namespace {

// --- putting an image together again

// A stretch of the new image.
struct Part {
  PieceKind kind = PieceKind::kOwn;
  uint32_t from = 0;    // of the old image; for lost bytes where they are missing
  uint32_t length = 0;  // bytes
};

// The pieces of the new image, those of the old one followed to the file.
std::vector<ImagePiece> PiecesOf(const HiveImage& hive, const std::vector<Part>& parts) {
  const std::vector<ImagePiece>& old = hive.places.pieces;
  std::vector<ImagePiece> pieces;
  uint32_t position = 0;
  for (const Part& part : parts) {
    uint32_t from = part.from;
    const uint32_t end = part.from + part.length;
    if (old.empty() || part.kind == PieceKind::kMissing) {
      const uint32_t place = old.empty() ? from : PlaceOfImage(hive, from);
      pieces.push_back({position, place, part.kind});
      from = end;
    }
    // Where the old image had gaps there still are some.
    while (from < end) {
      const auto after = std::upper_bound(
          old.begin(), old.end(), from,
          [](uint32_t wanted, const ImagePiece& piece) { return wanted < piece.position; });
      const ImagePiece& piece = *std::prev(after);
      const uint32_t stop = after == old.end() ? end : std::min(end, after->position);
      const bool there = piece.kind == PieceKind::kOwn || piece.kind == PieceKind::kSpare;
      pieces.push_back({position + (from - part.from), PlaceOfImage(hive, from),
                        there ? part.kind : piece.kind});
      from = stop;
    }
    position += part.length;
  }
  return pieces;
}

// Copies in strides between which a stop is heard; false then. First touches of large memory take
// longer than the copy itself.
bool FillPart(const HiveImage& hive, const Part& part, uint8_t* to) {
  constexpr uint32_t kStride = 4 * 1024 * 1024;
  const bool bytes = part.kind == PieceKind::kOwn || part.kind == PieceKind::kSpare;
  for (uint32_t done = 0; done < part.length; done += kStride) {
    const uint32_t size = std::min(kStride, part.length - done);
    if (size == kStride && StopRequested()) return false;
    if (bytes) {
      std::memcpy(to + done, hive.buffer.get() + part.from + done, size);
    } else {
      std::memset(to + done, 0, size);
    }
  }
  return true;
}

// Builds the image of `parts`; false, and the image is as it was, when there is no memory for it or
// the user stopped.
bool Rebuild(HiveImage& hive, const std::vector<Part>& parts) {
  constexpr size_t kPollEach = 1024;  // parts; most are single pages
  uint64_t length = 0;
  for (const Part& part : parts) length += part.length;
  ImageMemory buffer = AllocateImage(length);
  if (!buffer) return false;
  uint8_t* to = buffer.get();
  for (size_t i = 0; i < parts.size(); ++i) {
    const bool stopped = i % kPollEach == 0 && StopRequested();
    if (stopped || !FillPart(hive, parts[i], to)) return false;
    to += parts[i].length;
  }
  std::memset(to, 0, kImageSlack);
  SetPieces(hive, PiecesOf(hive, parts));
  hive.buffer = std::move(buffer);
  hive.length = hive.held = static_cast<uint32_t>(length);
  return true;
}

// `place` and `to` are in the file, `count` is of bytes.
void Note(HiveImage& hive, MoveKind kind, uint32_t place, uint32_t count, uint32_t to = 0) {
  std::vector<UndoneMove>& undone = hive.places.undone;
  if (!undone.empty() && kind != MoveKind::kPutIn && kind != MoveKind::kLost) {
    // Pages that follow each other are told of together.
    UndoneMove& last = undone.back();
    const bool goes_on =
        last.kind == kind && last.place + last.count == place && last.to + last.count == to;
    if (goes_on) {
      last.count += count;
      return;
    }
  }
  undone.push_back({kind, place, count, to});
}

// --- bytes put in and lost

// Zeros are made for as many lost bytes as the image has, and a few more.
uint64_t RoomForGaps(const HiveImage& hive) { return uint64_t{hive.length} + 4 * kLargestShift; }

// Bytes that the last blocks have not, by their own offsets and sizes, while so many were put in:
// they may be theirs.
uint32_t LackingPages(const HiveImage& hive, const std::vector<Part>& parts,
                      const std::vector<Part>& spares, uint32_t target, uint64_t length) {
  uint64_t put_in = 0;
  for (const Part& spare : spares) put_in += spare.length / kPageSize * kPageSize;
  if (put_in == 0 || parts.empty()) return 0;
  uint64_t end = length;
  const auto look = [&](const Part& part) {
    for (const BinHeader& bin : FindBinHeaders(ImageBytes(hive).subspan(part.from, part.length))) {
      const uint64_t position = uint64_t{bin.own_offset} + target;
      if (position <= end && position + bin.size <= length + put_in) {
        end = std::max(end, position + bin.size);
      }
    }
  };
  look(parts.back());
  for (const Part& spare : spares) look(spare);
  return static_cast<uint32_t>(end - length);
}

// Own stretches at the distance `target`, then what was put in.
std::vector<Part> PartsOfShifts(HiveImage& hive, const std::vector<KeptStretch>& kept,
                                uint32_t target, uint32_t& own_length) {
  std::vector<Part> parts;
  std::vector<Part> spares;
  const uint64_t room = RoomForGaps(hive);
  uint64_t gaps = 0;
  uint64_t at = 0;    // position in the new image
  uint32_t done = 0;  // of the old one
  bool own = true;
  for (const KeptStretch& stretch : kept) {
    const uint32_t wanted = stretch.begin - stretch.distance + target;
    if (stretch.begin > done) {
      spares.push_back({PieceKind::kSpare, done, stretch.begin - done});
      Note(hive, MoveKind::kPutIn, done, stretch.begin - done);
    }
    const uint64_t gap = wanted > at ? wanted - at : 0;
    own = own && gaps + gap <= room;
    if (!own) {
      spares.push_back({PieceKind::kSpare, stretch.begin, stretch.end - stretch.begin});
      done = stretch.end;
      continue;
    }
    gaps += gap;
    if (gap != 0) {
      parts.push_back({PieceKind::kMissing, stretch.begin, static_cast<uint32_t>(gap)});
      if (at != 0) Note(hive, MoveKind::kLost, stretch.begin, static_cast<uint32_t>(gap));
      at = wanted;
    }
    // Where two overlap the one before ends too late.
    for (; at > wanted && !parts.empty(); parts.pop_back()) {
      Part& last = parts.back();
      const auto cut = static_cast<uint32_t>(std::min<uint64_t>(at - wanted, last.length));
      last.length -= cut;
      at -= cut;
      if (last.kind == PieceKind::kOwn && cut != 0) {
        spares.push_back({PieceKind::kSpare, last.from + last.length, cut});
      }
      if (last.length != 0) break;
    }
    parts.push_back({PieceKind::kOwn, stretch.begin, stretch.end - stretch.begin});
    at += stretch.end - stretch.begin;
    done = stretch.end;
  }
  const uint32_t lacking = LackingPages(hive, parts, spares, target, at);
  if (lacking != 0) parts.push_back({PieceKind::kMissing, done, lacking});
  at += lacking;
  own_length = static_cast<uint32_t>(at);
  for (const Part& spare : spares) {
    // On 8-byte steps as those of the bytes before it, and blocks at the start of a page.
    const auto align = [&](uint32_t step, uint32_t phase) {
      const auto pad = static_cast<uint32_t>((step + phase - at % step) % step);
      if (pad != 0) parts.push_back({PieceKind::kMissing, spare.from, pad});
      at += pad;
    };
    align(kPageSize, target % kPageSize);
    parts.push_back(spare);
    at += spare.length;
  }
  return parts;
}

// True when the image or its distance changed; `own_length` is where the hive's own bytes end in
// what the image then is. Without a base block the first stretch is where it is, but for the bytes
// that bring its cells to multiples of 8.
bool UndoShifts(HiveImage& hive, uint32_t& own_length) {
  own_length = hive.length;
  const std::vector<KeptStretch> kept =
      FindShifts(ImageBytes(hive), hive.data_base, hive.header_valid);
  if (kept.empty() || StopRequested()) return false;
  const uint32_t target = hive.header_valid ? hive.data_base : (kept[0].distance + 7) / 8 * 8;
  const bool one = kept.size() == 1 && kept[0].begin == 0;
  if (one && kept[0].distance == hive.data_base) return false;
  hive.data_base = target;
  if (one && kept[0].distance == target) return true;
  return Rebuild(hive, PartsOfShifts(hive, kept, target, own_length));
}

// --- pages

// Before the image is put together again, as the places are those of the old one.
void NotePages(HiveImage& hive, const Pages& pages, const PageMoves& moves) {
  const auto place = [&](uint32_t page) {
    return PlaceOfImage(hive, pages.first + page * kPageSize);
  };
  for (uint32_t page = 0; page < moves.source.size(); ++page) {
    const uint32_t source = moves.source[page];
    if (source == page || source == PageMoves::kNothing) continue;
    Note(hive, MoveKind::kPageMoved, place(source), kPageSize, place(page));
  }
  for (const PageMoves::Copy& copy : moves.copies) {
    Note(hive, MoveKind::kPageCopy, place(copy.page), kPageSize, place(copy.twin));
  }
}

// A round; `own_length` stays. Pages that lost their place go to the end.
bool UndoPageMoves(HiveImage& hive, uint32_t own_length) {
  const Pages pages = PagesOf(hive.data_base, own_length, hive.length);
  if (pages.own == 0) return false;
  const PageMoves moves = FindPageMoves(ImageBytes(hive), pages);
  if (!moves.any || StopRequested()) return false;
  std::vector<bool> used(pages.count, false);
  std::vector<bool> copied(pages.count, false);
  for (const PageMoves::Copy& copy : moves.copies) copied[copy.page] = true;
  std::vector<Part> parts = {{PieceKind::kOwn, 0, pages.first}};
  const auto length_of = [&](uint32_t page, uint32_t end) {
    return std::min(kPageSize, end - (pages.first + page * kPageSize));
  };
  for (uint32_t page = 0; page < pages.own; ++page) {
    const uint32_t length = length_of(page, own_length);
    const uint32_t source = moves.source[page];
    const uint32_t position = pages.first + page * kPageSize;
    if (source == PageMoves::kNothing) {
      parts.push_back({PieceKind::kBlank, position, length});
    } else {
      used[source] = true;
      parts.push_back({PieceKind::kOwn, pages.first + source * kPageSize, length});
    }
  }
  uint32_t end = own_length;
  const auto spare = [&](uint32_t from, uint32_t length) {
    const uint32_t pad = (pages.first + kPageSize - end % kPageSize) % kPageSize;
    if (pad != 0) parts.push_back({PieceKind::kMissing, from, pad});
    parts.push_back({PieceKind::kSpare, from, length});
    end += pad + length;
  };
  // Copies last: they are no records of their own.
  uint32_t shown = 0;
  for (const bool copies : {false, true}) {
    for (uint32_t page = 0; page < pages.count; ++page) {
      const uint32_t from = pages.first + page * kPageSize;
      if (used[page] || copied[page] != copies) continue;
      spare(from, length_of(page, hive.length));
    }
    const uint32_t rest = pages.first + pages.count * kPageSize;
    if (!copies && rest < hive.length && pages.count > pages.own) spare(rest, hive.length - rest);
    if (!copies) shown = end;
  }
  const uint32_t held = hive.held;
  if (held > hive.length) parts.push_back({PieceKind::kSpare, hive.length, held - hive.length});
  NotePages(hive, pages, moves);
  if (!Rebuild(hive, parts)) return false;
  hive.length = shown;
  return true;
}

}  // namespace

// Blocks that follow each other to the end. The cells are followed only where a page could hide a
// change: in blocks of several pages, and in the last one.
bool IsInOrder(const HiveImage& hive) {
  const std::span<const uint8_t> bytes = ImageBytes(hive);
  const uint32_t length = hive.length;
  const auto chained = [&](uint64_t first, uint64_t end) {
    const CellChain chain = FollowCells(bytes, first, std::min<uint64_t>(end, length));
    return !chain.broken && (chain.end >= length || chain.end == end);
  };
  uint64_t at = hive.data_start;
  BinHeader bin;
  while (at + kBinHeaderSize <= length) {
    const auto position = static_cast<uint32_t>(at);
    if (!ReadBinHeader(bytes, position, bin) || bin.Distance() != hive.data_base) break;
    const uint64_t next = at + bin.size;
    BinHeader follower;
    const bool last =
        next >= length || !ReadBinHeader(bytes, static_cast<uint32_t>(next), follower);
    if ((last || bin.size > kPageSize) && !chained(at + kBinHeaderSize, next)) return false;
    at = next;
  }
  if (at >= length) return true;
  return at != hive.data_start && FindBinHeaders(bytes.subspan(at)).empty();
}

namespace {

// At most three rounds of pages each time: with pages in their places more of the rest can be told.
bool UndoAll(HiveImage& hive) {
  constexpr int kMostRounds = 3;
  uint32_t own_length = hive.length;
  bool undone = false;
  const auto undo_page_moves = [&] {
    for (int round = 0; round < kMostRounds && !StopRequested(); ++round) {
      if (!UndoPageMoves(hive, own_length)) return;
      undone = true;
    }
  };
  // Where nothing is too much or missing pages are likelier to have moved than bytes.
  const bool complete = uint64_t{EndByBaseBlock(ImageBytes(hive))} + kBaseBlockSize == hive.length;
  if (complete && hive.header_valid) undo_page_moves();
  if (undone && IsInOrder(hive)) {
    hive.places.own_end = own_length;
    return true;
  }
  if (StopRequested()) return undone;
  undone |= UndoShifts(hive, own_length);
  undo_page_moves();
  hive.places.own_end = undone ? own_length : 0;
  return undone;
}

}  // namespace

bool UndoMoves(HiveImage& hive) {
  if (hive.moves_sought) return false;
  hive.moves_sought = true;
  hive.held = hive.length;
  const bool undone = UndoAll(hive);
  hive.last_valid = hive.length < 8 ? 0 : hive.length - 8;
  return undone;
}

}  // namespace hivequarry
