// What the commands ask that make files of hives, and find hives in other files.
#pragma once

#include <string>

#include "cases/repair.h"
#include "ui/draw/win.h"

namespace hivequarry {

// Asks with the dialog "REPAIRDLG" what the new hive is to hold. `options` is what it begins with,
// then what the user chose. False when he wants none.
bool AskRepair(HWND owner, RepairOptions& options);

struct CarveWish {
  std::string file;    // UTF-8
  bool holes = false;  // every stretch of zeros too
  std::string folder;  // for a file of each hive and log; empty: none are written
};
// The same with the dialog "CARVEDLG".
bool AskCarve(HWND owner, CarveWish& wish);

}  // namespace hivequarry
