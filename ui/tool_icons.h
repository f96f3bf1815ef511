// The pictures of the toolbar.
#pragma once

#include "ui/canvas.h"

namespace hivequarry {

// `icon` is a ToolIcon.
void DrawToolIcon(const Canvas& canvas, int icon);

}  // namespace hivequarry
