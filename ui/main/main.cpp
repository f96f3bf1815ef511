// The desktop program.

#include "app/command_line.h"
#include "ui/draw/win.h"
#include "ui/frame/text.h"
#include "ui/live/backup_dialog.h"
#include "ui/main/main_window.h"
#include "ui/main/program.h"

int WINAPI WinMain(HINSTANCE instance, HINSTANCE, LPSTR, int show) {
  using namespace hivequarry;
  StartProgram(TheProgram());
  CommandLine line = ParseCommandLine(Utf8Name(ArgumentsOf(GetCommandLineW())));
  // Before there is a window: nothing is to be seen of a backup whose time has not come.
  if (IsBackupNotDue(line)) return 0;
  StartControls();
  MainWindow* window = CreateMainWindow(instance, show);
  if (window == nullptr) return 0;
  const HWND handle = window->handle;  // outlives the record
  CheckSurroundings(TheProgram().facts);
  CheckBackupRequest(line);
  const bool saved = RunUnattendedBackup(*window, line);
  OpenFromCommandLine(*window, line);
  const int code = RunMessageLoop(handle);
  return saved ? code : 1;
}
