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
  uint32_t number = 0;  // of the hive in its window
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
  PostMessageW(run.window, kHashesReady, run.serial, run.number);
}

// Lists made before share the lines, and have the hashes from now on.
void RenewHead(MainWindow& window) {
  Hashing& hashing = window.shown->hashing;
  SetLines(*hashing.head, HiveHeadLines(ShownHive(window), hashing.hashes));
}

}  // namespace

void StartHashing(MainWindow& window) {
  Hashing& hashing = window.shown->hashing;
  StopHashing(hashing);
  const HiveImage& hive = ShownHive(window);
  HashRun run{hive.file_name, {}, ++hashing.serial, window.shown->number, window.handle};
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

void StopHashing(Hashing& hashing) {
  hashing.stop = true;
  if (hashing.thread.joinable()) hashing.thread.join();
  hashing.progress = HashProgress::kStopped;
}

namespace {

// False for what is no news any more.
bool TakeHashes(MainWindow& window, uint32_t serial) {
  Hashing& hashing = window.shown->hashing;
  if (serial != hashing.serial || !hashing.thread.joinable()) return false;
  hashing.thread.join();  // its last act was to post this message
  hashing.hashes = std::move(hashing.found);
  hashing.progress = HashProgress::kDone;
  if (window.shown->slot < 0) return false;
  RenewHead(window);
  return true;
}

}  // namespace

void ShowHashes(MainWindow& window, uint32_t serial, uint32_t number) {
  {
    const HiveTurn turn(window, number);
    if (!TakeHashes(window, serial)) return;
  }
  if (window.viewed->slot < 0) return;
  RenewBand(window);
  RenewStateDetail(window);
  RenewHiveStateDialog(WideText(HiveStateNow(window)));
}

std::u16string HiveStateNow(const MainWindow& window) {
  const Hashing& hashing = window.shown->hashing;
  return HiveStateText(ShownHive(window), window.shown->survey,
                       window.shown->findings.known.structure, hashing.hashes, hashing.progress);
}

}  // namespace hivequarry
