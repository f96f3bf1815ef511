#include "view/machine_folder.h"

#include <filesystem>
#include <unordered_map>

#include "app/hive_folder.h"
#include "app/log_pairing.h"
#include "hive/hive_table.h"
#include "hive/kept_table.h"
#include "hive/opening.h"
#include "hive/root_evidence.h"
#include "host/files.h"
#include "host/host.h"
#include "host/long_operation.h"
#include "host/number_text.h"
#include "lists/list_rows.h"
#include "recovery/image_tree.h"
#include "reports/check_list.h"
#include "reports/hive_state.h"
#include "reports/machine_report.h"
#include "reports/timeline.h"

namespace hivequarry {
namespace {

namespace fs = std::filesystem;

struct FolderReader {
  std::string folder;
  MachineFolder result;
  MachineOverview overview = BeginOverview();
};

std::string LengthOf(const std::string& name) {
  std::error_code error;
  const auto size = fs::file_size(FilePath(name), error);
  return error ? std::string() : std::to_string(size);
}

// Its row opens nothing.
void AddFailed(FolderReader& reader, const std::string& name) {
  ++reader.result.failed;
  reader.result.opened.emplace_back();
  AddListRow(
      *reader.result.files,
      {NameWithin(reader.folder, name), "", "", "", "can't be opened", "", "", LengthOf(name)},
      kNoOffset);
}

// User and SID go into one cell, as either may be all that is known.
void AddHiveRow(FolderReader& reader, const std::string& name, const HiveImage& hive,
                const KeyTree& tree, const ImageSummary& counts) {
  const RootEvidence evidence = FindRootEvidence(hive);
  TimelineHive about;
  NameMachine(hive, tree, about);
  const char* between = !evidence.sid.empty() && !about.user.empty() ? ", " : "";
  AddListRow(
      *reader.result.files,
      {NameWithin(reader.folder, name), HiveKindName(KindOfHive(evidence)), ItemPath(hive, tree, 0),
       Concat({about.user, between, evidence.sid}), StateWords(hive), StructureVerdict(hive),
       std::to_string(counts.keys), LengthOf(name)},
      kNoOffset);
  reader.result.opened.push_back(name);
}

// Opens the hive, takes its row and its part of the overview, and frees it again: a folder may have
// more hives than there are slots. The tree goes before its slot does.
void ReadHive(FolderReader& reader, const std::string& name) {
  HiveTable& table = TheHiveTable();
  table.start_offset = table.end_offset = 0;
  table.logs = LogsOfHive(reader.result.paired, name, LogChoice());
  const int slot = OpenHive(name);
  if (slot < 0) {
    if (!StopRequested()) AddFailed(reader, name);
    return;
  }
  {
    KeyTree tree;
    const ImageSummary counts = BuildImageTree(HiveOfSlot(slot), TreeAlone(), tree);
    if (!counts.stopped && !tree.items.empty()) {
      AddHiveRow(reader, name, HiveOfSlot(slot), tree, counts);
      AddToOverview(reader.overview, {&HiveOfSlot(slot), &tree}, NameWithin(reader.folder, name));
    } else if (!counts.stopped) {
      AddFailed(reader, name);
    }
  }
  FreeHiveSlot(slot);
}

// By the labels in the overview's rows.
void FindTellers(FolderReader& reader) {
  constexpr int kFile = 3;
  MachineFolder& result = reader.result;
  std::unordered_map<std::string, std::string> names;
  for (uint32_t row = 0; row < RowCount(*result.files); ++row) {
    names.emplace(CellText(*result.files, row, 0), result.opened[row]);
  }
  for (uint32_t row = 0; row < RowCount(*result.overview); ++row) {
    const auto found = names.find(std::string(CellText(*result.overview, row, kFile)));
    result.told.push_back(found == names.end() ? std::string() : found->second);
  }
}

// What the table says of the hive that is shown is kept meanwhile.
void ReadHives(FolderReader& reader, const std::vector<std::string>& hives) {
  const Host& host = CurrentHost();
  const KeptHiveTable kept;
  host.progress_range(host.context, 100);
  for (size_t i = 0; i < hives.size() && !StopRequested(); ++i) {
    host.progress_position(host.context, static_cast<uint32_t>(i * 100 / hives.size()));
    ShowStatus(Concat({std::to_string(hives.size() - i), " hives left: ", hives[i]}).c_str());
    ReadHive(reader, hives[i]);
  }
  host.progress_range(host.context, 0);
}

// The first of them, and how many more there are.
std::string UnreadWords(const std::vector<UnreadPlace>& unread) {
  if (unread.empty()) return {};
  std::string words = "Can not read " + UnreadPlaceText(unread.front());
  if (unread.size() > 1) words += Concat({", and ", std::to_string(unread.size() - 1), " more"});
  return words + "\r\nHives in there are not in the lists.";
}

}  // namespace

MachineFolder ReadMachineFolder(const std::string& folder) {
  ShowStatus("Looking for hives ...");
  FolderReader reader;
  reader.folder = folder;
  MachineFolder& result = reader.result;
  const HivesOfFolder found = FindHivesOfFolder(folder);
  result.fault = UnreadWords(found.unread);
  result.hives = static_cast<uint32_t>(found.hives.size());
  result.logs = static_cast<uint32_t>(found.logs.size());
  if (found.hives.empty() && found.logs.empty()) {
    if (result.fault.empty()) result.fault = "No hive in " + folder;
    return std::move(result);
  }
  result.files = MakeOutputList(kListDetail);
  SetColumns(*result.files,
             {"File", "Kind", "Root", "User", "State", "Structure", "Keys", "Length"});
  SetListTitle(*result.files, "Hives of a machine");
  SetListSubtitle(*result.files, folder);
  result.paired = PairLogs(found.hives, found.logs);
  ReadHives(reader, found.hives);
  for (const std::string& log : found.logs) {
    AddListRow(*result.files,
               {NameWithin(reader.folder, log), "log", "", "", "", "", "", LengthOf(log)},
               kNoOffset);
    result.opened.emplace_back();
  }
  result.stopped = StopRequested();
  // What no hive tells is said there; after a stop the hives that were not read may have told it.
  if (!result.stopped) EndOverview(reader.overview);
  result.overview = std::move(reader.overview.list);
  SetListSubtitle(*result.overview, folder);
  FindTellers(reader);
  ShowStatus("");
  return std::move(result);
}

}  // namespace hivequarry
