// The bytes under a hex edit control, with caret, selection, undo and redo. Knows no window.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <span>
#include <vector>

namespace hivequarry {

// Of a value that can be edited: longer data are not read as a value's (kMaxValueData).
inline constexpr uint32_t kMaxHexBytes = 0x500000;

// Positions count from the first byte; the selection is between the caret and the anchor.
struct HexCaret {
  uint32_t position = 0;  // the byte before which it is, or the length
  bool low = false;       // within that byte, after its first digit
  uint32_t anchor = 0;    // the other end of the selection
  bool operator==(const HexCaret&) const = default;
};

// Bytes from the first of all, [start, end).
struct HexRange {
  uint32_t start = 0;
  uint32_t end = 0;  // the first byte after it
  bool operator==(const HexRange&) const = default;
};
inline uint32_t Length(HexRange range) { return range.end - range.start; }

// Changes of one kind that touch each other are undone together, but for kWhole.
enum class HexChangeKind { kTyping, kBackspace, kDelete, kWhole };

// Bytes that came in place of others at a position, and the caret on both sides of that: enough to
// undo it and to do it again.
struct HexChange {
  HexChangeKind kind = HexChangeKind::kWhole;
  uint32_t position = 0;  // at which they came
  std::vector<uint8_t> removed;
  std::vector<uint8_t> inserted;
  HexCaret before;
  HexCaret after;
};

// What was done, and what was undone and may be done again; that is forgotten by the next change.
struct HexHistory {
  std::deque<HexChange> done;     // the newest last
  std::vector<HexChange> undone;  // the next to be done again last
  size_t bytes = 0;               // memory of both; the oldest changes are forgotten for its bound
  bool open = false;              // the newest may still grow
};
// More than the two largest changes that there can be.
inline constexpr size_t kHexHistoryBytes = 32U << 20;

struct HexBytes {
  std::vector<uint8_t> bytes;
  HexCaret caret;
  bool overwrite = true;  // typing replaces; else it puts in
  HexHistory history;
};

// Replaces everything and forgets what was done before. Bytes beyond kMaxHexBytes are left out.
void SetBytes(HexBytes& hex, std::vector<uint8_t> bytes);
inline uint32_t ByteCount(const HexBytes& hex) { return static_cast<uint32_t>(hex.bytes.size()); }
// Empty, at the caret, when nothing is selected. SelectedBytes is a copy.
HexRange SelectionOf(const HexBytes& hex);
std::vector<uint8_t> SelectedBytes(const HexBytes& hex);

// Positions are cut to the length. With `extend` the anchor stays, and the caret is before a byte
// whatever `low` says. What is typed after a move is a step of its own for undo.
void MoveCaret(HexBytes& hex, uint32_t position, bool low, bool extend);
// The caret comes to the end of the range.
void SelectBytes(HexBytes& hex, HexRange range);

// Each of these is one step for undo or part of one, and leaves everything as it was when it
// returns false: nothing to do, or the bytes would become more than kMaxHexBytes.
//
// A digit at the caret: the first of a byte makes the byte (with a second digit of 0) or, when
// overwriting, changes its half of it; the second changes its half. A selection is replaced; when
// overwriting, typing starts at its beginning.
bool TypeDigit(HexBytes& hex, uint8_t digit);
// A whole byte, as typed on the side of the characters; overwrites or inserts likewise.
bool TypeByte(HexBytes& hex, uint8_t byte);
// Inserts bytes in place of the selection, or overwrites as many from the selection's beginning.
bool PutBytes(HexBytes& hex, std::span<const uint8_t> bytes);
// The selection, else the byte that the caret is in, else the one before or after the caret.
bool EraseBack(HexBytes& hex);
bool EraseForward(HexBytes& hex);

// One step back, or forward again, the caret with it. False when there is none.
bool Undo(HexBytes& hex);
bool Redo(HexBytes& hex);

// Selects the next place of a byte sequence that begins after the selection's beginning, or the
// last one before it, and goes on at the other end. False when it is nowhere. Takes time in
// proportion to the bytes, whatever the sequence.
bool FindBytes(HexBytes& hex, std::span<const uint8_t> sequence, bool forward);

}  // namespace hivequarry
