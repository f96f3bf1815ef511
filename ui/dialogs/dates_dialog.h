// The dialog that asks which keys to list by their dates.
#pragma once

#include <cstdint>

#include "reports/key_dates.h"
#include "ui/draw/win.h"

namespace hivequarry {

// Commands of the dialog that set the start of the range to some time back from now; the menu of
// its button offers the first three.
enum DatePreset : int {
  kPresetHour = 4531,
  kPresetDay,
  kPresetWeek,
  kPreset4Minutes,
  kPreset10Minutes,
  kPreset30Minutes,
};

// The local time, and a time so many seconds before another.
KeyDateTime LocalTimeNow();
KeyDateTime SecondsBefore(const KeyDateTime& time, uint32_t seconds);

// Asks with the dialog "KEYDATESDLG"; it begins with TheSettings().dates, which become what the
// user chose. False when he wants no list.
bool AskKeyDates(HWND owner, KeyDateRange& range);

}  // namespace hivequarry
