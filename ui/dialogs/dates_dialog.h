// The dialog that asks which keys to list by their dates.
#pragma once

#include <cstdint>

#include "reports/key_dates.h"
#include "ui/draw/win.h"

namespace hivequarry {

// Commands of the dialog that set the start of the range to some time back from now; the menu of
// its button offers the first three. The last ones set the range to the time up to the hive's last
// activity.
enum DatePreset : int {
  kPresetHour = 4531,
  kPresetDay,
  kPresetWeek,
  kPreset4Minutes,
  kPreset10Minutes,
  kPreset30Minutes,
  kPresetLastHour,
  kPresetLastDay,
  kPresetLastWeek,
  kPresetLastMonth,
};

// The local time, and a time so many seconds before another.
KeyDateTime LocalTimeNow();
KeyDateTime SecondsBefore(const KeyDateTime& time, uint32_t seconds);

// Asks with the dialog "KEYDATESDLG"; it begins with TheSettings().dates, which become what the
// user chose. `last_activity`: of the hive, FILETIME, 0 for none. False when he wants no list.
bool AskKeyDates(HWND owner, uint64_t last_activity, KeyDateRange& range);

}  // namespace hivequarry
