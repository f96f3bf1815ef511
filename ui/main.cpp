// The desktop program.

#include "app/command_line.h"
#include "ui/main_window.h"
#include "ui/program.h"
#include "ui/text.h"
#include "ui/win.h"

int WINAPI WinMain(HINSTANCE instance, HINSTANCE, LPSTR, int show) {
  using namespace hivequarry;
  StartProgram(TheProgram());
  CommandLine line = ParseCommandLine(Utf8Name(ArgumentsOf(GetCommandLineW())));
  StartControls();
  MainWindow* window = CreateMainWindow(instance, show);
  if (window == nullptr) return 0;
  const HWND handle = window->handle;  // outlives the record
  CheckSurroundings(TheProgram().facts);
  CheckBackupRequest(line);
  OpenFromCommandLine(*window, line);
  return RunMessageLoop(handle);
}
