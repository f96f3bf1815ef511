#include "hive/file_place.h"

#include <algorithm>

#include "hive/layer_stack.h"
#include "hive/offset_map.h"
#include "host/number_text.h"

namespace hivequarry {
namespace {

// Of a text copy: the n-th 0D that was taken out was in the file n places further on than the 0A
// that it preceded is now.
uint32_t PlaceInText(const std::vector<uint32_t>& returns, uint32_t position) {
  const auto after = std::upper_bound(returns.begin(), returns.end(), position);
  return position + static_cast<uint32_t>(after - returns.begin());
}

// The way back of PlaceInText. returns[n] + n rises with n, as both do.
uint32_t PlaceWithoutReturns(const std::vector<uint32_t>& returns, uint32_t place) {
  size_t low = 0;
  size_t high = returns.size();
  while (low < high) {  // how many were taken out before the place
    const size_t middle = low + (high - low) / 2;
    if (returns[middle] + middle < place) {
      low = middle + 1;
    } else {
      high = middle;
    }
  }
  return place - static_cast<uint32_t>(low);
}

// Of bytes that are missing in the file, all have the place where they are missing.
uint32_t PlaceInPieces(const std::vector<ImagePiece>& pieces, uint32_t position) {
  const auto after =
      std::upper_bound(pieces.begin(), pieces.end(), position,
                       [](uint32_t wanted, const ImagePiece& p) { return wanted < p.position; });
  const ImagePiece& piece = *std::prev(after);
  return piece.kind == PieceKind::kMissing ? piece.place
                                           : piece.place + (position - piece.position);
}

std::string WordsOf(const HiveImage& hive, const UndoneMove& move) {
  const auto at = [&](uint32_t place) {
    return HexAndDecimal(hive.base_offset + PlaceInText(hive.places.returns, place));
  };
  const std::string bytes = std::to_string(move.count) + (move.count == 1 ? " byte" : " bytes");
  switch (move.kind) {
    case MoveKind::kPutIn:
      return bytes + " put in at " + at(move.place);
    case MoveKind::kLost:
      return bytes + " lost at " + at(move.place);
    case MoveKind::kPageMoved:
      return bytes + " at " + at(move.place) + " belong at " + at(move.to);
    case MoveKind::kPageCopy:
      return bytes + " at " + at(move.place) + " are a copy of those at " + at(move.to);
    default:
      return "copied as text: every 0A became 0D 0A, " + bytes + " more";
  }
}

}  // namespace

uint32_t PlaceOfImage(const HiveImage& hive, uint32_t position) {
  const std::vector<ImagePiece>& pieces = hive.places.pieces;
  return pieces.empty() ? position : PlaceInPieces(pieces, position);
}

uint32_t FindPlace(const HiveImage& hive, uint32_t position) {
  const FilePlaces& places = hive.places;
  if (position >= std::max(hive.held, hive.length)) return position;
  if (!places.pieces.empty()) position = PlaceInPieces(places.pieces, position);
  return PlaceInText(places.returns, position);
}

uint32_t LayerBase(const HiveImage& hive, uint32_t position) {
  return LayerHive(hive, position).base_offset;
}

uint32_t PositionOfPlace(const HiveImage& hive, uint32_t place) {
  const FilePlaces& places = hive.places;
  place = PlaceWithoutReturns(places.returns, place);
  if (places.by_place.empty()) return place;
  const std::vector<ImagePiece>& pieces = places.pieces;
  const auto after = std::upper_bound(
      places.by_place.begin(), places.by_place.end(), place,
      [&](uint32_t wanted, uint32_t piece) { return wanted < pieces[piece].place; });
  if (after == places.by_place.begin()) return place;
  const uint32_t number = *std::prev(after);
  const uint32_t end =
      number + 1 < pieces.size() ? pieces[number + 1].position : std::max(hive.held, hive.length);
  const uint32_t distance = place - pieces[number].place;
  return distance < end - pieces[number].position ? pieces[number].position + distance : kNoOffset;
}

std::string PlaceWords(const HiveImage& hive, uint32_t position) {
  return position >= kNowhere ? "nowhere" : HexAndDecimal(PlaceOf(hive, position));
}

std::string UndoneWords(const HiveImage& hive) {
  constexpr size_t kMost = 16;  // in words; the rest as a number
  const std::vector<UndoneMove>& undone = hive.places.undone;
  std::string words;
  for (size_t i = 0; i < std::min(undone.size(), kMost); ++i) {
    if (i != 0) words += "; ";
    words += WordsOf(hive, undone[i]);
  }
  if (undone.size() > kMost) words += "; and " + std::to_string(undone.size() - kMost) + " more";
  return words.empty() ? words : words + ": read as if undone";
}

// Neighbours that are one in the file too become one piece. Only pieces with bytes of the file can
// be found by place.
void SetPieces(HiveImage& hive, const std::vector<ImagePiece>& pieces) {
  FilePlaces& places = hive.places;
  places.pieces.clear();
  places.by_place.clear();
  for (const ImagePiece& piece : pieces) {
    const bool goes_on =
        !places.pieces.empty() && piece.kind == places.pieces.back().kind &&
        piece.kind != PieceKind::kMissing &&
        piece.position - places.pieces.back().position == piece.place - places.pieces.back().place;
    if (!goes_on) places.pieces.push_back(piece);
  }
  for (uint32_t i = 0; i < places.pieces.size(); ++i) {
    const PieceKind kind = places.pieces[i].kind;
    const bool there = kind == PieceKind::kOwn || kind == PieceKind::kSpare;
    if (there) places.by_place.push_back(i);
  }
  std::ranges::sort(places.by_place, {}, [&](uint32_t i) { return places.pieces[i].place; });
}

}  // namespace hivequarry
