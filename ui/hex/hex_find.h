// What to find in the bytes of a hex edit control, and the dialog that asks for it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "ui/draw/win.h"

namespace hivequarry {

enum class HexFindKind { kBytes, kText, kWideText };

struct HexFind {
  std::u16string text;  // as given: digits or characters
  HexFindKind kind = HexFindKind::kBytes;
  bool forward = true;
};

// The bytes to look for; nothing when the text is empty or does not fit its kind.
std::optional<std::vector<uint8_t>> SequenceOf(const HexFind& find);
// Asks with the dialog "HEXFINDDLG". True when the user wants to find: `find` is then what he chose
// and has a sequence. Otherwise `find` is unchanged.
bool AskHexFind(HWND owner, HexFind& find);

}  // namespace hivequarry
