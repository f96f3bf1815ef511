// The bounded view that every read of evidence goes through. A view is a span: it owns nothing and
// is valid as long as the bytes that it was made of. Reading outside it gives 0 or nothing, so a
// record decodes from whatever is left of it. Numbers on disk are little-endian.
#pragma once

#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace hivequarry {

using ByteView = std::span<const uint8_t>;
// The bytes of a text, as it has them.
inline ByteView TextBytes(std::string_view text) {
  return {reinterpret_cast<const uint8_t*>(text.data()), text.size()};
}

// --- numbers in memory, unchecked ----------------------------------------------------------------

// Whoever calls has checked that all bytes of the number are there. No alignment is needed.
inline uint16_t LoadU16(const uint8_t* bytes) {
  return static_cast<uint16_t>(bytes[0] | bytes[1] << 8);
}
inline uint32_t LoadU32(const uint8_t* bytes) {
  return static_cast<uint32_t>(bytes[0]) | static_cast<uint32_t>(bytes[1]) << 8 |
         static_cast<uint32_t>(bytes[2]) << 16 | static_cast<uint32_t>(bytes[3]) << 24;
}
inline uint64_t LoadU64(const uint8_t* bytes) {
  return LoadU32(bytes) | uint64_t{LoadU32(bytes + 4)} << 32;
}

// --- bounded reads; `at` counts bytes from the start of the view ---------------------------------
// The sum of `at` and a size never wraps: each function holds the size against what the view has
// left. A view longer than 4 GiB is read in its first 4 GiB alone.

// True when all of [at, at + size) is in the view.
inline bool IsInside(ByteView bytes, uint32_t at, uint32_t size) {
  return size <= bytes.size() && at <= bytes.size() - size;
}
// 0 when not all bytes of the number are in the view.
inline uint8_t ReadU8(ByteView bytes, uint32_t at) { return at < bytes.size() ? bytes[at] : 0; }
inline uint16_t ReadU16(ByteView bytes, uint32_t at) {
  return IsInside(bytes, at, 2) ? LoadU16(bytes.data() + at) : 0;
}
inline uint32_t ReadU32(ByteView bytes, uint32_t at) {
  return IsInside(bytes, at, 4) ? LoadU32(bytes.data() + at) : 0;
}
// Each half by itself: a number that is cut in the middle keeps its low half.
inline uint64_t ReadU64(ByteView bytes, uint32_t at) {
  return ReadU32(bytes, at) | uint64_t{ReadU32(bytes, at + 4)} << 32;
}
// For the few structures that store numbers highest byte first; 0 as above.
inline uint32_t ReadU32BigEndian(ByteView bytes, uint32_t at) {
  return __builtin_bswap32(ReadU32(bytes, at));
}
// All of a view of at most eight bytes as one number; of a longer one the first eight.
inline uint64_t NumberOf(ByteView bytes) {
  uint64_t number = 0;
  for (size_t i = bytes.size() < 8 ? bytes.size() : 8; i-- > 0;) number = number << 8 | bytes[i];
  return number;
}
// A number of so many bytes, 1 to 8, with its highest bit as the sign.
inline int64_t SignedOf(uint64_t number, size_t size) {
  const size_t shift = 64 - 8 * size;
  return static_cast<int64_t>(number << shift) >> shift;
}
// The part [at, at + size) of the view, as far as there is one.
inline ByteView PartOf(ByteView bytes, uint32_t at, uint32_t size) {
  if (at >= bytes.size()) return {};
  const size_t left = bytes.size() - at;
  return bytes.subspan(at, size < left ? size : left);
}
// Copies as many of `size` bytes as are in the view; returns how many.
// The rest of `out` stays as it was: callers that look at all of it fill it with zeros first.
inline uint32_t ReadBytes(ByteView bytes, uint32_t at, uint8_t* out, uint32_t size) {
  const ByteView part = PartOf(bytes, at, size);
  if (!part.empty()) std::memcpy(out, part.data(), part.size());
  return static_cast<uint32_t>(part.size());
}
// The same as a copy of its own.
inline std::vector<uint8_t> CopyOf(ByteView bytes) { return {bytes.begin(), bytes.end()}; }
// Appends bytes as the single-byte text that they are.
// No conversion and no check that they are UTF-8: only for bytes that are known to be ASCII, or
// that the caller compares and does not show.
inline void AppendText(ByteView bytes, std::string& out) {
  if (!bytes.empty()) out.append(reinterpret_cast<const char*>(bytes.data()), bytes.size());
}

}  // namespace hivequarry
