// A hex edit control without its window: the bytes, where the caret and the first line are, and
// what keys and characters do. Texts are UTF-16.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "view/copy_forms.h"
#include "view/hex_bytes.h"
#include "view/hex_layout.h"

namespace hivequarry {

// How the text that is looked for becomes bytes.
enum class HexFindKind { kBytes, kText, kWideText };

// What was asked for last, for the dialog and for finding again.
struct HexFind {
  std::u16string text;  // as given: digits or characters
  HexFindKind kind = HexFindKind::kBytes;
  bool forward = true;  // the way that was taken last
};
// The bytes to look for; nothing when the text is empty or does not fit its kind.
std::optional<std::vector<uint8_t>> SequenceOf(const HexFind& find);
// What is wrong with a text that is no sequence; empty for an empty text.
const char16_t* ComplaintAbout(const HexFind& find);

// All that the hex view knows but its window.
struct HexView {
  HexBytes model;
  HexLayout layout;
  HexSide side = HexSide::kHex;
  uint32_t top_line = 0;   // the first line in view
  HexFind find;            // what was looked for last
  bool read_only = false;  // nothing changes the bytes, and there may be any number of them
};

// What an action did. Its window then shows the caret, paints and tells its parent, or the reason
// why nothing was done.
enum class HexEffect { kNone, kMoved, kChanged, kModeChanged, kRefused };
// What a command did; `refusal` is for the user, empty unless it was refused.
struct HexOutcome {
  HexEffect effect = HexEffect::kNone;
  const char16_t* refusal = u"";
};

// --- the lines in view
// The first line while the last one is in view; 0 where all lines are.
uint32_t LastTopLine(const HexView& view);
// Makes a line the first one, as far as there are lines for a page; the caret stays.
void ScrollTo(HexView& view, int64_t line);
// Scrolls as little as shows the caret.
void ShowCaretLine(HexView& view);
// Other bytes from the first line on, with nothing to undo.
void ShowBytes(HexView& view, std::vector<uint8_t> bytes);

// --- keys
// The arrows, Page Up and Down, Home and End, by virtual key code; `extend` with Shift, `whole`
// with Ctrl. False for any other key.
bool MoveByKey(HexView& view, uint32_t key, bool extend, bool whole);
void SwitchSide(HexView& view, HexSide side);
HexOutcome TypeCharacter(HexView& view, char16_t unit);
HexOutcome EraseBefore(HexView& view);

// --- commands
enum class HexCommand {
  kUndo,
  kRedo,
  kCut,
  kCopy,
  kPaste,
  kDelete,
  kSelectAll,
  kFind,
  kFindNext,
  kFindPrevious,
  kOverwrite,
  kSave,
};
// What there must be for a command to be offered.
enum class HexNeeds { kNothing, kDone, kUndone, kBytes, kSelection, kClipboard };

struct HexCommandRow {
  HexCommand command;
  const char16_t* text;  // in the menu; null: a further key of a command
  uint32_t key;          // virtual key code
  bool control;
  bool shift;
  HexNeeds needs;
  bool ends_group = false;  // a line follows it in the menu
};
// In the order of the menu.
std::span<const HexCommandRow> HexCommands();
// The row that a key stands for, null for none.
const HexCommandRow* HexCommandOfKey(uint32_t key, bool control, bool shift);
// False for what a view that is read only has no use for.
bool IsOffered(const HexCommandRow& row, const HexView& view);
// `text_on_clipboard`: whether there is text to be put in.
bool IsAvailable(const HexCommandRow& row, const HexView& view, bool text_on_clipboard);

// The commands that need neither the clipboard nor a dialog; for the others kNone.
HexOutcome RunOnBytes(HexView& view, HexCommand command);
// The selection as the clipboard has it: digits or characters, by the side.
std::u16string CopiedText(const HexView& view);
// The selected bytes, or all of them where none is, in another form. Nothing for more than
// kLongestCopied, as texts are several times as long.
inline constexpr uint32_t kLongestCopied = 8U << 20;  // bytes
std::optional<std::u16string> CopiedText(const HexView& view, CopyForm form,
                                         const FilePosition& file_position);
// What "Save to file" is about: the selection, else all.
HexRange SavedRange(const HexView& view);
// The clipboard's text in place of the selection, read as the side has it.
HexOutcome PutText(HexView& view, const std::u16string& text);

}  // namespace hivequarry
