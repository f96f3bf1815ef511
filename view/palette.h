// The colours of windows, by what they say: one row for each meaning, in light and in dark.
#pragma once

#include <cstdint>
#include <span>

namespace hivequarry {

enum class Tone : uint8_t {
  kWindow,  // behind lists, trees, edits and bytes
  kText,
  kFace,  // behind dialogs, bars and titles of columns
  kFaceText,
  kFaint,   // text that can't be used just now, hints
  kPale,    // what is not there any more, or not yet
  kFound,   // what was recovered
  kEdited,  // what was changed in memory
  kWarning,
  kOnlyA,  // of two hives compared
  kOnlyB,
  kDifferent,
  kSelection,
  kSelectionText,
  kDimmed,   // the selection of a pane without the focus; its text is kText
  kButton,   // a button at rest; the text of all three is kFaceText
  kHot,      // under the pointer, or pressed in for good
  kPressed,  // while it is held down
  kEdge,     // lines round controls and between columns
  kAccent,   // ticks, progress, the focus
  kCount
};
inline constexpr size_t kToneCount = static_cast<size_t>(Tone::kCount);

// 0xRRGGBB.
struct ToneColours {
  uint32_t light;
  uint32_t dark;
};
// Tones that the system has are its own in light; the table has what they are unless a user changed
// them.
ToneColours ColoursOfTone(Tone tone);

// A text as it is met on a ground.
struct TonePair {
  Tone text;
  Tone ground;
};
// All pairs in use, for tests of their contrast.
std::span<const TonePair> TonePairs();

// How far two colours are apart to the eye: from 1 (the same) to 21 (black and white).
double ContrastOf(uint32_t one, uint32_t other);
// The colour itself, or the first one on the way from it to white that has `least` contrast to a
// dark ground; white where none has.
uint32_t LiftedFrom(uint32_t ground, uint32_t colour, double least);

}  // namespace hivequarry
