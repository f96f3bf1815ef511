// The pictures of the toolbar.
#pragma once

#include "ui/draw/canvas.h"

namespace hivequarry {

// `icon` is a ToolIcon.
void DrawToolIcon(const Canvas& canvas, int icon);

}  // namespace hivequarry
