// The hex edit control: a child window of class "HivequarryHex". Bytes as digits and as characters,
// with the offset of each line inside the value and its position in the file. Its window text is
// its accessible name.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <vector>

#include "ui/draw/win.h"
#include "view/hex_view.h"

namespace hivequarry {

inline constexpr wchar_t kHexClassName[] = L"HivequarryHex";

// Sent to the parent as WM_COMMAND codes.
inline constexpr WORD kHexChanged = 1;  // the bytes; the caret may have moved too
inline constexpr WORD kHexCaretMoved = 2;
inline constexpr WORD kHexModeChanged = 3;  // insert or overwrite
inline constexpr WORD kHexRefused = 4;      // nothing was done; HexRefusal says why
inline constexpr WORD kHexSave = 5;         // HexSaved is to be written to a file

// What a FilePosition returns for a byte that the file does not have.
inline constexpr uint32_t kHexNoPosition = kNoFilePosition;

// Once for the process, before the first of them; true when the class is there. Functions that take
// a control are for its thread.
bool RegisterHexClass(HINSTANCE instance);

// Shows other bytes, with nothing to undo. Positions in the file have no column of their own when
// the function is empty.
void SetHexBytes(HWND hex, std::vector<uint8_t> bytes, FilePosition file_position);
// The same of bytes that are only to be read, any number of them, at most 16 a line.
void ShowHexBytes(HWND hex, std::vector<uint8_t> bytes, FilePosition file_position);
// What "Save to file" is about; until the bytes are others.
std::span<const uint8_t> HexSaved(HWND hex);
// The width that lines of 16 bytes need, with the scroll bar and both columns of positions.
int HexWidthWanted(HWND hex);
// True for a key that is a command of the control, whatever it means elsewhere.
bool IsHexKey(HWND hex, const MSG& message);
// The control's own record, as long as it is there; it changes as the user types.
const HexBytes& HexBytesOf(HWND hex);
HexSide ActiveHexSide(HWND hex);
// Where the byte at an offset is in the file.
std::optional<uint32_t> HexFilePosition(HWND hex, uint32_t position);
// Words for the user.
const wchar_t* HexRefusal(HWND hex);
// The caret goes to its end and into view.
void SetHexSelection(HWND hex, HexRange range);
// The control follows its window's resolution by itself; this sets another one.
void SetHexDpi(HWND hex, uint32_t dpi);

}  // namespace hivequarry
