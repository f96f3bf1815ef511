// What is kept of the items of menus that are drawn here; within this room.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "ui/draw/win.h"
// After the platform's other headers.
#include <oleacc.h>

namespace hivequarry {

// The item's data is its address: WM_MEASUREITEM and WM_DRAWITEM tell nothing else of an item.
struct MenuItem {
  MSAAMENUINFO spoken{};  // the first member: screen readers look for it at the item's data
  HMENU menu = nullptr;
  UINT type = 0;  // MFT_*
  bool leads_on = false;
  std::wstring whole;
  std::wstring text;  // before a tab
  std::wstring key;   // and after it
};
using MenuItems = std::vector<std::unique_ptr<MenuItem>>;

// Reads the items as they are now, and has each drawn by the window that owns the menu; it keeps
// its text. What was read before goes, and so does what was read of menus that are no more.
void TakeItems(HMENU menu);
// The system draws them again. Of a menu that was not taken nothing is changed.
void GiveItemsBack(HMENU menu);
// Empty for a menu that was not taken.
const MenuItems& ItemsOf(HMENU menu);
// Null for data that is none of ours.
const MenuItem* ItemOfData(ULONG_PTR data);

}  // namespace hivequarry
