#include "ui/commands/hive_list_commands.h"

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

#include "app/list_words.h"
#include "hive/hive_table.h"
#include "host/host.h"
#include "host/long_operation.h"
#include "reports/check_list.h"
#include "reports/file_pieces.h"
#include "reports/freed_lists.h"
#include "reports/hive_lists.h"
#include "reports/log_lists.h"
#include "reports/machine_report.h"
#include "ui/lists/list_window.h"
#include "ui/lists/list_work.h"
#include "ui/main/main_window.h"
#include "ui/main/status.h"

namespace hivequarry {
namespace {

// `make` runs on a worker; the list is handed over and shown on the interface thread. Null: the
// worker has said why, or was stopped.
template <typename Make>
void StartList(MainWindow& window, Make make) {
  const auto list = std::make_shared<OutputListPtr>();
  StartWork(
      window, kOperationList, [list, make] { *list = make(); },
      [&window, list] {
        if (*list != nullptr) OpenListWindow(window, std::move(*list));
      });
}

// A check that was stopped is no verdict.
void ShowChecked(MainWindow& window, CheckedHive& checked) {
  const CheckResult& result = checked.result;
  if (!result.stopped) {
    window.shown->structure = StructureOf(result, checked.summary);
    window.shown->findings.known.structure = window.shown->structure;
    window.shown->findings.known.checked = true;
    ShowHiveState(window);
    RenewBand(window);
    SetListTitle(*checked.list, "Structure: " + window.shown->structure.verdict);
  }
  ListPlace* place = OpenListWindow(window, std::move(checked.list));
  if (place == nullptr) return;
  place->keys = std::move(checked.row_keys);
  ShowPlaceStatus(*place, result.stopped ? " Stopped." : (" " + checked.summary).c_str());
}

}  // namespace

void OnListBlockRuns(MainWindow& window) {
  StartList(window, [file = ShownHive(window).file_name] { return ListBlockRunsAndTell(file); });
}

void OnListRoots(MainWindow& window) {
  StartList(window, [&hive = ShownHive(window), &tree = *window.shown->tree] {
    return ListRootKeys(hive, tree);
  });
}

namespace {

void ListKeysBelow(MainWindow& window, uint32_t item, const KeyListOptions& options) {
  StartList(window, [&hive = ShownHive(window), &tree = *window.shown->tree, item, options] {
    return ListKeyTree(hive, tree, item, options);
  });
}

}  // namespace

void ListAllKeys(MainWindow& window, bool disconnected) {
  KeyListOptions options;
  options.disconnected = disconnected;
  ListKeysBelow(window, 0, options);
}

void OnListKeys(MainWindow& window) {
  const uint32_t item = SelectedItem(window.shown->pane);
  if (item == kNoItem) return BeepAtUser();
  ListKeysBelow(window, item, {});
}

void OnListValues(MainWindow& window) {
  if (SelectedItem(window.shown->pane) == window.shown->tree->disconnected_values) {
    return OnListLostValues(window);
  }
  ValueListOptions options;
  options.branch = true;
  StartList(window, [&hive = ShownHive(window), &tree = *window.shown->tree,
                     item = SelectedItem(window.shown->pane),
                     options] { return ListKeyValues(hive, tree, item, options); });
}

void OnListLostValues(MainWindow& window) {
  StartList(window, [&hive = ShownHive(window), &tree = *window.shown->tree] {
    return ListDisconnectedValues(hive, tree, ValueListOptions());
  });
}

// The file is named in the window: rows lead to a state of that hive alone.
void OnListLogs(MainWindow& window) {
  StartList(window, [&hive = ShownHive(window)] {
    OutputListPtr list = ListLogs(hive);
    SetListSource(*list, hive.file_name);
    return list;
  });
}

void OnListLogChanges(MainWindow& window) {
  StartList(window, [&hive = ShownHive(window)] {
    OutputListPtr list = ListLogChanges(hive);
    SetListSource(*list, hive.file_name);
    return list;
  });
}

void OnListFreedKeys(MainWindow& window) {
  StartList(window, [&hive = ShownHive(window), &tree = *window.shown->tree] {
    return ListFreedKeys(hive, tree);
  });
}

void OnListFreedValues(MainWindow& window) {
  StartList(window, [&hive = ShownHive(window), &tree = *window.shown->tree] {
    return ListFreedValues(hive, tree, ValueListOptions());
  });
}

namespace {

// Which hive a row is of: that whose file it names.
std::vector<RowsOfHive> HivesOfRows(const MainWindow& window, const OutputList& list) {
  // The column with the hive's file.
  constexpr int kFile = 3;
  std::vector<RowsOfHive> rows;
  for (uint32_t row = 0; row < RowCount(list); ++row) {
    const auto of = std::ranges::find_if(window.hives, [&](const auto& hive) {
      return hive->slot >= 0 && HiveOfSlot(hive->slot).file_name == CellText(list, row, kFile);
    });
    rows.push_back({row, of == window.hives.end() ? kOfNoHive : (*of)->number});
  }
  return rows;
}

}  // namespace

// Of all hives that are open.
void OnMachine(MainWindow& window) {
  std::vector<MachineHive> hives;
  for (const auto& hive : window.hives) {
    if (hive->slot >= 0) hives.push_back({&HiveOfSlot(hive->slot), hive->tree.get()});
  }
  const auto list = std::make_shared<OutputListPtr>();
  StartWork(
      window, kOperationList, [list, hives] { *list = ListMachine(hives); },
      [&window, list, several = hives.size() > 1] {
        if (*list == nullptr) return;
        if (several) GiveHeadOfAll(window, **list);
        std::vector<RowsOfHive> rows = HivesOfRows(window, **list);
        ListPlace* const place = OpenListWindow(window, std::move(*list));
        if (place != nullptr && several) place->hives = std::move(rows);
      });
}

void OnCheckStructure(MainWindow& window) {
  const auto checked = std::make_shared<CheckedHive>();
  StartWork(
      window, kOperationList,
      [&hive = ShownHive(window), checked] {
        CheckListOptions options;
        options.least = CheckLevel::kNote;
        options.worst_first = true;
        *checked = CheckOpenedHive(hive, CheckedState::kReplayed, options);
        // The check itself may have come to its end before.
        checked->result.stopped |= StopRequested();  // while rows were made
      },
      [&window, checked] {
        if (checked->list != nullptr) ShowChecked(window, *checked);
      });
}

}  // namespace hivequarry
