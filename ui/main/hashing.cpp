#include "ui/main/hashing.h"

#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "app/memory.h"
#include "hive/replaying.h"
#include "ui/dialogs/hive_state_dialog.h"
#include "ui/frame/text.h"
#include "ui/main/main_window.h"

namespace hivequarry {
namespace {

// What the thread works on; nothing of the hive, which may go meanwhile.
struct HashRun {
  std::string hive;
  std::vector<std::string> logs;
  uint32_t serial = 0;
  HWND window = nullptr;
};

// On the thread. Hashes of logs in the order of their names in `run`; empty for a file that can't
// be read whole, or after a stop.
void HashFiles(Hashing& hashing, const HashRun& run) {
  WithMemory([&] {
    const auto stopped = [&hashing] { return hashing.stop.load(); };
    hashing.found.hive = HashOfFile(run.hive, stopped);
    for (const std::string& log : run.logs) {
      hashing.found.logs.push_back(stopped() ? std::string() : HashOfFile(log, stopped));
    }
    return true;
  });
  PostMessageW(run.window, kHashesReady, run.serial, 0);
}

// Lists made before share the lines, and have the hashes from now on.
void RenewHead(MainWindow& window) {
  Hashing& hashing = window.hive.hashing;
  SetLines(*hashing.head, HiveHeadLines(ShownHive(window), hashing.hashes));
}

}  // namespace

void StartHashing(MainWindow& window) {
  Hashing& hashing = window.hive.hashing;
  StopHashing(window);
  const HiveImage& hive = ShownHive(window);
  HashRun run{hive.file_name, {}, ++hashing.serial, window.handle};
  if (hive.logs != nullptr) {
    for (const HiveLog& log : hive.logs->logs) run.logs.push_back(log.name);
  }
  hashing.found = HiveHashes();
  hashing.hashes = HiveHashes();
  hashing.head = std::make_shared<ListHead>();
  RenewHead(window);
  hashing.stop = false;
  try {
    hashing.thread = std::thread([&hashing, run = std::move(run)] { HashFiles(hashing, run); });
    hashing.progress = HashProgress::kUnderWay;
  } catch (const std::system_error&) {
    hashing.progress = HashProgress::kStopped;  // the state says that there are none
  }
}

void StopHashing(MainWindow& window) {
  Hashing& hashing = window.hive.hashing;
  hashing.stop = true;
  if (hashing.thread.joinable()) hashing.thread.join();
  hashing.progress = HashProgress::kStopped;
}

void ShowHashes(MainWindow& window, uint32_t serial) {
  Hashing& hashing = window.hive.hashing;
  if (serial != hashing.serial || !hashing.thread.joinable()) return;
  hashing.thread.join();  // its last act was to post this message
  hashing.hashes = std::move(hashing.found);
  hashing.progress = HashProgress::kDone;
  if (window.hive.slot < 0) return;
  RenewHead(window);
  RenewBand(window);
  RenewStateDetail(window);
  RenewHiveStateDialog(WideText(HiveStateNow(window)));
}

std::u16string HiveStateNow(const MainWindow& window) {
  const Hashing& hashing = window.hive.hashing;
  return HiveStateText(ShownHive(window), window.hive.survey, window.hive.structure, hashing.hashes,
                       hashing.progress);
}

}  // namespace hivequarry
