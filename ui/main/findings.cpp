#include "ui/main/findings.h"

#include <system_error>
#include <utility>

#include "app/memory.h"
#include "host/long_operation.h"
#include "reports/check_list.h"
#include "ui/main/band.h"
#include "ui/main/freed.h"
#include "ui/main/main_window.h"

namespace hivequarry {
namespace {

// On the thread. What was stopped is no finding.
void Leave(Findings& findings, const HiveFindings& found, std::shared_ptr<const FreedTree> freed,
           HWND window, uint32_t serial) {
  if (StopRequested()) return;
  {
    const std::lock_guard lock(findings.mutex);
    findings.left = found;
    if (freed != nullptr) findings.left_freed = std::move(freed);
  }
  PostMessageW(window, kFindingsReady, serial, 0);
}

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
  found.sound = IsSound(checked.result);
  found.structure = {found.sound ? "sound" : VerdictWords(checked.result), checked.summary};
}

// What the thread works on. Image and tree stay as they are while it runs: whoever changes or frees
// them stops it first (StopFindings).
struct FindingRun {
  Findings& findings;
  const HiveImage& hive;
  const KeyTree& tree;
  HiveFindings found;
  HWND window;
  uint32_t serial;
};

// Freed records first, as they are shown in the tree; each finding is left as soon as it is known,
// so that a stop between loses the second alone.
// What there is no memory for stays unknown, as the band says.
void Find(FindingRun run) {
  const BackgroundWork work;
  WithMemory([&] {
    if (!run.found.freed_known) {
      Leave(run.findings, run.found, FindFreed(run.hive, run.tree, run.found), run.window,
            run.serial);
    }
    if (run.found.checked || StopRequested()) return true;
    Check(run.hive, run.found);
    Leave(run.findings, run.found, nullptr, run.window, run.serial);
    return true;
  });
}

void Take(Findings& findings) {
  const std::lock_guard lock(findings.mutex);
  findings.known = findings.left;
  if (findings.left_freed != nullptr) findings.freed = std::move(findings.left_freed);
}

}  // namespace

// What is known already is not looked for again.
void StartFindings(MainWindow& window) {
  StopFindings(window);
  Findings& findings = window.hive.findings;
  if (findings.known.freed_known && findings.known.checked) return;
  findings.left = findings.known;
  TheLongOperation().background_ends = false;
  FindingRun run{findings,       ShownHive(window), *window.hive.tree,
                 findings.known, window.handle,     ++findings.serial};
  try {
    findings.thread = std::thread(Find, std::move(run));
  } catch (const std::system_error&) {
    // The band goes on to say that these are not known.
  }
}

void StopFindings(MainWindow& window) {
  Findings& findings = window.hive.findings;
  TheLongOperation().background_ends = true;
  if (findings.thread.joinable()) findings.thread.join();
  TheLongOperation().background_ends = false;
}

void ForgetFindings(MainWindow& window) {
  StopFindings(window);
  Findings& findings = window.hive.findings;
  ++findings.serial;  // messages on their way are of the hive that goes
  findings.left = findings.known = HiveFindings();
  findings.left_freed = nullptr;
  findings.freed = nullptr;
}

void ShowFindings(MainWindow& window, uint32_t serial) {
  Findings& findings = window.hive.findings;
  if (serial != findings.serial || window.hive.slot < 0) return;
  const bool knew = findings.freed != nullptr;
  Take(findings);
  if (!knew && findings.freed != nullptr) ShowFreedKeys(window);
  RenewBand(window);
  RenewStateDetail(window);
}

}  // namespace hivequarry
