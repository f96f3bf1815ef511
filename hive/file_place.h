// Where in the file the bytes of an image are.
//
// Image and file agree but for a hive whose moved bytes were put back while opening
// (moved_bytes.h), or that was copied as text (text_copy.h). There the image is what the hive was,
// and every position that is shown or asked for is one of the file. "Place" is such a position,
// counted like positions from where the hive begins: base_offset + place is that in the file.
#pragma once

#include <cstdint>
#include <string>

#include "hive/image.h"

namespace hivequarry {

// Slow path of PlaceOf.
// Logarithmic in the number of pieces and of 0Ds that were taken out.
uint32_t FindPlace(const HiveImage& hive, uint32_t position);

// The place of an image position; for bytes that are lost, the place where they are missing. What
// lies beyond the image, "none" included, stays as it is.
inline uint32_t PlaceOf(const HiveImage& hive, uint32_t position) {
  const FilePlaces& places = hive.places;
  return places.pieces.empty() && places.returns.empty() ? position : FindPlace(hive, position);
}
// The image position of a place: the other way round.
// For a place whose bytes the image does not have (0Ds that were taken out, what belongs elsewhere)
// kNoOffset, or the position of what follows.
uint32_t PositionOfPlace(const HiveImage& hive, uint32_t place);
// Where in its file the layer that a position is in begins.
// The base_offset of that layer's own file; that of the hive itself when it is no stack.
uint32_t LayerBase(const HiveImage& hive, uint32_t position);
// Its position in the file.
// Counted from the first byte of the file, whatever is before the hive in it. In a stack: of
// the layer's own file.
inline uint32_t FilePositionOf(const HiveImage& hive, uint32_t position) {
  const uint32_t place = PlaceOf(hive, position);
  return (hive.stack == nullptr ? hive.base_offset : LayerBase(hive, position)) + place;
}

// The place in a text copy's bytes once its 0Ds are taken out: what pieces and notes count in.
uint32_t PlaceOfImage(const HiveImage& hive, uint32_t position);

// Bytes of the file that the image is made of.
inline uint32_t LengthInFile(const HiveImage& hive) {
  return hive.places.pieces.empty() && hive.places.returns.empty() ? hive.length : hive.file_bytes;
}
// "0x00001020 (4128)": the place of a position as details show it; a word for an offset's target
// that is nowhere.
std::string PlaceWords(const HiveImage& hive, uint32_t position);

// The position in the file after all that was opened.
inline uint32_t FileEndOf(const HiveImage& hive) { return hive.base_offset + hive.file_bytes; }

// What was undone while opening, a sentence for each kind of it, none for a hive that is in order:
// "3 bytes put in at 0x00002345 (9029): read as if undone". Positions are those in the file.
std::string UndoneWords(const HiveImage& hive);

// Makes `pieces` ready for use: joins those that go on without a step, and fills by_place.
// They must be ascending by position, without gaps, and begin at 0. Call once the image has its
// bytes: `held` and `length` bound the last piece.
void SetPieces(HiveImage& hive, const std::vector<ImagePiece>& pieces);

}  // namespace hivequarry
