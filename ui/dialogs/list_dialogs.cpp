#include "ui/dialogs/list_dialogs.h"

#include <shellapi.h>

#include <algorithm>

#include "app/settings.h"
#include "host/host.h"
#include "ui/draw/text_size.h"
#include "ui/frame/modal.h"
#include "ui/frame/text.h"
#include "ui/resources/resource.h"

namespace hivequarry {
namespace {

// --- dialogs of the system -----------------------------------------------------------------------

// UTF-16 units, of one name or of several together with their folder; for more the dialog fails
// (FNERR_BUFFERTOOSMALL).
constexpr size_t kLongestName = 32768;

// After the folder's name, which a zero ends, follow those of the files when there are several.
std::vector<std::string> NamesIn(const std::wstring& names, size_t folder_end) {
  std::vector<std::string> files;
  const std::wstring folder = names.substr(0, folder_end);
  for (size_t start = folder_end + 1; start < names.size() && names[start] != L'\0';) {
    const size_t end = std::min(names.find(L'\0', start), names.size());
    files.push_back(Utf8Name(folder + (folder.ends_with(L'\\') ? L"" : L"\\") +
                             names.substr(start, end - start)));
    start = end + 1;
  }
  return files;
}

FileChoice AskFile(const FileRequest& request, bool save) {
  const ModalTurn turn(request.owner);
  std::wstring name = WideName(request.name);
  name.resize(kLongestName, L'\0');
  // A folder at the root of a drive has lost its separator.
  std::wstring folder;
  if (!request.folder.empty()) folder = WideName(request.folder + "\\");
  OPENFILENAMEW dialog{};
  dialog.lStructSize = sizeof dialog;
  dialog.hwndOwner = request.owner;
  dialog.lpstrTitle = request.title;
  dialog.lpstrFilter = request.filter;
  dialog.lpstrDefExt = request.extension;
  dialog.lpstrFile = name.data();
  dialog.nMaxFile = static_cast<DWORD>(name.size());
  dialog.lpstrInitialDir = folder.empty() ? nullptr : folder.c_str();
  // The current folder stays: names without one are relative to it.
  dialog.Flags = OFN_EXPLORER | OFN_HIDEREADONLY | OFN_NOCHANGEDIR | OFN_PATHMUSTEXIST;
  if (request.ask_to_replace) dialog.Flags |= OFN_OVERWRITEPROMPT;
  if (!save) dialog.Flags |= OFN_FILEMUSTEXIST;
  if (request.many) dialog.Flags |= OFN_ALLOWMULTISELECT;
  const BOOL chosen = save ? GetSaveFileNameW(&dialog) : GetOpenFileNameW(&dialog);
  if (chosen == FALSE) return {std::string(), CommDlgExtendedError()};
  FileChoice choice{Utf8Name(name.c_str()), 0, dialog.nFilterIndex};
  // Up to the first zero there is the folder, or the whole name of a single file.
  if (request.many) choice.names = NamesIn(name, std::wstring_view(name.c_str()).size());
  return choice;
}

// The handles that the dialog fills are ours to free, whatever its answer.
HDC AskPrinter(HWND owner) {
  const ModalTurn turn(owner);
  PRINTDLGW dialog{};
  dialog.lStructSize = sizeof dialog;
  dialog.hwndOwner = owner;
  dialog.Flags = PD_RETURNDC | PD_NOPAGENUMS | PD_NOSELECTION | PD_USEDEVMODECOPIESANDCOLLATE;
  const BOOL chosen = PrintDlgW(&dialog);
  if (dialog.hDevMode != nullptr) GlobalFree(dialog.hDevMode);
  if (dialog.hDevNames != nullptr) GlobalFree(dialog.hDevNames);
  return chosen != FALSE ? dialog.hDC : nullptr;
}

void StartNotepad(HWND owner, const std::string& file) {
  const std::wstring quoted = L"\"" + WideName(file) + L"\"";
  ShellExecuteW(owner, nullptr, L"notepad.exe", quoted.c_str(), nullptr, SW_SHOWNORMAL);
}

// --- dialogs of the program ----------------------------------------------------------------------

INT_PTR RunDialog(const wchar_t* name, HWND owner, DLGPROC procedure, void* argument) {
  const ModalTurn turn(owner);
  return ShowDialogBox(GetModuleHandleW(nullptr), name, owner, procedure,
                       reinterpret_cast<LPARAM>(argument));
}

INT_PTR CALLBACK SaveAsProc(HWND dialog, UINT message, WPARAM first, LPARAM second) {
  if (message == WM_INITDIALOG) {
    SetDlgItemTextW(dialog, kSaveAsFile, reinterpret_cast<const wchar_t*>(second));
    return TRUE;
  }
  const int control = LOWORD(first);
  if (message != WM_COMMAND) return FALSE;
  if (control == kSaveAsReplace || control == kSaveAsAppend || control == IDCANCEL) {
    EndDialog(dialog, control);
  }
  return TRUE;
}

SaveAs AskSaveAs(HWND owner, const std::string& file) {
  std::wstring name = WideName(file);
  switch (RunDialog(L"SAVEASDLG", owner, SaveAsProc, name.data())) {
    case kSaveAsReplace:
      return SaveAs::kReplace;
    case kSaveAsAppend:
      return SaveAs::kAppend;
    default:
      return SaveAs::kCancel;
  }
}

bool AskReplace(HWND owner, const std::string& file) {
  std::wstring name = WideName(file);
  return RunDialog(L"REPLACEDLG", owner, SaveAsProc, name.data()) == kSaveAsReplace;
}

struct SelectRequest {
  const OutputList& list;
  SelectChoice& choice;
};

// "(any column)" is before the columns, so places are one more than column numbers.
void FillColumns(HWND dialog, const OutputList& list, int chosen) {
  const HWND box = GetDlgItem(dialog, kSelectColumn);
  ComboBox_AddString(box, L"(any column)");
  for (int column = 0; column < ColumnCount(list); ++column) {
    ComboBox_AddString(box, WindowText(ColumnTitle(list, column)).c_str());
  }
  ComboBox_SetCurSel(box, chosen < ColumnCount(list) ? chosen + 1 : 0);
}

void StartSelect(HWND dialog, SelectRequest& request) {
  SetWindowLongPtrW(dialog, DWLP_USER, reinterpret_cast<LONG_PTR>(&request));
  FillTextBox(dialog, kSelectText, request.choice.text);
  FillColumns(dialog, request.list, request.choice.column);
  CheckDlgButton(dialog, kSelectAdd, request.choice.add ? BST_CHECKED : BST_UNCHECKED);
}

void EndSelect(HWND dialog, SelectChoice& choice) {
  const std::string text = ControlText(dialog, kSelectText);
  if (text.empty()) return;
  choice.text = text;
  choice.column = ComboBox_GetCurSel(GetDlgItem(dialog, kSelectColumn)) - 1;
  choice.add = IsTicked(dialog, kSelectAdd);
  EndDialog(dialog, IDOK);
}

INT_PTR CALLBACK SelectProc(HWND dialog, UINT message, WPARAM first, LPARAM second) {
  if (message == WM_INITDIALOG) {
    StartSelect(dialog, *reinterpret_cast<SelectRequest*>(second));
    return TRUE;
  }
  if (message != WM_COMMAND) return FALSE;
  const auto& request = *reinterpret_cast<SelectRequest*>(GetWindowLongPtrW(dialog, DWLP_USER));
  if (LOWORD(first) == IDOK) EndSelect(dialog, request.choice);
  if (LOWORD(first) == IDCANCEL) EndDialog(dialog, IDCANCEL);
  return TRUE;
}

}  // namespace

ListDialogs& TheListDialogs() {
  static ListDialogs dialogs{[](const FileRequest& request) { return AskFile(request, true); },
                             [](const FileRequest& request) { return AskFile(request, false); },
                             AskSaveAs,
                             AskPrinter,
                             StartNotepad,
                             AskReplace};
  return dialogs;
}

bool AskSelect(HWND owner, const OutputList& list, SelectChoice& choice) {
  SelectRequest request{list, choice};
  if (RunDialog(L"SELECTDLG", owner, SelectProc, &request) != IDOK) return false;
  AddToHistory(TheSettings().histories.list_finds, choice.text);
  return true;
}

std::string ControlText(HWND dialog, int control) {
  return Utf8Name(TextOfControl(GetDlgItem(dialog, control)));
}

std::string ControlFileName(HWND dialog, int control) {
  constexpr const char* kAround = " \t\"";
  const std::string name = ControlText(dialog, control);
  const size_t start = name.find_first_not_of(kAround);
  if (start == std::string::npos) return {};
  return name.substr(start, name.find_last_not_of(kAround) + 1 - start);
}

void FillTextBox(HWND dialog, int control, const std::string& text) {
  constexpr int kLongestText = 63;  // as the settings keep them
  const HWND box = GetDlgItem(dialog, control);
  ComboBox_LimitText(box, kLongestText);
  for (const std::string& used : TheSettings().histories.list_finds) {
    ComboBox_AddString(box, WindowText(used).c_str());
  }
  SetWindowTextW(box, WindowText(text).c_str());
}

bool IsTicked(HWND dialog, int control) {
  return IsDlgButtonChecked(dialog, control) == BST_CHECKED;
}

}  // namespace hivequarry
