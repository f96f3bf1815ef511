// The image lists of the panes and the toolbar, drawn by code at the size that is asked for.
#pragma once

#include "ui/draw/win.h"

namespace hivequarry {

struct IconLists {
  HIMAGELIST tree = nullptr;  // in the order of TreeIcon
  HIMAGELIST values =
      nullptr;  // ValueIcon, and its twins kErrorIconStep and kEditedIconStep further on
  HIMAGELIST tools = nullptr;  // in the order of ToolIcon
  HIMAGELIST faded_tools = nullptr;
};

// Small pictures of `small_size` pixels, toolbar pictures of `tool_size`. The caller owns the
// lists.
IconLists MakeIconLists(int small_size, int tool_size);
void FreeIconLists(IconLists& lists);

}  // namespace hivequarry
