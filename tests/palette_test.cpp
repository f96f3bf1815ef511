// The colours of windows: that texts can be read on their grounds, and told from one another.
#include "view/palette.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace hivequarry {
namespace {

constexpr uint32_t ToneColours::*kSchemes[] = {&ToneColours::light, &ToneColours::dark};

int Number(Tone tone) { return static_cast<int>(tone); }

// As far as a screen's numbers say; texts need less contrast to one another than to their ground.
double DistanceOf(uint32_t one, uint32_t other) {
  double sum = 0;
  for (const int shift : {0, 8, 16}) {
    const double part =
        static_cast<int>(one >> shift & 0xFF) - static_cast<int>(other >> shift & 0xFF);
    sum += part * part;
  }
  return std::sqrt(sum);
}

TEST(PaletteTest, ContrastIsThatOfTheGuidelines) {
  EXPECT_NEAR(ContrastOf(0x000000, 0xFFFFFF), 21, 0.001);
  EXPECT_NEAR(ContrastOf(0xFFFFFF, 0x767676), 4.54, 0.005);
  EXPECT_NEAR(ContrastOf(0xFF0000, 0x00FF00), 2.91, 0.005);
  EXPECT_EQ(ContrastOf(0x123456, 0x123456), 1);
}

TEST(PaletteTest, TextsCanBeReadOnTheirGrounds) {
  constexpr double kLeastContrast = 4.5;
  for (const auto scheme : kSchemes) {
    for (const TonePair& pair : TonePairs()) {
      EXPECT_GE(ContrastOf(ColoursOfTone(pair.text).*scheme, ColoursOfTone(pair.ground).*scheme),
                kLeastContrast)
          << Number(pair.text) << " on " << Number(pair.ground)
          << (scheme == &ToneColours::dark ? ", dark" : ", light");
    }
  }
}

// Icons have dark lines on white sheets: these must be seen on dark grounds too, and not melt into
// their sheets.
TEST(PaletteTest, IconsAreLiftedJustEnough) {
  const uint32_t ground = ColoursOfTone(Tone::kFace).dark;
  EXPECT_EQ(LiftedFrom(ground, 0xFACC5C, 3), 0xFACC5CU);  // light enough as it is
  EXPECT_EQ(LiftedFrom(ground, 0, 100), 0xFFFFFFU);
  for (const uint32_t colour : {0x000000U, 0x344054U, 0x545E6CU, 0x1E64B4U, 0xC82E2EU}) {
    const uint32_t lifted = LiftedFrom(ground, colour, 3);
    EXPECT_GE(ContrastOf(lifted, ground), 3);
    EXPECT_GE(ContrastOf(lifted, 0xFFFFFF), 4);
  }
}

// Lines round controls, the marks of ticks and of progress are pictures too.
TEST(PaletteTest, EdgesAreSeen) {
  for (const Tone edge : {Tone::kEdge, Tone::kAccent}) {
    for (const Tone ground : {Tone::kWindow, Tone::kFace}) {
      EXPECT_GE(ContrastOf(ColoursOfTone(edge).dark, ColoursOfTone(ground).dark), 3);
    }
  }
}

// Of every text that says something there is a pair, so that none escapes the test above.
TEST(PaletteTest, EveryTextHasItsGround) {
  for (const Tone tone :
       {Tone::kText, Tone::kFaceText, Tone::kFaint, Tone::kPale, Tone::kFound, Tone::kEdited,
        Tone::kWarning, Tone::kOnlyA, Tone::kOnlyB, Tone::kDifferent, Tone::kSelectionText}) {
    EXPECT_NE(std::ranges::find(TonePairs(), tone, &TonePair::text), TonePairs().end())
        << Number(tone);
  }
}

TEST(PaletteTest, WhatIsSeenTogetherIsToldApart) {
  const std::vector<Tone> together[] = {
      {Tone::kText, Tone::kPale, Tone::kFound, Tone::kWarning},
      {Tone::kText, Tone::kPale, Tone::kEdited, Tone::kWarning},
      {Tone::kText, Tone::kOnlyA, Tone::kOnlyB, Tone::kDifferent},
      {Tone::kWindow, Tone::kDimmed, Tone::kSelection},
  };
  constexpr double kLeastDistance = 40;
  for (const auto scheme : kSchemes) {
    for (const std::vector<Tone>& tones : together) {
      for (size_t i = 0; i < tones.size(); ++i) {
        for (size_t j = i + 1; j < tones.size(); ++j) {
          EXPECT_GE(DistanceOf(ColoursOfTone(tones[i]).*scheme, ColoursOfTone(tones[j]).*scheme),
                    kLeastDistance)
              << Number(tones[i]) << " and " << Number(tones[j]);
        }
      }
    }
  }
}

}  // namespace
}  // namespace hivequarry
