// Windows of two compared hives: one tree of the keys of both, and the values of the selected key
// side by side. The model is view/compare_tree.h.
#pragma once

#include <memory>

#include "ui/draw/win.h"
#include "view/compare_sides.h"

namespace hivequarry {

struct MainWindow;

inline constexpr wchar_t kCompareClassName[] = L"HivequarryCompare";
enum CompareChildId : int {
  kCompareHeadA = 1,
  kCompareHeadB,
  kCompareKeys,
  kCompareSplitter,
  kCompareValues,
  kCompareStatus,
};
// Of the menu's items: this and the number of the act.
inline constexpr int kCompareActs = 100;

// "Compare > Hive to hive...": asks, compares on a worker, opens the list of differences and the
// window.
void OnCompareHive(MainWindow& window);

// Null after "Can not create window !". The hives go with the window.
HWND OpenCompareWindow(MainWindow& window, std::shared_ptr<ComparedHives> hives);
// Carries out the keys of the window that a message is for; true when that used it up.
bool TranslateCompareKeys(MSG& message);
// Closes those that compare the hive of that number with another one, or all (kAnyHive), before it
// goes. No worker is at work.
void CloseCompareWindows(uint32_t hive);
// The dates of all of them are shown in the zone in force.
void RenewComparedDates();
// Closes the hives of windows that were closed while a worker was at work, if none is any more.
void ReleaseComparedHives();

}  // namespace hivequarry
