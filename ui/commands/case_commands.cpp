#include "ui/commands/case_commands.h"

#include <cstring>
#include <memory>
#include <utility>

#include "app/opening_words.h"
#include "cases/carve.h"
#include "cases/repair.h"
#include "host/host.h"
#include "host/long_operation.h"
#include "host/number_text.h"
#include "ui/commands/case_dialogs.h"
#include "ui/dialogs/list_dialogs.h"
#include "ui/frame/folder_choice.h"
#include "ui/lists/list_saving.h"
#include "ui/lists/list_window.h"
#include "ui/lists/list_work.h"
#include "ui/main/main_window.h"
#include "view/machine_folder.h"

namespace hivequarry {
namespace {

// --- a repaired hive -----------------------------------------------------------------------------

// What was written and what was not, for the box at the end.
std::string RepairedWords(const Repaired& repaired, const RepairOptions& options,
                          const std::string& name) {
  const bool rebuilt = options.kind == RepairKind::kRebuilt;
  std::string words =
      Concat({name, "\r\n\r\n", rebuilt ? RepairCountsWords(repaired) + ", " : std::string(),
              std::to_string(repaired.bytes), " bytes, read back and verified."});
  if (repaired.recovered_left_out != 0) {
    words += Concat({"\r\nRecovered keys left out: ", Decimal(repaired.recovered_left_out), "."});
  }
  if (const std::string rows = RepairRowsWords(repaired); !rows.empty()) {
    words += Concat({"\r\n", rows, ", listed."});
  }
  return words;
}

// On the interface thread. The list of what was left out or changed is opened before the box, which
// then lies over it.
void ShowRepaired(MainWindow& window, Repaired& repaired, const RepairOptions& options,
                  const std::string& name) {
  if (repaired.fault != RepairFault::kNone) {
    const std::string why = RepairFaultWords(repaired, name);
    ShowMessage(why.c_str(), kProgramName, Icon::kExclamation);
    return;
  }
  const std::string words = RepairedWords(repaired, options, name);
  // The words are made before, as they count the rows.
  if (RowCount(*repaired.rows) != 0) OpenListWindow(window, std::move(repaired.rows));
  ShowMessage(words.c_str(), kProgramName, Icon::kInformation);
}

// --- carving -------------------------------------------------------------------------------------

// Filled by the worker but for the wish; the interface thread reads it when that has ended.
struct CarveJob {
  CarveWish wish;
  CarvedFile carved;
  std::string fault;  // of what was to be written
  bool stopped = false;
};

// On the worker: nothing of the window is touched. After a stop what was found so far stays.
void Carve(CarveJob& job) {
  job.carved = CarveFile(job.wish.file, {job.wish.holes});
  if (job.carved.error == 0) TellOfUnread(job.wish.file, job.carved.unread);
  if (!job.wish.folder.empty() && job.carved.error == 0 && !StopRequested()) {
    WriteCarved(job.carved, {job.wish.folder, false}, job.fault);
  }
  job.stopped = StopRequested();
}

// What a window can open: a file that was written, or one stretch whose positions have 32 bits.
NamedFile FileOfRow(const CarvedFile& carved, const Carved& each) {
  if (!each.file.empty()) return {each.file};
  const FileRange& part = each.parts.front();
  // Logs are not opened by themselves.
  const bool whole = each.kind == CarvedKind::kHive || each.kind == CarvedKind::kCutHive ||
                     each.kind == CarvedKind::kFragment || each.kind == CarvedKind::kPart;
  const uint64_t end = part.position + each.length;
  if (!whole || each.parts.size() != 1 || end > UINT32_MAX) return {};
  return {carved.name, static_cast<uint32_t>(part.position), static_cast<uint32_t>(end)};
}

std::string CarvedWords(const CarveJob& job) {
  size_t hives = 0;
  size_t pieces = 0;
  size_t logs = 0;
  for (const Carved& each : job.carved.found) {
    const bool log = each.kind == CarvedKind::kLog || each.kind == CarvedKind::kLogEntries;
    hives += each.kind == CarvedKind::kHive ? 1 : 0;
    pieces += each.hive() && each.kind != CarvedKind::kHive ? 1 : 0;
    logs += log ? 1 : 0;
  }
  return Concat({job.stopped ? " Stopped: " : " ", std::to_string(hives), " hives, ",
                 std::to_string(pieces), " pieces of hives, ", std::to_string(logs), " logs; ",
                 std::to_string(job.carved.zeros), " of ", std::to_string(job.carved.size),
                 " bytes are zeros"});
}

// Rows lead to the files written, else to the range of the image where that can be opened as a
// hive.
void ShowCarved(MainWindow& window, CarveJob& job) {
  if (job.carved.error != 0) {
    const std::string why =
        Concat({"Can not open ", job.wish.file, " (", std::strerror(job.carved.error), ")"});
    ShowMessage(why.c_str(), kProgramName, Icon::kExclamation);
    return;
  }
  ListPlace* place = OpenListWindow(window, ListCarved(job.carved));
  if (place != nullptr) {
    for (const Carved& each : job.carved.found) {
      place->files.push_back(FileOfRow(job.carved, each));
    }
    ShowPlaceStatus(*place, CarvedWords(job).c_str());
  }
  if (!job.fault.empty()) ShowMessage(job.fault.c_str(), kProgramName, Icon::kExclamation);
}

// --- a machine -----------------------------------------------------------------------------------

std::string MachineWords(const MachineFolder& machine) {
  std::string words = Concat({machine.stopped ? " Stopped: " : " ", Decimal(machine.hives),
                              " hives, ", Decimal(machine.logs), " logs"});
  if (machine.failed != 0) words += Concat({"; can't be opened: ", Decimal(machine.failed)});
  return words;
}

// Read with the logs that it was read with for the lists.
NamedFile FileOfMachine(const MachineFolder& machine, const std::string& name, uint32_t key) {
  return {name, 0, 0, key, LogsOfHive(machine.paired, name, LogChoice())};
}

// The rows' positions are those of their own hives.
void ShowMachine(MainWindow& window, MachineFolder& machine) {
  if (!machine.fault.empty()) {
    ShowMessage(machine.fault.c_str(), kProgramName, Icon::kExclamation);
  }
  if (machine.files == nullptr) return;
  const std::string words = MachineWords(machine);
  if (ListPlace* place = OpenListWindow(window, std::move(machine.overview)); place != nullptr) {
    for (uint32_t row = 0; row < machine.told.size(); ++row) {
      place->files.push_back(
          FileOfMachine(machine, machine.told[row], RowDatum(*place->model, row)));
    }
    ShowPlaceStatus(*place, words.c_str());
  }
  if (ListPlace* place = OpenListWindow(window, std::move(machine.files)); place != nullptr) {
    for (const std::string& name : machine.opened) {
      place->files.push_back(FileOfMachine(machine, name, kNoOffset));
    }
    ShowPlaceStatus(*place, words.c_str());
  }
}

}  // namespace

void OnSaveRepaired(MainWindow& window) {
  RepairOptions options;
  if (!AskRepair(window.handle, options)) return;
  FileRequest request;
  request.title = L"Save repaired hive";
  request.filter = L"All files (*.*)\0*.*\0";
  const std::string name = ChooseFile(window.handle, true, kFolderHives, request);
  if (name.empty()) return;
  const auto repaired = std::make_shared<Repaired>();
  StartWork(
      window, kOperationRepair,
      [&hive = ShownHive(window), &tree = *window.shown->tree, repaired, options, name] {
        *repaired = RepairHive(hive, tree, options, name);
      },
      [&window, repaired, options, name] {
        // Without rows there was no memory, which was said.
        if (repaired->rows != nullptr) ShowRepaired(window, *repaired, options, name);
      });
}

void OnOpenMachine(MainWindow& window) {
  const std::string& last = TheSettings().folders[kFolderHives];
  const std::string folder = TheFolderChooser()(window.handle, last);
  if (folder.empty()) return;
  const auto machine = std::make_shared<MachineFolder>();
  StartWork(
      window, kOperationMachine, [machine, folder] { *machine = ReadMachineFolder(folder); },
      [&window, machine] { ShowMachine(window, *machine); });
}

void OnCarve(MainWindow& window) {
  const auto job = std::make_shared<CarveJob>();
  if (!AskCarve(window.handle, job->wish)) return;
  StartWork(
      window, kOperationCarve, [job] { Carve(*job); },
      [&window, job] { ShowCarved(window, *job); });
}

}  // namespace hivequarry
