#include "ui/commands/case_dialogs.h"

#include "app/settings.h"
#include "ui/dialogs/list_dialogs.h"
#include "ui/frame/dialog_layout.h"
#include "ui/frame/folder_choice.h"
#include "ui/frame/modal.h"
#include "ui/frame/text.h"
#include "ui/lists/list_saving.h"
#include "ui/resources/resource.h"

namespace hivequarry {
namespace {

void Enable(HWND dialog, int control, bool enabled) {
  EnableWindow(GetDlgItem(dialog, control), enabled ? TRUE : FALSE);
}

void Tick(HWND dialog, int control, bool ticked) {
  CheckDlgButton(dialog, control, ticked ? BST_CHECKED : BST_UNCHECKED);
}

void Show(HWND dialog, int control, const std::string& text) {
  SetDlgItemTextW(dialog, control, WideName(text).c_str());
}

// Ends the dialog with OK, where that is enabled, and with Cancel. True for OK.
bool EndedWithOk(HWND dialog, int control) {
  const bool good = control == IDOK && IsWindowEnabled(GetDlgItem(dialog, IDOK)) != FALSE;
  if (good || control == IDCANCEL) EndDialog(dialog, control);
  return good;
}

template <typename State>
bool Ask(HWND owner, const wchar_t* name, DLGPROC procedure, State& state) {
  const ModalTurn turn(owner);
  return ShowDialogBox(GetModuleHandleW(nullptr), name, owner, procedure,
                       reinterpret_cast<LPARAM>(&state)) == IDOK;
}

// --- a repaired hive -----------------------------------------------------------------------------

// Each of these lives as long as its dialog; what the caller has changes with OK alone.
struct RepairDialog {
  HWND dialog = nullptr;
  RepairOptions options;
};

// Recovered and deleted keys are nothing that logs would bring.
void JudgeRepair(const RepairDialog& state) {
  const bool rebuilt = IsTicked(state.dialog, kRepairRebuilt);
  Enable(state.dialog, kRepairRecovered, rebuilt);
  Enable(state.dialog, kRepairFreed, rebuilt);
}

INT_PTR OnRepairStart(RepairDialog& state) {
  Tick(state.dialog, kRepairRebuilt, state.options.kind == RepairKind::kRebuilt);
  Tick(state.dialog, kRepairReplayed, state.options.kind == RepairKind::kReplayed);
  Tick(state.dialog, kRepairRecovered, state.options.recovered);
  Tick(state.dialog, kRepairFreed, state.options.freed);
  JudgeRepair(state);
  return TRUE;
}

INT_PTR RouteRepair(RepairDialog& state, UINT message, WPARAM first, LPARAM) {
  if (message != WM_COMMAND) return FALSE;
  const int control = LOWORD(first);
  if (control == kRepairRebuilt || control == kRepairReplayed) JudgeRepair(state);
  if (EndedWithOk(state.dialog, control)) {
    const bool rebuilt = IsTicked(state.dialog, kRepairRebuilt);
    state.options.kind = rebuilt ? RepairKind::kRebuilt : RepairKind::kReplayed;
    state.options.recovered = rebuilt && IsTicked(state.dialog, kRepairRecovered);
    state.options.freed = rebuilt && IsTicked(state.dialog, kRepairFreed);
  }
  return TRUE;
}

// --- carving -------------------------------------------------------------------------------------

struct CarveDialog {
  HWND dialog = nullptr;
  CarveWish wish;
};

// OK wants a file, and a folder where the finds are to be written.
void JudgeCarve(const CarveDialog& state) {
  const bool save = IsTicked(state.dialog, kCarveSave);
  Enable(state.dialog, kCarveFolder, save);
  Enable(state.dialog, kCarveFolderBrowse, save);
  const bool folder = !save || !ControlFileName(state.dialog, kCarveFolder).empty();
  Enable(state.dialog, IDOK, folder && !ControlFileName(state.dialog, kCarveFile).empty());
}

INT_PTR OnCarveStart(CarveDialog& state) {
  Show(state.dialog, kCarveFile, state.wish.file);
  Tick(state.dialog, kCarveHoles, state.wish.holes);
  Tick(state.dialog, kCarveSave, !state.wish.folder.empty());
  Show(state.dialog, kCarveFolder, state.wish.folder);
  JudgeCarve(state);
  return TRUE;
}

void BrowseCarveFile(const CarveDialog& state) {
  FileRequest request;
  request.title = L"Carve";
  request.filter = L"All files (*.*)\0*.*\0";
  const std::string file = ChooseFile(state.dialog, false, kFolderHives, request);
  if (!file.empty()) Show(state.dialog, kCarveFile, file);
}

void BrowseFolder(HWND dialog, int control) {
  const std::string folder = TheFolderChooser()(dialog, ControlFileName(dialog, control));
  if (!folder.empty()) Show(dialog, control, folder);
}

INT_PTR RouteCarve(CarveDialog& state, UINT message, WPARAM first, LPARAM) {
  if (message != WM_COMMAND) return FALSE;
  const int control = LOWORD(first);
  if (control == kCarveBrowse) BrowseCarveFile(state);
  if (control == kCarveFolderBrowse) BrowseFolder(state.dialog, kCarveFolder);
  if (control != IDOK && control != IDCANCEL) JudgeCarve(state);
  if (EndedWithOk(state.dialog, control)) {
    state.wish.file = ControlFileName(state.dialog, kCarveFile);
    state.wish.holes = IsTicked(state.dialog, kCarveHoles);
    const bool save = IsTicked(state.dialog, kCarveSave);
    state.wish.folder = save ? ControlFileName(state.dialog, kCarveFolder) : std::string();
  }
  return TRUE;
}

}  // namespace

bool AskRepair(HWND owner, RepairOptions& options) {
  RepairDialog state{nullptr, options};
  constexpr DLGPROC kProcedure = RecordDialogProc<RepairDialog, OnRepairStart, RouteRepair>;
  if (!Ask(owner, L"REPAIRDLG", kProcedure, state)) return false;
  options = state.options;
  return true;
}

bool AskCarve(HWND owner, CarveWish& wish) {
  CarveDialog state{nullptr, wish};
  constexpr DLGPROC kProcedure = RecordDialogProc<CarveDialog, OnCarveStart, RouteCarve>;
  if (!Ask(owner, L"CARVEDLG", kProcedure, state)) return false;
  wish = std::move(state.wish);
  return true;
}

}  // namespace hivequarry
