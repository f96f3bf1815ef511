#include "view/hex_view.h"

#include <algorithm>
#include <utility>

#include "hive/value_input.h"
#include "view/hex_text.h"
#include "view/key_codes.h"

namespace hivequarry {
namespace {

constexpr char16_t kFirstPrintable = u' ';
constexpr char16_t kDeleteCharacter = 0x7F;

// How a key moves the caret; modifiers are in the record.
struct Move {
  HexView& view;
  bool extend;  // Shift
  bool whole;   // Ctrl
};

void MoveTo(const Move& move, int64_t position, bool low = false) {
  HexBytes& model = move.view.model;
  const int64_t last = ByteCount(model);
  MoveCaret(model, static_cast<uint32_t>(std::clamp<int64_t>(position, 0, last)), low, move.extend);
}

bool HasSelection(const HexView& view) { return Length(SelectionOf(view.model)) != 0; }

// Digit by digit on the hex side, byte by byte on the other and while selecting.
void MoveLeft(const Move& move) {
  const HexCaret caret = move.view.model.caret;
  const bool by_digit = move.view.side == HexSide::kHex && !move.extend;
  if (!move.extend && HasSelection(move.view)) {
    MoveTo(move, SelectionOf(move.view.model).start);
  } else if (caret.low) {
    MoveTo(move, caret.position);
  } else if (caret.position > 0) {
    MoveTo(move, caret.position - 1, by_digit);
  }
}

void MoveRight(const Move& move) {
  const HexCaret caret = move.view.model.caret;
  const bool by_digit = move.view.side == HexSide::kHex && !move.extend;
  if (!move.extend && HasSelection(move.view)) {
    MoveTo(move, SelectionOf(move.view.model).end);
  } else if (by_digit && !caret.low && caret.position < ByteCount(move.view.model)) {
    MoveTo(move, caret.position, true);
  } else {
    MoveTo(move, caret.position + 1);
  }
}

// By lines; at the first and last line the column is kept, so nothing moves there.
void MoveLines(const Move& move, int64_t lines) {
  const HexCaret caret = move.view.model.caret;
  const int64_t per_line = move.view.layout.per_line;
  const int64_t last = LineCount(move.view.layout, ByteCount(move.view.model)) - 1;
  const int64_t line = caret.position / per_line;
  const int64_t target = std::clamp<int64_t>(line + lines, 0, last);
  if (target != line) MoveTo(move, target * per_line + caret.position % per_line, caret.low);
}

void MoveHome(const Move& move) {
  const uint32_t position = move.view.model.caret.position;
  MoveTo(move, move.whole ? 0 : position - position % move.view.layout.per_line);
}

// To the last byte of the line; selecting, after it.
void MoveEnd(const Move& move) {
  const uint32_t count = ByteCount(move.view.model);
  const uint32_t per_line = move.view.layout.per_line;
  const uint32_t position = move.view.model.caret.position;
  const uint32_t next_line = position - position % per_line + per_line;
  MoveTo(move, move.whole ? count : move.extend || next_line > count ? next_line : next_line - 1);
}

// The page goes along, so that the caret keeps its place on it.
void MovePage(const Move& move, int64_t direction) {
  const int64_t lines = direction * LinesInView(move.view.layout);
  ScrollTo(move.view, move.view.top_line + lines);
  MoveLines(move, lines);
}

// Of keys alone; what they do with Ctrl or Shift is in the Move.
struct KeyMove {
  uint32_t key;
  void (*move)(const Move& move);
};
constexpr KeyMove kMoves[] = {
    {kKeyLeft, MoveLeft},
    {kKeyRight, MoveRight},
    {kKeyUp, [](const Move& move) { MoveLines(move, -1); }},
    {kKeyDown, [](const Move& move) { MoveLines(move, 1); }},
    {kKeyPageUp, [](const Move& move) { MovePage(move, -1); }},
    {kKeyPageDown, [](const Move& move) { MovePage(move, 1); }},
    {kKeyHome, MoveHome},
    {kKeyEnd, MoveEnd},
};

HexOutcome Changed(bool done) { return {done ? HexEffect::kChanged : HexEffect::kNone}; }
HexOutcome Refused(const char16_t* reason) { return {HexEffect::kRefused, reason}; }

constexpr char16_t kOnlyShown[] = u"These bytes are shown and can't be changed here.";

// Where the model refuses only what would become too long.
HexOutcome Entered(bool done) {
  if (done) return Changed(true);
  return Refused(u"Not done: a value has at most 5,242,880 bytes.");
}

HexOutcome FindAgain(HexView& view, bool forward) {
  const auto sequence = SequenceOf(view.find);
  // Nothing was looked for yet, or nothing that can be found.
  if (!sequence) return {};
  view.find.forward = forward;
  if (!FindBytes(view.model, *sequence, forward)) return Refused(u"Not found.");
  return {HexEffect::kMoved};
}

std::vector<uint8_t> BytesOfWideText(const std::u16string& text) {
  std::vector<uint8_t> bytes;
  for (const char16_t unit : text) {
    bytes.push_back(static_cast<uint8_t>(unit & 0xFF));
    bytes.push_back(static_cast<uint8_t>(unit >> 8));
  }
  return bytes;
}

// Further keys of the same commands are in rows without a text.
// clang-format off
constexpr HexCommandRow kCommands[] = {
    {HexCommand::kUndo, u"&Undo\tCtrl+Z", 'Z', true, false, HexNeeds::kDone},
    {HexCommand::kRedo, u"&Redo\tCtrl+Y", 'Y', true, false, HexNeeds::kUndone, true},
    {HexCommand::kCut, u"Cu&t\tCtrl+X", 'X', true, false, HexNeeds::kSelection},
    {HexCommand::kCopy, u"&Copy\tCtrl+C", 'C', true, false, HexNeeds::kSelection},
    {HexCommand::kSave, u"&Save to file...\tCtrl+S", 'S', true, false, HexNeeds::kBytes, true},
    {HexCommand::kPaste, u"&Paste\tCtrl+V", 'V', true, false, HexNeeds::kClipboard},
    {HexCommand::kDelete, u"&Delete\tDel", kKeyDelete, false, false, HexNeeds::kBytes, true},
    {HexCommand::kSelectAll, u"Select &all\tCtrl+A", 'A', true, false, HexNeeds::kBytes, true},
    {HexCommand::kFind, u"&Find\tCtrl+F", 'F', true, false, HexNeeds::kBytes},
    {HexCommand::kFindNext, u"Find &next\tF3", kKeyF3, false, false, HexNeeds::kBytes},
    {HexCommand::kFindPrevious, u"Find pre&vious\tF4", kKeyF4, false, false, HexNeeds::kBytes, true},
    {HexCommand::kOverwrite, u"&Overwrite\tIns", kKeyInsert, false, false, HexNeeds::kNothing},
    {HexCommand::kFindPrevious, nullptr, kKeyF3, false, true, HexNeeds::kBytes},
    {HexCommand::kCopy, nullptr, kKeyInsert, true, false, HexNeeds::kSelection},
    {HexCommand::kPaste, nullptr, kKeyInsert, false, true, HexNeeds::kNothing},
    {HexCommand::kCut, nullptr, kKeyDelete, false, true, HexNeeds::kSelection},
};
// clang-format on

bool ChangesBytes(HexCommand command) {
  switch (command) {
    case HexCommand::kUndo:
    case HexCommand::kRedo:
    case HexCommand::kCut:
    case HexCommand::kPaste:
    case HexCommand::kDelete:
    case HexCommand::kOverwrite:
      return true;
    default:
      return false;
  }
}

}  // namespace

std::optional<std::vector<uint8_t>> SequenceOf(const HexFind& find) {
  std::optional<std::vector<uint8_t>> bytes;
  if (find.kind == HexFindKind::kBytes) bytes = BytesOfHexText(find.text);
  if (find.kind == HexFindKind::kText) bytes = BytesOfText(find.text);
  if (find.kind == HexFindKind::kWideText) bytes = BytesOfWideText(find.text);
  return bytes && !bytes->empty() ? bytes : std::nullopt;
}

const char16_t* ComplaintAbout(const HexFind& find) {
  if (find.text.empty() || SequenceOf(find)) return u"";
  return find.kind == HexFindKind::kBytes ? u"Bytes are pairs of digits, like 0A FF 10."
                                          : u"The code page does not have all characters.";
}

uint32_t LastTopLine(const HexView& view) {
  const uint32_t lines = LineCount(view.layout, ByteCount(view.model));
  return lines - std::min(lines, LinesInView(view.layout));
}

void ScrollTo(HexView& view, int64_t line) {
  view.top_line = static_cast<uint32_t>(std::clamp<int64_t>(line, 0, LastTopLine(view)));
}

void ShowCaretLine(HexView& view) {
  const uint32_t line = view.model.caret.position / view.layout.per_line;
  const uint32_t page = LinesInView(view.layout);
  if (line < view.top_line) view.top_line = line;
  if (line >= view.top_line + page) view.top_line = line - page + 1;
}

void ShowBytes(HexView& view, std::vector<uint8_t> bytes) {
  // SetBytes leaves out what an editor has no room for; what is only shown is shown whole.
  if (view.read_only) {
    SetBytes(view.model, {});
    view.model.bytes = std::move(bytes);
  } else {
    SetBytes(view.model, std::move(bytes));
  }
  view.top_line = 0;
}

bool MoveByKey(HexView& view, uint32_t key, bool extend, bool whole) {
  for (const KeyMove& row : kMoves) {
    if (row.key != key) continue;
    row.move({view, extend, whole});
    return true;
  }
  return false;
}

// The text side has no place within a byte.
void SwitchSide(HexView& view, HexSide side) {
  view.side = side;
  if (view.model.caret.low) MoveCaret(view.model, view.model.caret.position, false, false);
}

HexOutcome TypeCharacter(HexView& view, char16_t unit) {
  // What is below comes from keys that were dealt with as keys.
  if (unit < kFirstPrintable || unit == kDeleteCharacter) return {};
  if (view.read_only) return Refused(kOnlyShown);
  if (view.side == HexSide::kHex) {
    if (const auto digit = HexDigitOf(unit)) return Entered(TypeDigit(view.model, *digit));
    return unit == u' ' ? HexOutcome() : Refused(u"Only the digits 0-9 and A-F make bytes.");
  }
  if (const auto byte = ByteOfCharacter(unit)) return Entered(TypeByte(view.model, *byte));
  return Refused(u"The code page has no such character.");
}

HexOutcome EraseBefore(HexView& view) {
  return view.read_only ? Refused(kOnlyShown) : Changed(EraseBack(view.model));
}

std::span<const HexCommandRow> HexCommands() { return kCommands; }

const HexCommandRow* HexCommandOfKey(uint32_t key, bool control, bool shift) {
  for (const HexCommandRow& row : kCommands) {
    if (row.key == key && row.control == control && row.shift == shift) return &row;
  }
  return nullptr;
}

// The editor of values saves by its own buttons.
bool IsOffered(const HexCommandRow& row, const HexView& view) {
  return view.read_only ? !ChangesBytes(row.command) : row.command != HexCommand::kSave;
}

bool IsAvailable(const HexCommandRow& row, const HexView& view, bool text_on_clipboard) {
  if (!IsOffered(row, view)) return false;
  switch (row.needs) {
    case HexNeeds::kNothing:
      return true;
    case HexNeeds::kDone:
      return !view.model.history.done.empty();
    case HexNeeds::kUndone:
      return !view.model.history.undone.empty();
    case HexNeeds::kBytes:
      return ByteCount(view.model) != 0;
    case HexNeeds::kSelection:
      return HasSelection(view);
    case HexNeeds::kClipboard:
      return text_on_clipboard;
  }
  return false;
}

HexOutcome RunOnBytes(HexView& view, HexCommand command) {
  switch (command) {
    case HexCommand::kUndo:
      return Changed(Undo(view.model));
    case HexCommand::kRedo:
      return Changed(Redo(view.model));
    case HexCommand::kDelete:
      return Changed(EraseForward(view.model));
    case HexCommand::kSelectAll:
      SelectBytes(view.model, {0, ByteCount(view.model)});
      return {HexEffect::kMoved};
    case HexCommand::kFindNext:
    case HexCommand::kFindPrevious:
      return FindAgain(view, command == HexCommand::kFindNext);
    case HexCommand::kOverwrite:
      view.model.overwrite = !view.model.overwrite;
      return {HexEffect::kModeChanged};
    default:
      return {};  // the window's own
  }
}

std::u16string CopiedText(const HexView& view) {
  const std::vector<uint8_t> bytes = SelectedBytes(view.model);
  return view.side == HexSide::kHex ? InputOfBytes(bytes) : TextOfBytes(bytes);
}

std::optional<std::u16string> CopiedText(const HexView& view, CopyForm form,
                                         const FilePosition& file_position) {
  const HexRange range = SavedRange(view);
  if (Length(range) > kLongestCopied) return std::nullopt;
  const std::span<const uint8_t> bytes(view.model.bytes);
  return CopiedBytes(form, bytes.subspan(range.start, Length(range)), {range.start, file_position});
}

HexRange SavedRange(const HexView& view) {
  const HexRange selection = SelectionOf(view.model);
  return Length(selection) != 0 ? selection : HexRange{0, ByteCount(view.model)};
}

HexOutcome PutText(HexView& view, const std::u16string& text) {
  if (view.read_only) return Refused(kOnlyShown);
  const bool hex = view.side == HexSide::kHex;
  const auto bytes = hex ? BytesOfHexText(text) : BytesOfText(text);
  if (!bytes) {
    return Refused(hex ? u"The clipboard's text is no sequence of bytes like 0A FF 10."
                       : u"The clipboard's text has characters outside the code page.");
  }
  return bytes->empty() ? HexOutcome() : Entered(PutBytes(view.model, *bytes));
}

}  // namespace hivequarry
