// Commands for the special reports, and what a row of class registrations offers.
#pragma once

#include "evidence/decoders.h"
#include "reports/structure_reports.h"

namespace hivequarry {

struct MainWindow;
struct ListPlace;

// A list window that a worker fills: with the report of the selected branch, or of the live
// registry from the report's own root on (ReportInfo::live_root).
void StartReport(MainWindow& window, Report report);
void StartLiveReport(MainWindow& window, Report report);
template <Report kReport>
void OnReport(MainWindow& window) {
  StartReport(window, kReport);
}
// Likewise with what a decoder finds at or below the selected key.
void StartDecoder(MainWindow& window, const DecoderInfo& decoder);
template <size_t kDecoder>
void OnDecoder(MainWindow& window) {
  StartDecoder(window, kDecoders[kDecoder]);
}
template <Report kReport>
void OnLiveReport(MainWindow& window) {
  StartLiveReport(window, kReport);
}

// That of the row in focus, to the clipboard; a beep where it has none.
void OnCopyClassId(ListPlace& place);

}  // namespace hivequarry
