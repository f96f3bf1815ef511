#include "ui/main/findings.h"

#include <system_error>
#include <utility>

#include "app/memory.h"
#include "hive/hive_table.h"
#include "host/long_operation.h"
#include "reports/check_list.h"
#include "ui/dialogs/hive_state_dialog.h"
#include "ui/frame/text.h"
#include "ui/main/band.h"
#include "ui/main/freed.h"
#include "ui/main/main_window.h"

namespace hivequarry {
namespace {

// What the thread works on. Image and tree stay as they are while it runs: whoever changes or frees
// them stops it first (StopFindings).
struct FindingRun {
  Findings& findings;
  const HiveImage& hive;
  const KeyTree& tree;
  HiveFindings found;
  HWND window;
  uint32_t serial;
  uint32_t number;  // of the hive in its window
};

// On the thread. What was stopped is no finding.
void Leave(const FindingRun& run, std::shared_ptr<const FreedTree> freed) {
  if (StopRequested()) return;
  {
    const std::lock_guard lock(run.findings.mutex);
    run.findings.left = run.found;
    if (freed != nullptr) run.findings.left_freed = std::move(freed);
  }
  PostMessageW(run.window, kFindingsReady, run.serial, run.number);
}

// On the findings' thread. `freed_cut`: the search came to one of its bounds.
std::shared_ptr<const FreedTree> FindFreed(const HiveImage& hive, const KeyTree& tree,
                                           HiveFindings& found) {
  std::shared_ptr<const FreedTree> freed = FindFreedTree(hive, tree);
  found.freed_known = true;
  found.freed_keys = freed->records.keys.size();
  found.freed_values = freed->records.values.size();
  found.freed_cut = freed->shortfalls != 0;
  return freed;
}

// The verdict and the counts alone; rows are made when the list is asked for.
void Check(const HiveImage& hive, HiveFindings& found) {
  CheckListOptions options;
  options.least = CheckLevel::kFault;
  options.most = 0;
  const CheckedHive checked = CheckOpenedHive(hive, CheckedState::kReplayed, options);
  found.checked = true;
  found.structure = StructureOf(checked.result, checked.summary);
}

// Freed records first, as they are shown in the tree; each finding is left as soon as it is known,
// so that a stop between loses the second alone.
// What there is no memory for stays unknown, as the band says.
void Find(FindingRun run) {
  const BackgroundWork work;
  WithMemory([&] {
    if (!run.found.freed_known) {
      Leave(run, FindFreed(run.hive, run.tree, run.found));
    }
    if (run.found.checked || StopRequested()) return true;
    Check(run.hive, run.found);
    Leave(run, nullptr);
    return true;
  });
}

void Take(Findings& findings) {
  const std::lock_guard lock(findings.mutex);
  findings.known = findings.left;
  if (findings.left_freed != nullptr) findings.freed = std::move(findings.left_freed);
}

// What is known already is not looked for again.
void StartOf(const MainWindow& window, WindowHive& hive) {
  Findings& findings = hive.findings;
  if (hive.slot < 0 || (findings.known.freed_known && findings.known.checked)) return;
  findings.left = findings.known;
  FindingRun run{findings,      HiveOfSlot(hive.slot), *hive.tree, findings.known,
                 window.handle, ++findings.serial,     hive.number};
  try {
    findings.thread = std::thread(Find, std::move(run));
  } catch (const std::system_error&) {
    // The band goes on to say that these are not known.
  }
}

}  // namespace

void StartFindings(MainWindow& window) {
  StopFindings(window);
  for (const auto& hive : window.hives) StartOf(window, *hive);
}

void StopFindings(MainWindow& window) {
  TheLongOperation().background_ends = true;
  for (const auto& hive : window.hives) {
    if (hive->findings.thread.joinable()) hive->findings.thread.join();
  }
  TheLongOperation().background_ends = false;
}

void ForgetFindings(MainWindow& window) {
  StopFindings(window);
  Findings& findings = window.shown->findings;
  ++findings.serial;  // messages on their way are of the hive that goes
  findings.left = findings.known = HiveFindings();
  findings.left_freed = nullptr;
  findings.freed = nullptr;
}

void ShowFindings(MainWindow& window, uint32_t serial, uint32_t number) {
  {
    const HiveTurn turn(window, number);
    Findings& findings = window.shown->findings;
    if (serial != findings.serial || window.shown->slot < 0) return;
    const bool knew = findings.freed != nullptr;
    Take(findings);
    if (!knew && findings.freed != nullptr) ShowFreedKeys(window);
  }
  if (window.viewed->slot < 0) return;
  RenewBand(window);
  RenewStateDetail(window);
  RenewHiveStateDialog(WideText(HiveStateNow(window)));
}

}  // namespace hivequarry
