// Colours of text that says more than plain text does, for the background in force.
#pragma once

#include "ui/draw/win.h"

namespace hivequarry {

// What differs, or is wrong: a red that can be read.
COLORREF WarningColour();
// What was recovered.
COLORREF FoundColour();
// What is not there any more, or not yet: between text and background.
COLORREF PaleColour();

}  // namespace hivequarry
