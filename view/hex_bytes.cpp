#include "view/hex_bytes.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace hivequarry {
namespace {

using ByteRun = std::vector<uint8_t>;

// Typing on and on becomes several steps, so that undo does not take away too much.
constexpr size_t kLongestRun = 256;

// Bytes that a change counts for in the history's limit.
size_t MemoryOf(const HexChange& change) {
  return sizeof change + change.removed.size() + change.inserted.size();
}

// Puts `bytes` in place of `length` bytes at `position`.
void Exchange(ByteRun& all, uint32_t position, size_t length, std::span<const uint8_t> bytes) {
  const size_t common = std::min(length, bytes.size());
  const auto at = all.begin() + position;
  std::copy_n(bytes.begin(), common, at);
  const auto rest = at + static_cast<ptrdiff_t>(common);
  if (length > common) {
    all.erase(rest, at + static_cast<ptrdiff_t>(length));
  } else {
    all.insert(rest, bytes.begin() + static_cast<ptrdiff_t>(common), bytes.end());
  }
}

void Append(ByteRun& to, const ByteRun& bytes) { to.insert(to.end(), bytes.begin(), bytes.end()); }

// --- history -------------------------------------------------------------------------------------

bool JoinTyping(HexChange& last, const HexChange& next) {
  const size_t end = last.position + last.inserted.size();
  if (next.position == end) {
    Append(last.removed, next.removed);
    Append(last.inserted, next.inserted);
    return true;
  }
  // The second digit of the byte that the last change ended with.
  const bool replaces = next.removed.size() == 1 && next.inserted.size() == 1;
  if (last.inserted.empty() || next.position + 1 != end || !replaces) return false;
  last.inserted.back() = next.inserted[0];
  return true;
}

// Makes one step of two that follow each other without a move of the caret between them; false when
// they stay two. A step is not joined beyond kLongestRun bytes, so that undoing stays useful.
bool JoinChange(HexChange& last, const HexChange& next) {
  const size_t length = std::max(last.removed.size(), last.inserted.size());
  if (last.kind != next.kind || last.after != next.before || length >= kLongestRun) return false;
  switch (next.kind) {
    case HexChangeKind::kTyping:
      return JoinTyping(last, next);
    case HexChangeKind::kBackspace:
      if (next.position + next.removed.size() != last.position) return false;
      last.removed.insert(last.removed.begin(), next.removed.begin(), next.removed.end());
      last.position = next.position;
      return true;
    case HexChangeKind::kDelete:
      if (next.position != last.position) return false;
      Append(last.removed, next.removed);
      return true;
    default:
      return false;
  }
}

void ForgetUndone(HexHistory& history) {
  for (const HexChange& change : history.undone) history.bytes -= MemoryOf(change);
  history.undone.clear();
}

// The newest change stays, however large.
void ForgetOldest(HexHistory& history) {
  while (history.bytes > kHexHistoryBytes && history.done.size() > 1) {
    history.bytes -= MemoryOf(history.done.front());
    history.done.pop_front();
  }
}

// `bytes` of the history stays the memory of all changes in it.
bool JoinNewest(HexHistory& history, const HexChange& change) {
  if (!history.open || history.done.empty()) return false;
  HexChange& newest = history.done.back();
  const size_t before = MemoryOf(newest);
  if (!JoinChange(newest, change)) return false;
  newest.after = change.after;
  history.bytes += MemoryOf(newest) - before;
  return true;
}

// What was undone is forgotten first: it no longer fits the bytes.
void Remember(HexHistory& history, HexChange change) {
  ForgetUndone(history);
  if (!JoinNewest(history, change)) {
    history.bytes += MemoryOf(change);
    history.done.push_back(std::move(change));
  }
  history.open = true;
  ForgetOldest(history);
}

// --- changes -------------------------------------------------------------------------------------

// All edits come down to this: `bytes` in place of the range, the caret to `after`. False, with
// nothing changed, for no change at all and for more than kMaxHexBytes.
bool Change(HexBytes& hex, HexChangeKind kind, HexRange range, std::span<const uint8_t> bytes,
            HexCaret after) {
  const size_t length = hex.bytes.size() - Length(range) + bytes.size();
  if (length > kMaxHexBytes || (Length(range) == 0 && bytes.empty())) return false;
  HexChange change{kind, range.start, {}, {bytes.begin(), bytes.end()}, hex.caret, after};
  change.removed.assign(hex.bytes.begin() + range.start, hex.bytes.begin() + range.end);
  Exchange(hex.bytes, range.start, Length(range), bytes);
  hex.caret = after;
  Remember(hex.history, std::move(change));
  return true;
}

HexCaret CaretAt(uint32_t position, bool low = false) { return {position, low, position}; }

// What `count` bytes that are put in take the place of.
HexRange Replaced(const HexBytes& hex, size_t count) {
  const HexRange selection = SelectionOf(hex);
  if (!hex.overwrite) return selection;
  const size_t room = hex.bytes.size() - selection.start;
  return {selection.start, selection.start + static_cast<uint32_t>(std::min(count, room))};
}

// A selection goes in place of the range, as a step of its own.
bool Erase(HexBytes& hex, HexChangeKind kind, HexRange range) {
  const HexRange selection = SelectionOf(hex);
  if (Length(selection) != 0) {
    return Change(hex, HexChangeKind::kWhole, selection, {}, CaretAt(selection.start));
  }
  return Change(hex, kind, range, {}, CaretAt(range.start));
}

// --- finding -------------------------------------------------------------------------------------

// For each beginning of the sequence: the longest other beginning that ends it. Where bytes cease
// to match, the search goes on from that one and never back in the bytes.
std::vector<uint32_t> BordersOf(std::span<const uint8_t> sequence) {
  std::vector<uint32_t> borders(sequence.size(), 0);
  uint32_t border = 0;
  for (size_t i = 1; i < sequence.size(); ++i) {
    while (border > 0 && sequence[i] != sequence[border]) border = borders[border - 1];
    if (sequence[i] == sequence[border]) ++border;
    borders[i] = border;
  }
  return borders;
}

// Moves `at` after the first place of the sequence; false when there is none.
template <typename Iterator>
bool FindEnd(Iterator& at, Iterator last, std::span<const uint8_t> sequence) {
  const std::vector<uint32_t> borders = BordersOf(sequence);
  uint32_t matched = 0;
  while (at != last) {
    const uint8_t byte = *at++;
    while (matched > 0 && byte != sequence[matched]) matched = borders[matched - 1];
    if (byte == sequence[matched]) ++matched;
    if (matched == sequence.size()) return true;
  }
  return false;
}

bool FindForward(HexBytes& hex, std::span<const uint8_t> sequence, size_t from) {
  auto at = hex.bytes.cbegin() + static_cast<ptrdiff_t>(from);
  if (!FindEnd(at, hex.bytes.cend(), sequence)) return false;
  const auto end = static_cast<uint32_t>(at - hex.bytes.cbegin());
  SelectBytes(hex, {end - static_cast<uint32_t>(sequence.size()), end});
  return true;
}

// The last place that ends at `until` or before: the first one of the reversed sequence in the
// reversed bytes.
bool FindBackward(HexBytes& hex, std::span<const uint8_t> sequence, size_t until) {
  const ByteRun reversed(sequence.rbegin(), sequence.rend());
  auto at = std::make_reverse_iterator(hex.bytes.cbegin() + static_cast<ptrdiff_t>(until));
  if (!FindEnd(at, hex.bytes.crend(), reversed)) return false;
  const auto start = static_cast<uint32_t>(hex.bytes.crend() - at);
  SelectBytes(hex, {start, start + static_cast<uint32_t>(sequence.size())});
  return true;
}

}  // namespace

void SetBytes(HexBytes& hex, ByteRun bytes) {
  if (bytes.size() > kMaxHexBytes) bytes.resize(kMaxHexBytes);
  hex.bytes = std::move(bytes);
  hex.caret = HexCaret();
  hex.history = HexHistory();
}

HexRange SelectionOf(const HexBytes& hex) {
  const auto [start, end] = std::minmax(hex.caret.position, hex.caret.anchor);
  return {start, end};
}

ByteRun SelectedBytes(const HexBytes& hex) {
  const HexRange selection = SelectionOf(hex);
  return {hex.bytes.begin() + selection.start, hex.bytes.begin() + selection.end};
}

void MoveCaret(HexBytes& hex, uint32_t position, bool low, bool extend) {
  const uint32_t count = ByteCount(hex);
  hex.caret.position = std::min(position, count);
  hex.caret.low = low && !extend && position < count;
  if (!extend) hex.caret.anchor = hex.caret.position;
  hex.history.open = false;
}

void SelectBytes(HexBytes& hex, HexRange range) {
  MoveCaret(hex, range.start, false, false);
  MoveCaret(hex, range.end, false, true);
}

bool TypeDigit(HexBytes& hex, uint8_t digit) {
  if (hex.caret.low) {
    const uint32_t at = hex.caret.position;
    const auto byte = static_cast<uint8_t>((hex.bytes[at] & 0xF0) | digit);
    return Change(hex, HexChangeKind::kTyping, {at, at + 1}, {&byte, 1}, CaretAt(at + 1));
  }
  const HexRange replaced = Replaced(hex, 1);
  const uint8_t second =
      hex.overwrite && Length(replaced) != 0 ? hex.bytes[replaced.start] & 0x0F : 0;
  const auto byte = static_cast<uint8_t>(digit << 4 | second);
  return Change(hex, HexChangeKind::kTyping, replaced, {&byte, 1}, CaretAt(replaced.start, true));
}

bool TypeByte(HexBytes& hex, uint8_t byte) {
  const HexRange replaced = Replaced(hex, 1);
  return Change(hex, HexChangeKind::kTyping, replaced, {&byte, 1}, CaretAt(replaced.start + 1));
}

bool PutBytes(HexBytes& hex, std::span<const uint8_t> bytes) {
  if (bytes.empty() || bytes.size() > kMaxHexBytes) return false;
  const HexRange replaced = Replaced(hex, bytes.size());
  const auto end = replaced.start + static_cast<uint32_t>(bytes.size());
  return Change(hex, HexChangeKind::kWhole, replaced, bytes, CaretAt(end));
}

bool EraseBack(HexBytes& hex) {
  const uint32_t at = hex.caret.position;
  if (hex.caret.low) return Erase(hex, HexChangeKind::kBackspace, {at, at + 1});
  return Erase(hex, HexChangeKind::kBackspace, {at - (at > 0 ? 1U : 0U), at});
}

bool EraseForward(HexBytes& hex) {
  const uint32_t at = hex.caret.position;
  return Erase(hex, HexChangeKind::kDelete, {at, std::min(at + 1, ByteCount(hex))});
}

bool Undo(HexBytes& hex) {
  HexHistory& history = hex.history;
  if (history.done.empty()) return false;
  HexChange change = std::move(history.done.back());
  history.done.pop_back();
  Exchange(hex.bytes, change.position, change.inserted.size(), change.removed);
  hex.caret = change.before;
  history.open = false;
  // Its memory stays counted: it is in the other list now.
  history.undone.push_back(std::move(change));
  return true;
}

bool Redo(HexBytes& hex) {
  HexHistory& history = hex.history;
  if (history.undone.empty()) return false;
  HexChange change = std::move(history.undone.back());
  history.undone.pop_back();
  Exchange(hex.bytes, change.position, change.removed.size(), change.inserted);
  hex.caret = change.after;
  history.open = false;
  history.done.push_back(std::move(change));
  return true;
}

bool FindBytes(HexBytes& hex, std::span<const uint8_t> sequence, bool forward) {
  const size_t count = hex.bytes.size();
  if (sequence.empty() || sequence.size() > count) return false;
  const HexRange selection = SelectionOf(hex);
  if (forward) {
    const size_t from = selection.start + (Length(selection) != 0 ? 1U : 0U);
    return FindForward(hex, sequence, from) || FindForward(hex, sequence, 0);
  }
  // A place that begins before the selection may reach into it.
  const size_t until = std::min(count, selection.start + sequence.size() - 1);
  return FindBackward(hex, sequence, until) || FindBackward(hex, sequence, count);
}

}  // namespace hivequarry
