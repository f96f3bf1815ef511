#include "ui/lists/list_saving.h"

#include <cderr.h>

#include <algorithm>
#include <string_view>
#include <vector>

#include "app/memory.h"
#include "host/evidence.h"
#include "host/files.h"
#include "host/host.h"
#include "host/number_text.h"
#include "ui/dialogs/list_dialogs.h"
#include "ui/frame/system_facts.h"
#include "ui/frame/text.h"
#include "ui/lists/list_work.h"
#include "ui/main/main_window.h"
#include "view/save_names.h"

namespace hivequarry {
namespace {

// Rows up to which no wait cursor is shown.
constexpr uint32_t kQuickSave = 400;
constexpr const char* kProtected = "\r\nIt is a hive or one of its logs: these are never written.";

void ReportDialogError(DWORD error) {
  if (error == FNERR_INVALIDFILENAME) ShowMessage("Invalid Filename !", "Error", Icon::kStop);
  if (error == FNERR_BUFFERTOOSMALL) ShowMessage("Too many files !", "Error", Icon::kStop);
}

// The file of the hive that the list is of; empty for other lists.
std::string HiveFileOf(const ListPlace& place) {
  const HiveImage* hive = HiveOfList(place);
  return hive == nullptr ? std::string() : hive->file_name;
}

// Whether and how to write a file of that name; false when the user wants neither.
bool ChooseMode(const ListPlace& place, const std::string& file, OutputMode& mode) {
  if (!FileExists(file)) return true;
  const SaveAs answer = TheListDialogs().save_as(place.window, file);
  if (answer == SaveAs::kAppend) mode = OutputMode::kAppend;
  return answer != SaveAs::kCancel;
}

void SaveText(const ListPlace& place, bool selection) {
  FileRequest request;
  request.filter = L"Text Files\0*.txt\0All files\0*.*\0";
  request.extension = L"txt";
  const std::string file = ChooseListFile(place, true, kFolderTexts, request);
  OutputMode mode = OutputMode::kReplace;
  if (file.empty() || !ChooseMode(place, file, mode)) return;
  const RowChoice rows = ChooseRows(place, selection);
  WrittenRows which = RowsOf(rows);
  which.head = true;
  SaveListText(*place.model, which, file, mode);
}

// --- clipboard -----------------------------------------------------------------------------------

bool WriteRows(const OutputList& list, const WrittenRows& which, bool first_column,
               const TextSink& sink) {
  return first_column ? WriteFirstColumn(list, which, sink) : WriteListText(list, which, sink);
}

bool CopyText(const OutputList& list, const WrittenRows& which, bool first_column) {
  std::string text;
  if (!WriteRows(list, which, first_column, [&text](std::string_view piece) {
        text += piece;
        return true;
      })) {
    return false;
  }
  // A zero character would end what others paste.
  std::replace(text.begin(), text.end(), '\0', ' ');
  const Host& host = CurrentHost();
  if (host.clipboard(host.context, text)) return true;
  ShowMessage("Not enough memory available!", "Error", Icon::kStop);
  return false;
}

// On the interface thread, with the wait cursor for many rows; all of the text is in memory at
// once.
bool CopyRows(const ListPlace& place, bool selection, bool first_column) {
  const RowChoice rows = ChooseRows(place, selection);
  const WaitTurn wait(selection ? static_cast<uint32_t>(rows.rows.size()) : ShownRowCount(place));
  return WithMemory([&] { return CopyText(*place.model, RowsOf(rows), first_column); });
}

// --- the system's editor -------------------------------------------------------------------------

// Texts handed to the editor, UTF-8 names; they go when the program ends.
struct EditedTexts {
  std::vector<std::string> files;
};
EditedTexts& TheEditedTexts() {
  static EditedTexts texts;
  return texts;
}

// In the folder for temporary files; no other copy of the program makes the same name.
std::string NextTextName() {
  std::wstring folder(MAX_PATH + 1, L'\0');
  folder.resize(GetTempPathW(static_cast<DWORD>(folder.size()), folder.data()));
  return Concat({Utf8Name(folder), "hivequarry-", Decimal(GetCurrentProcessId()), "-",
                 std::to_string(TheEditedTexts().files.size() + 1), ".txt"});
}

// Closes the file in any case; it is kept only when all of it was written.
bool WriteText(const OutputList& list, const WrittenRows& which, FileEncoding encoding,
               OutputFile& out, uint32_t& written) {
  const bool whole = WithMemory([&] {
    const TextSink sink = [&out](std::string_view piece) { return WriteOutput(out, piece); };
    return WriteListText(list, which, EncodedSink(encoding, sink), &written);
  });
  return CloseOutput(out, whole) && whole;
}

// What is added to such a file is in UTF-8 too.
bool BeginsWithMark(const std::string& file) {
  int error = 0;
  const FileStream stream(OpenFile(file, "rb", error));
  if (stream == nullptr) return false;
  char bytes[kUtf8Mark.size()];
  const size_t count = std::fread(bytes, 1, sizeof bytes, stream.get());
  return std::string_view(bytes, count) == kUtf8Mark;
}

// How the list is written to the file; what is added to one goes by its encoding. False after a
// message for a file that cannot hold the list.
bool ChooseEncoding(const OutputList& list, const WrittenRows& which, const std::string& file,
                    OutputMode mode, FileEncoding& encoding) {
  encoding = EncodingOf(list, which);
  if (mode != OutputMode::kAppend) return true;
  if (BeginsWithMark(file)) {
    // A file with the mark holds any text.
    encoding = FileEncoding::kMarkedUtf8;
    return true;
  }
  if (encoding == FileEncoding::kCodePage) return true;
  ShowMessage("The list has characters that the file's code page lacks: save it to another file !",
              kProgramName, Icon::kExclamation);
  return false;
}

void ReportNotSaved() {
  ShowMessage("Could not save Output List to File !", kProgramName, Icon::kInformation);
}

}  // namespace

void ReportSaved(uint32_t rows, const std::string& more) {
  if (rows == 0) return;
  const std::string text = Concat({Decimal(rows), rows > 1 ? " Items" : " Item", " saved !", more});
  ShowMessage(text.c_str(), kProgramName, Icon::kInformation);
}

WaitTurn::WaitTurn(uint32_t rows) {
  if (rows > kQuickSave) previous = SetCursor(LoadCursorW(nullptr, IDC_WAIT));
}

WaitTurn::~WaitTurn() {
  if (previous != nullptr) SetCursor(previous);
}

bool FileExists(const std::string& file) {
  return GetFileAttributesW(WideName(file).c_str()) != INVALID_FILE_ATTRIBUTES;
}

void ReportFileFailure(const char* failure, const std::string& file) {
  std::string text = failure;
  text.replace(text.find("%s"), 2, file);
  if (IsProtected(file)) text += kProtected;
  ShowMessage(text.c_str(), kProgramName, Icon::kStop);
}

bool OpenListFile(const std::string& file, OutputMode mode, const char* failure, OutputFile& out) {
  int error = 0;
  if (OpenOutput(file, mode, out, error)) return true;
  ReportFileFailure(failure, file);
  return false;
}

// On the interface thread, which does nothing else meanwhile.
bool SaveListText(const OutputList& list, const WrittenRows& which, const std::string& file,
                  OutputMode mode) {
  OutputFile out;
  FileEncoding encoding = FileEncoding::kCodePage;
  if (!ChooseEncoding(list, which, file, mode, encoding)) return false;
  if (!OpenListFile(file, mode, kFileNotWritten, out)) return false;
  const WaitTurn wait(RowCount(list));
  if (mode == OutputMode::kAppend) WriteOutput(out, "\r\n");
  uint32_t written = 0;
  if (!WriteText(list, which, encoding, out, written)) {
    ReportNotSaved();
    return false;
  }
  ReportSaved(written);
  return true;
}

std::string ChooseListFile(const ListPlace& place, bool save, LastFolder folder,
                           FileRequest request) {
  if (save && request.name.empty()) request.name = ProposedNameOf(place);
  return ChooseFile(place.window, save, folder, request);
}

std::string ProposedNameOf(const ListPlace& place) {
  const std::string& source = ListSource(*place.model);
  return ProposedListName(ListTitle(*place.model), source.empty() ? HiveFileOf(place) : source);
}

std::string ChooseFile(HWND owner, bool save, LastFolder folder, FileRequest request) {
  return ChooseFileAndType(owner, save, folder, std::move(request)).name;
}

FileChoice ChooseNewFile(const ListPlace& place, LastFolder folder, FileRequest request) {
  FileChoice choice = ChooseFileAndType(place.window, true, folder, std::move(request));
  if (choice.name.empty() || !FileExists(choice.name)) return choice;
  if (!TheListDialogs().replace(place.window, choice.name)) choice.name.clear();
  return choice;
}

FileChoice ChooseFileAndType(HWND owner, bool save, LastFolder folder, FileRequest request) {
  std::string& last = TheSettings().folders[static_cast<size_t>(folder)];
  request.owner = owner;
  request.folder =
      save ? ProposedFolder(last, EvidenceFolders(), TheProgram().facts.documents) : last;
  const ListDialogs& dialogs = TheListDialogs();
  const FileChoice choice = save ? dialogs.save(request) : dialogs.open(request);
  ReportDialogError(choice.error);
  if (!choice.name.empty()) last = FolderOf(choice.name);
  return choice;
}

void DeleteEditedTexts() {
  for (const std::string& file : TheEditedTexts().files) DeleteFileW(WideName(file).c_str());
  TheEditedTexts().files.clear();
}

void OnSaveListText(ListPlace& place) { SaveText(place, false); }
void OnSaveSelected(ListPlace& place) { SaveText(place, true); }

void OnCopyList(ListPlace& place) {
  if (!CopyRows(place, false, false)) return;
  const std::string text = Concat({Decimal(ShownRowCount(place)), " Item(s) copied !"});
  ShowMessage(text.c_str(), kProgramName, Icon::kInformation);
}

void OnCopySelected(ListPlace& place) { CopyRows(place, true, false); }
void OnCopyFirstColumn(ListPlace& place) { CopyRows(place, true, true); }

void OnListNotepad(ListPlace& place) {
  const std::string file = NextTextName();
  OutputFile out;
  if (!OpenListFile(file, OutputMode::kReplace, kFileNotWritten, out)) return;
  // From here on it is deleted at the end, written whole or not.
  TheEditedTexts().files.push_back(file);
  const RowChoice rows = ChooseRows(place, false);
  const WaitTurn wait(ShownRowCount(place));
  uint32_t written = 0;
  const FileEncoding encoding = EncodingOf(*place.model, RowsOf(rows));
  if (!WriteText(*place.model, RowsOf(rows), encoding, out, written)) return ReportNotSaved();
  TheListDialogs().notepad(place.window, file);
}

}  // namespace hivequarry
