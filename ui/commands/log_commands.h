// Commands about the state of the hive shown and its transaction logs. None of them writes a file.
#pragma once

#include <cstdint>

#include "replay/replay_plan.h"

namespace hivequarry {

struct ListPlace;
struct MainWindow;

// The dialog with all that is known of the hive's state.
void OnHiveState(MainWindow& window);

// The hive is loaded again with other logs: none, those beside it, those that the user chooses, or
// no entry after the one that he names. What was edited in memory goes, which is asked first.
void OnLogsNone(MainWindow& window);
void OnLogsAuto(MainWindow& window);
void OnLogsChosen(MainWindow& window);
void OnLogsUntil(MainWindow& window);
void ShowWithLogs(MainWindow& window, const LogChoice& choice);

// The same with the entry of the row in focus of a list about logs as the last one.
void OnShowAsOf(ListPlace& place);

}  // namespace hivequarry
