// Check boxes that each stand for bits of a number.
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "live/live_lists.h"
#include "ui/draw/win.h"

namespace hivequarry {

// A box is ticked when any of its bits is set.
struct BitBox {
  int control;  // identifier in the dialog
  uint32_t bits;
};

// The boxes of the registry's root keys, numbered one after the other from `first` on.
constexpr std::array<BitBox, 4> RootBoxes(int first) {
  return {{{first, kLiveMachine},
           {first + 1, kLiveUser},
           {first + 2, kLiveUsers},
           {first + 3, kLiveConfig}}};
}

// Ticks those that have a bit in `bits`, and no others.
void TickBits(HWND dialog, std::span<const BitBox> boxes, uint32_t bits);
// All bits of the boxes that are ticked.
uint32_t TickedBits(HWND dialog, std::span<const BitBox> boxes);

}  // namespace hivequarry
