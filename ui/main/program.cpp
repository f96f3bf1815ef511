#include "ui/main/program.h"

#include "app/recent_keys.h"
#include "app/settings.h"
#include "ui/frame/text.h"
#include "ui/main/main_window.h"

namespace hivequarry {
namespace {

void Complain(const char* text) { ShowMessage(text, kProgramName, Icon::kExclamation); }

bool IsFolder(const std::string& name) {
  const DWORD attributes = GetFileAttributesW(WideName(name).c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

}  // namespace

void StartProgram(Program& program) {
  program.facts = ReadSystemFacts();
  NameProgramFiles(Utf8Name(ProgramPath()), program);
  program.in_recent = true;
  ReadSettings(program.settings_file, TheSettings());
  SettingsAsRead() = TheSettings();
  ReadRecentKeys(program.settings_file, TheRecentKeys());
}

void CheckSurroundings(const SystemFacts& facts) {
  if (facts.windows.empty()) Complain("Can not determine Windows directory !");
  if (facts.system.empty()) Complain("Can not determine System directory !");
  if (!IsKnown(facts.flags)) Complain("Unknown OS !");
}

void CheckBackupRequest(CommandLine& line) {
  if (line.backup_hives.empty() || IsFolder(line.backup_folder)) return;
  Complain("Invalid directory !");
  line.backup_hives.clear();
  line.backup_folder.clear();
}

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
  if (line.evidence) SetEvidenceMode(window, true);
  if (line.file.empty()) return;
  const bool ranged = line.has_range;
  OpenNamedFile(window, {line.file, ranged ? line.start_offset : 0, ranged ? line.end_offset : 0,
                         line.key_position});
}

int RunMessageLoop(HWND handle) {
  MSG message{};
  while (GetMessageW(&message, nullptr, 0, 0) > 0) HandleMessage(handle, message);
  return static_cast<int>(message.wParam);
}

}  // namespace hivequarry
