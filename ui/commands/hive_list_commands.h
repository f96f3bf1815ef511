// Commands that list what the hive holds.
#pragma once

#include <cstdint>

namespace hivequarry {

struct MainWindow;

// Lists of what the hive holds, made on a worker and shown in windows of their own.
void OnListBlockRuns(MainWindow& window);
void OnListRoots(MainWindow& window);
void OnListKeys(MainWindow& window);
// All keys of the hive shown, or those that no list leads to from the root, wherever they hang in
// the tree.
void ListAllKeys(MainWindow& window, bool disconnected);
void OnListValues(MainWindow& window);
void OnListLostValues(MainWindow& window);
void OnListFreedKeys(MainWindow& window);
void OnListFreedValues(MainWindow& window);
void OnMachine(MainWindow& window);

// What is wrong in the structure of the hive as it is shown; the state says the verdict afterwards.
void OnCheckStructure(MainWindow& window);

// The entries of the hive's logs, and what each of them that was applied did.
void OnListLogs(MainWindow& window);
void OnListLogChanges(MainWindow& window);

}  // namespace hivequarry
