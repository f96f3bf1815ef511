#include "ui/frame/help.h"

#include <shellapi.h>

#include "host/host.h"
#include "host/output_file.h"
#include "ui/frame/host_window.h"
#include "ui/frame/text.h"
#include "ui/resources/resource.h"

namespace hivequarry {
namespace {

bool IsFile(const std::string& name) {
  const DWORD attributes = GetFileAttributesW(WideName(name).c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

// Where the page that leads to a topic is made. It is the same page every time, so a browser that
// is slow to start finds it whatever was asked for since. Empty when the system names no place.
std::string LeadingPageFile(int topic) {
  wchar_t folder[MAX_PATH + 2] = L"";
  const DWORD length = GetTempPathW(MAX_PATH + 1, folder);
  if (length == 0 || length > MAX_PATH + 1) return {};
  return Utf8Name(folder) + "hivequarry-help-" + std::to_string(topic) + ".html";
}

// False when the file cannot be written whole; the one before stays then.
bool MakePage(const std::string& file, const std::string& page) {
  OutputFile output;
  int error = 0;
  if (file.empty() || !OpenOutput(file, OutputMode::kReplace, output, error)) return false;
  WriteOutput(output, page);
  return CloseOutput(output, true);
}

// The file that opens as the help at a topic: the help itself, also when no page that leads into
// it can be made.
std::string FileToOpen(const std::string& help, int topic) {
  const std::string anchor = HelpAnchor(topic);
  if (anchor.empty()) return help;
  // The system opens files, not addresses within them: a page of its own leads on to the anchor.
  const std::string page = LeadingPageFile(topic);
  return MakePage(page, LeadingPage(FileAddress(help, anchor))) ? page : help;
}

bool OpenInBrowser(HWND owner, const std::string& file) {
  SHELLEXECUTEINFOW request{};
  const std::wstring name = WideName(file);
  request.cbSize = sizeof request;
  request.fMask = SEE_MASK_FLAG_NO_UI;
  request.hwnd = owner;
  request.lpFile = name.c_str();
  request.nShow = SW_SHOWNORMAL;
  return ShellExecuteExW(&request) != FALSE;
}

// Dialogs by a control that no other one has.
struct DialogTopic {
  int control;
  HelpTopic topic;
};
constexpr DialogTopic kDialogTopics[] = {
    {kFindText, kHelpOutputLists},   {kSaveAsFile, kHelpOutputLists},
    {kSelectText, kHelpOutputLists}, {kHexFindWhat, kHelpValueEditor},
    {kEditKey, kHelpValueEditor},    {kPositionText, kHelpValueEditor},
    {kRecentList, kHelpBookmarks},   {kBookmarkWordsNote, kHelpBookmarks},
    {kPermissionSid, kHelpSecurity}, {kReplaceFrom, kHelpSecurity},
    {kRootPathText, kHelpRoot},      {kCompareFile, kHelpCompareHives},
    {kTimelineFreed, kHelpTimeline}};

// A dialog is known by a control that it alone has.
HelpTopic TopicOf(HWND dialog, HelpTopic otherwise) {
  for (const DialogTopic& known : kDialogTopics) {
    if (GetDlgItem(dialog, known.control) != nullptr) return known.topic;
  }
  return otherwise;
}

void Complain(const std::string& text) {
  ShowMessage(text.c_str(), kProgramName, Icon::kExclamation);
}

}  // namespace

void ShowHelp(HWND owner, int topic) {
  const std::string help = HelpFileOf(Utf8Name(ProgramPath()));
  if (!IsFile(help)) return Complain("Can not find help file !\r\n(" + help + ")");
  if (!OpenInBrowser(owner, FileToOpen(help, topic))) {
    Complain("Can not open help file !\r\n(" + help + ")");
  }
}

void ShowHelpFor(HWND window, LPARAM asked, HelpTopic topic) {
  const auto& info = *reinterpret_cast<const HELPINFO*>(asked);
  const bool in_menu = info.iContextType != HELPINFO_WINDOW;
  const HWND dialog = in_menu ? window : GetAncestor(static_cast<HWND>(info.hItemHandle), GA_ROOT);
  ShowHelp(dialog, TopicOf(dialog, topic));
}

}  // namespace hivequarry
