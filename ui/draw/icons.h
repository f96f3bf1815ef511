// The image lists of the panes and the toolbar, drawn by code at the size that is asked for.
#pragma once

#include "ui/draw/win.h"

namespace hivequarry {

struct IconLists {
  HIMAGELIST tree = nullptr;  // in the order of TreeIcon
  // In the order of ValueIcon; twins are kErrorIconStep and kEditedIconStep further on.
  HIMAGELIST values = nullptr;
  HIMAGELIST tools = nullptr;        // in the order of ToolIcon
  HIMAGELIST faded_tools = nullptr;  // the same, of buttons that can not be used
  HIMAGELIST states = nullptr;       // in the order of HiveMark
};

// Small pictures of `small_size` pixels, toolbar pictures of `tool_size`. The caller owns the
// lists.
IconLists MakeIconLists(int small_size, int tool_size);
// Only when no control uses them any more; the record is empty afterwards.
void FreeIconLists(IconLists& lists);

}  // namespace hivequarry
