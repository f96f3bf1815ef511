#include "ui/program.h"

#include "app/command_line.h"
#include "ui/main_window.h"
#include "ui/win.h"

namespace hivequarry {

void StartControls() {
  INITCOMMONCONTROLSEX classes{};
  classes.dwSize = sizeof classes;
  classes.dwICC = ICC_TREEVIEW_CLASSES | ICC_LISTVIEW_CLASSES | ICC_BAR_CLASSES |
                  ICC_PROGRESS_CLASS | ICC_STANDARD_CLASSES;
  InitCommonControlsEx(&classes);
  BufferedPaintInit();
}

std::wstring ArgumentsOf(std::wstring_view command_line) {
  size_t end = 0;
  if (!command_line.empty() && command_line[0] == L'"') {
    end = command_line.find(L'"', 1);
    end = end == std::wstring_view::npos ? command_line.size() : end + 1;
  } else {
    end = command_line.find_first_of(L" \t");
  }
  const size_t start = command_line.find_first_not_of(L" \t", end);
  return start == std::wstring_view::npos ? std::wstring()
                                          : std::wstring(command_line.substr(start));
}

void OpenFromCommandLine(MainWindow& window, const CommandLine& line) {
  if (line.file.empty()) return;
  const bool ranged = line.has_range;
  OpenNamedFile(window, line.file, ranged ? line.start_offset : 0, ranged ? line.end_offset : 0);
}

int RunMessageLoop(HWND handle) {
  MSG message{};
  while (GetMessageW(&message, nullptr, 0, 0) > 0) HandleMessage(handle, message);
  return static_cast<int>(message.wParam);
}

}  // namespace hivequarry
