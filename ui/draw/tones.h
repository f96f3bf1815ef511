// The colours in force: the light ones, the dark ones, or those of the system where it asks for
// high contrast, which nothing of ours overrides. For the interface thread.
#pragma once

#include "app/settings.h"
#include "ui/draw/win.h"
#include "view/palette.h"

namespace hivequarry {

// The colours in force.
enum class ColourScheme : uint8_t { kLight, kDark, kHighContrast };

// One for the process. For the interface thread.
struct ColourState {
  ColourChoice choice = ColourChoice::kSystem;
  ColourScheme scheme = ColourScheme::kLight;
  // What the system says; tests put their own in place.
  bool (*is_system_dark)();
  bool (*is_high_contrast)();
};
// One for the process, for the interface thread alone.
ColourState& TheColours();

// Looks anew at what was chosen and at what the system says; whether another scheme is in force.
bool RenewColours();
// Whether the dark scheme is in force; false with high contrast, whose colours are the system's.
bool IsDark();

// In the scheme in force, so not to be kept: asked for at each drawing.
COLORREF ColourOf(Tone tone);
// Belongs to this room, and is right until the colours change.
HBRUSH BrushOf(Tone tone);
// The colour of a part of an icon, made light enough to be seen on dark grounds where those are in
// force. It can be told from white as before.
COLORREF SeenColour(COLORREF colour);
// As a picture has it, 0xRRGGBB.
uint32_t PlainColourOf(Tone tone);

// The theme of lists and of what else scrolls.
const wchar_t* ListTheme();

}  // namespace hivequarry
