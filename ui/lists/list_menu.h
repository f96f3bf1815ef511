// The context menu of a list, and carrying out its commands.
#pragma once

#include <cstdint>

#include "ui/draw/win.h"

namespace hivequarry {

struct ListPlace;

// The context menu of the list's commands, for the caller to destroy.
HMENU MakeListMenu(const ListPlace& place);
// The context menu at a screen point, or at the focused row for (-1, -1).
void TrackListMenu(ListPlace& place, POINT where);
// WM_CONTEXTMENU from the list or its header; false from any other window.
bool OnListContextMenu(ListPlace& place, HWND from, POINT where);

// Carries out one of the list commands (list_commands.h) for this list, unless its guard refuses
// it or it needs rows, a selection or the like that are not there.
void RunListCommand(ListPlace& place, uint32_t number);
bool IsListCommandAvailable(const ListPlace& place, uint32_t number);

}  // namespace hivequarry
