// Commands for the special reports, and what a row of class registrations offers.
#pragma once

#include "reports/structure_reports.h"

namespace hivequarry {

struct MainWindow;
struct ListPlace;

void StartReport(MainWindow& window, Report report);
void StartLiveReport(MainWindow& window, Report report);
template <Report kReport>
void OnReport(MainWindow& window) {
  StartReport(window, kReport);
}
template <Report kReport>
void OnLiveReport(MainWindow& window) {
  StartLiveReport(window, kReport);
}

void OnCopyClassId(ListPlace& place);

}  // namespace hivequarry
