// Showing a key in the system's own registry editor. The editor has no interface for that: its
// windows are driven from outside, and the texts of its tree are read out of its process. All of it
// may take seconds and belongs on a worker; a stop that the user asks for ends it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "ui/draw/win.h"

namespace hivequarry {

inline constexpr int kEditorReached = 1;
inline constexpr int kEditorMissing = -1;

// Brings the editor forward, started when it does not run, with the key selected, or the nearest
// one above it that the registry has. Only the first 32 names of a path are walked. The path is
// UTF-8, its root in long or short form; one without a registry root leaves the selection alone.
// The value, UTF-8 and empty for none, is looked up in the editor's list when the whole path was
// there. Returns kEditorReached even if the key was not; kEditorMissing, after the message
// "Unable to launch Regedit !" unless the user stopped it, when there is no editor.
int GoToRegedit(std::string_view key_path, std::string_view value_name);
// How lists name a key's default value. The editor has it in the first row, under a name in the
// user's language.
inline constexpr std::string_view kDefaultValue = "(Default value)";

// The text, at most 259 characters, of an item of the running editor's tree. False when there is no
// editor or it can not be read; `text` is unchanged then.
bool ReadEditorItemText(HTREEITEM item, std::wstring& text);

// What the system said when driving the editor failed last, UTF-8; emptied by GoToRegedit. For the
// thread that drives it, and for others when that has ended.
std::string& EditorErrorText();

// The record in which a tree control of the other process is asked for an item: byte offsets of its
// fields, by the word size of that process. Handle and pointer take a word.
struct ItemRecordLayout {
  size_t size;
  size_t word;
  size_t item;
  size_t text;
  size_t capacity;
};
inline constexpr ItemRecordLayout kItemRecord32 = {40, 4, 4, 16, 20};
inline constexpr ItemRecordLayout kItemRecord64 = {56, 8, 8, 24, 32};

using ItemRecord = std::array<uint8_t, kItemRecord64.size>;
// A record that asks for the text of an item, to be written to `text` in the other process.
ItemRecord MakeItemRecord(const ItemRecordLayout& layout, uint64_t item, uint64_t text);
// Where the control says that the text is.
uint64_t TextOfRecord(const ItemRecordLayout& layout, const ItemRecord& record);

// Milliseconds that the editor is given to settle, by a figure of this machine's speed.
uint32_t SettleDelay(uint32_t speed);
// Thousands of steps of a small calculation that this machine does in a millisecond.
uint32_t SpeedFigure();

}  // namespace hivequarry
