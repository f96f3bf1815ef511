#include "ui/dialogs/bit_boxes.h"

#include "ui/dialogs/list_dialogs.h"

namespace hivequarry {

void TickBits(HWND dialog, std::span<const BitBox> boxes, uint32_t bits) {
  for (const BitBox& box : boxes) {
    CheckDlgButton(dialog, box.control, (bits & box.bits) != 0 ? BST_CHECKED : BST_UNCHECKED);
  }
}

uint32_t TickedBits(HWND dialog, std::span<const BitBox> boxes) {
  uint32_t bits = 0;
  for (const BitBox& box : boxes) bits |= IsTicked(dialog, box.control) ? box.bits : 0;
  return bits;
}

}  // namespace hivequarry
