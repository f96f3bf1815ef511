// Lists on paper.
#pragma once

#include <functional>

#include "lists/list_writers.h"
#include "ui/draw/win.h"

namespace hivequarry {

struct ListPlace;

// What is printed on, in the device's units. The page functions say whether the page could be
// started or ended.
struct PrintTarget {
  HDC dc = nullptr;
  int width = 0;  // of the page
  int height = 0;
  std::function<bool()> start_page;
  std::function<bool()> end_page;
};

// Prints in a proportional font of 10 points; the number of pages.
int PrintListOn(PrintTarget& target, const OutputList& list, const WrittenRows& which);

// Commands of a list; called when guard and needs allow it.
//
// They ask for a printer and print on a worker.
void OnPrintList(ListPlace& place);
void OnPrintSelected(ListPlace& place);

}  // namespace hivequarry
