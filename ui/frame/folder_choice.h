// The system's dialog that asks for a folder.
#pragma once

#include <functional>
#include <string>

#include "ui/draw/win.h"

namespace hivequarry {

// Begins at `folder` where that is one; empty when cancelled. Tests answer in its place. UTF-8.
using FolderChooser = std::function<std::string(HWND owner, const std::string& folder)>;
FolderChooser& TheFolderChooser();

}  // namespace hivequarry
