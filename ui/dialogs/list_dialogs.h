// What the commands of a list ask the user, and the programs of the system that they need.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "lists/output_list.h"
#include "ui/draw/win.h"

namespace hivequarry {

// What a file dialog is asked for. Pointers are looked at during the call alone.
struct FileRequest {
  HWND owner = nullptr;
  const wchar_t* title = nullptr;  // null: the system's
  const wchar_t* filter = L"";     // in the form of the file dialogs
  const wchar_t* extension = L"";
  bool ask_to_replace = false;
  bool many = false;   // several files may be chosen
  std::string folder;  // UTF-8, to begin with; empty: the system's choice
  std::string name;    // UTF-8, proposed; empty: none
};
struct FileChoice {
  std::string name;                     // UTF-8; empty: cancelled, or the dialog failed
  DWORD error = 0;                      // of the dialog (CommDlgExtendedError)
  DWORD type = 1;                       // of the filter's types the one chosen, counted from 1
  std::vector<std::string> names = {};  // of several files, with `many`; else empty
};
enum class SaveAs { kReplace, kAppend, kCancel };

// Tests answer in the dialogs' place.
struct ListDialogs {
  std::function<FileChoice(const FileRequest& request)> save;
  std::function<FileChoice(const FileRequest& request)> open;
  // What is to be done with a file (UTF-8 name) that exists.
  std::function<SaveAs(HWND owner, const std::string& file)> save_as;
  // A printer's device context, for the caller to delete; null when cancelled.
  std::function<HDC(HWND owner)> printer;
  // Opens a text file (UTF-8 name) in the system's editor.
  std::function<void(HWND owner, const std::string& file)> notepad;
  // Whether a file (UTF-8 name) that exists is to be replaced.
  std::function<bool(HWND owner, const std::string& file)> replace;
};
ListDialogs& TheListDialogs();

// Which rows to select: those where the text is in the column.
struct SelectChoice {
  std::string text;
  int column = -1;   // -1: any
  bool add = false;  // to those selected already
};
// Asks with the dialog "SELECTDLG" which rows of the list to select; true when the user wants to.
bool AskSelect(HWND owner, const OutputList& list, SelectChoice& choice);

// The text of a dialog's control; the name of a file without the blanks and quotes that come along
// when it is pasted; a box of texts used before; a tick.
std::string ControlText(HWND dialog, int control);
std::string ControlFileName(HWND dialog, int control);
void FillTextBox(HWND dialog, int control, const std::string& text);
bool IsTicked(HWND dialog, int control);

}  // namespace hivequarry
