// Files made of hives, and hives found in other files.
#pragma once

namespace hivequarry {

struct MainWindow;

// Asks how and where, and writes on a worker what the hive holds as a new hive that mounts again;
// what was left out or changed is shown as a list.
void OnSaveRepaired(MainWindow& window);
// Asks for a file and looks for hives, logs and pieces of them anywhere in it, on a worker. Rows of
// the list open what they are about.
void OnCarve(MainWindow& window);
// Asks for a folder and reads all hives in it, on a worker: a list of them, whose rows open each,
// and what they say of their machine.
void OnOpenMachine(MainWindow& window);

}  // namespace hivequarry
