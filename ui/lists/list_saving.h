// Lists as text files and on the clipboard.
#pragma once

#include <new>
#include <string>

#include "app/settings.h"
#include "host/output_file.h"
#include "lists/list_writers.h"
#include "ui/lists/list_place.h"

namespace hivequarry {

struct FileChoice;
struct FileRequest;

// What is said of a file that could not be written: two wordings, as each place is to have its own.
inline constexpr const char* kFileNotWritten = "Could Not Open or Create File %s";
inline constexpr const char* kFileNotOpened = "Could Not Open or Create File %s !";

// Writes the rows to a file (UTF-8 name), after an empty line when it is appended to, and says how
// many, or what went wrong. False on failure.
bool SaveListText(const OutputList& list, const WrittenRows& which, const std::string& file,
                  OutputMode mode);
// Says how many rows were saved, unless it is none.
void ReportSaved(uint32_t rows, const std::string& more = {});
// Opens a file to be written anew or appended to; false after `failure` was shown with its name.
bool OpenListFile(const std::string& file, OutputMode mode, const char* failure, OutputFile& out);
// Shows a failure's text with the file's name (UTF-8) in place of its "%s", and why when the file
// is one that no output takes the place of.
void ReportFileFailure(const char* failure, const std::string& file);
bool FileExists(const std::string& file);

// Asks for a file and remembers its folder; empty when there is none, after a message when the
// dialog failed. Completes the request.
std::string ChooseListFile(const ListPlace& place, bool save, LastFolder folder,
                           FileRequest request);
// The name that a dialog begins with: the list's title with the hive's name.
std::string ProposedNameOf(const ListPlace& place);
// The same for a dialog.
std::string ChooseFile(HWND owner, bool save, LastFolder folder, FileRequest request);
// A file to be written anew, with its type: also asks before one that exists is replaced. Empty
// where there is none.
FileChoice ChooseNewFile(const ListPlace& place, LastFolder folder, FileRequest request);
// With the type of file that was chosen in the dialog.
FileChoice ChooseFileAndType(HWND owner, bool save, LastFolder folder, FileRequest request);

// Deletes the texts that were written for the editor.
void DeleteEditedTexts();

// The wait cursor while the interface thread itself is at work on more rows than it takes a moment
// for.
struct WaitTurn {
  explicit WaitTurn(uint32_t rows);
  ~WaitTurn();
  WaitTurn(const WaitTurn&) = delete;
  WaitTurn& operator=(const WaitTurn&) = delete;

  HCURSOR previous = nullptr;
};

// Commands of a list; called when guard and needs allow it.
//
// They ask for a file and write the whole list, or the rows selected, under the wait cursor.
void OnSaveListText(ListPlace& place);
void OnSaveSelected(ListPlace& place);

// To the clipboard: rows, or their first cells, a line each.
void OnCopyList(ListPlace& place);
void OnCopySelected(ListPlace& place);
void OnCopyFirstColumn(ListPlace& place);

// A text file in the folder for temporary files, opened in the system's editor.
void OnListNotepad(ListPlace& place);

}  // namespace hivequarry
