// The dialog that asks what to find in the bytes of a hex edit control.
#pragma once

#include "ui/draw/win.h"
#include "view/hex_view.h"

namespace hivequarry {

// Asks with the dialog "HEXFINDDLG". True when the user wants to find: `find` is then what he chose
// and has a sequence. Otherwise `find` is unchanged.
bool AskHexFind(HWND owner, HexFind& find);

}  // namespace hivequarry
