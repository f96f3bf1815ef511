// The dialog in which a value's type and data are edited, as text, lines, number or bytes.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "ui/draw/win.h"

namespace hivequarry {

// In: the value as it is. Out, after OK alone: type and data as they are to be.
struct EditedValue {
  std::string key;   // as shown
  std::string name;  // as shown
  uint32_t type = 0;
  std::vector<uint8_t> data;
  // Where the byte at an offset inside the data is in the file, UINT32_MAX where the file has no
  // such byte; asked for the bytes of `data` as given. Empty when there is nothing to show.
  std::function<uint32_t(uint32_t)> file_position;
};

// Shows the dialog until the user closes it. True when he wants other data or another type, which
// `edit` then has; otherwise it is unchanged. Data of kMaxValueData bytes or more are not edited,
// nor made.
bool EditValue(HWND owner, EditedValue& edit);

}  // namespace hivequarry
