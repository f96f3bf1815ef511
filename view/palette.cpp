#include "view/palette.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace hivequarry {
namespace {

// By Tone. Where a text meets a ground that it did not meet before, the pair goes below: tests hold
// those to their contrast.
constexpr std::array<ToneColours, kToneCount> kTones = {{
    {0xFFFFFF, 0x1E1E1E},  // kWindow
    {0x000000, 0xE6E6E6},  // kText
    {0xF0F0F0, 0x2B2B2B},  // kFace
    {0x000000, 0xE6E6E6},  // kFaceText
    {0x6D6D6D, 0x9A9A9A},  // kFaint
    {0x666666, 0xA8A8A8},  // kPale
    {0x6030A0, 0xC8AAFF},  // kFound
    {0x0066CC, 0x6CB8FF},  // kEdited
    {0xB02010, 0xFF8C78},  // kWarning
    {0xB00020, 0xFF8C94},  // kOnlyA
    {0x007020, 0x7BD88F},  // kOnlyB
    {0x0040C0, 0x8AB4FF},  // kDifferent
    {0x0067C0, 0x0F5A9C},  // kSelection
    {0xFFFFFF, 0xFFFFFF},  // kSelectionText
    {0xBFD9EF, 0x37475A},  // kDimmed
    {0xE1E1E1, 0x3A3A3A},  // kButton
    {0xE5F1FB, 0x454545},  // kHot
    {0xCCE4F7, 0x555555},  // kPressed
    {0xA0A0A0, 0x767676},  // kEdge
    {0x0067C0, 0x4CA6F0},  // kAccent
}};

constexpr TonePair kPairs[] = {
    {Tone::kText, Tone::kWindow},
    {Tone::kText, Tone::kDimmed},
    {Tone::kFaceText, Tone::kFace},
    {Tone::kFaceText, Tone::kButton},
    {Tone::kFaceText, Tone::kHot},
    {Tone::kFaceText, Tone::kPressed},
    {Tone::kFaint, Tone::kWindow},
    {Tone::kFaint, Tone::kFace},
    {Tone::kPale, Tone::kWindow},
    {Tone::kPale, Tone::kFace},
    {Tone::kFound, Tone::kWindow},
    {Tone::kFound, Tone::kFace},
    {Tone::kEdited, Tone::kWindow},
    {Tone::kWarning, Tone::kWindow},
    {Tone::kWarning, Tone::kFace},
    {Tone::kOnlyA, Tone::kWindow},
    {Tone::kOnlyB, Tone::kWindow},
    {Tone::kDifferent, Tone::kWindow},
    {Tone::kSelectionText, Tone::kSelection},
};

// A part of a colour, 0 to 255, as light, 0 to 1: by the curve of sRGB.
double LightOf(uint32_t part) {
  const double share = part / 255.0;
  return share <= 0.04045 ? share / 12.92 : std::pow((share + 0.055) / 1.055, 2.4);
}

// By what the eye takes of red, green and blue for brightness.
double LuminanceOf(uint32_t colour) {
  return 0.2126 * LightOf(colour >> 16 & 0xFF) + 0.7152 * LightOf(colour >> 8 & 0xFF) +
         0.0722 * LightOf(colour & 0xFF);
}

}  // namespace

ToneColours ColoursOfTone(Tone tone) { return kTones[static_cast<size_t>(tone)]; }

std::span<const TonePair> TonePairs() { return kPairs; }

uint32_t LiftedFrom(uint32_t ground, uint32_t colour, double least) {
  constexpr uint32_t kSteps = 32;
  for (uint32_t step = 0; step < kSteps; ++step) {
    uint32_t lifted = 0;
    for (const int shift : {0, 8, 16}) {
      const uint32_t part = colour >> shift & 0xFF;
      lifted |= (part + (255 - part) * step / kSteps) << shift;
    }
    if (ContrastOf(lifted, ground) >= least) return lifted;
  }
  return 0xFFFFFF;
}

double ContrastOf(uint32_t one, uint32_t other) {
  const auto [less, more] = std::minmax({LuminanceOf(one), LuminanceOf(other)});
  // 0.05: the light that a screen in a room gives where it shows black.
  return (more + 0.05) / (less + 0.05);
}

}  // namespace hivequarry
