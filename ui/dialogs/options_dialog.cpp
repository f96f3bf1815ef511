#include "ui/dialogs/options_dialog.h"

#include <iterator>

#include "ui/dialogs/list_dialogs.h"
#include "ui/frame/help.h"
#include "ui/frame/modal.h"
#include "ui/resources/resource.h"

namespace hivequarry {
namespace {

struct OptionBox {
  int control;
  bool Options::*option;
};
constexpr OptionBox kBoxes[] = {
    {kOptionLostValues, &Options::disconnected_values},
    {kOptionTolerant, &Options::tolerant_keys},
    {kOptionOtherRoots, &Options::ask_other_roots},
    {kOptionCodePage, &Options::code_page_text},
    {kOptionNumberRows, &Options::number_rows},
    {kOptionSortNew, &Options::sort_new_lists},
    {kOptionWrapFind, &Options::wrap_find},
    {kOptionFileOffsets, &Options::file_offsets},
    {kOptionResolveSids, &Options::resolve_sids},
    {kOptionExportSecurity, &Options::export_security},
    {kOptionFolderByDate, &Options::backup_folder_by_date},
    {kOptionNoAccess, &Options::no_access_keys},
    {kOptionRecovered, &Options::recovered_keys},
    {kOptionSavePlace, &Options::save_window_position},
    {kOptionWindowForEach, &Options::window_for_each},
    {kOptionDetailPane, &Options::detail_pane},
    {kOptionTechnical, &Options::technical_view},
    {kOptionCellDetails, &Options::cell_details},
};
// An option without a box could not be set by anybody.
static_assert(std::size(kBoxes) == sizeof(Options) / sizeof(bool));

void ShowOptions(HWND dialog, const Options& options) {
  for (const OptionBox& box : kBoxes) {
    CheckDlgButton(dialog, box.control, options.*box.option ? BST_CHECKED : BST_UNCHECKED);
  }
}

void ReadOptions(HWND dialog, Options& options) {
  for (const OptionBox& box : kBoxes) options.*box.option = IsTicked(dialog, box.control);
}

void OnCommand(HWND dialog, int control) {
  switch (control) {
    case IDOK:
      ReadOptions(dialog, *reinterpret_cast<Options*>(GetWindowLongPtrW(dialog, DWLP_USER)));
      EndDialog(dialog, IDOK);
      return;
    case IDCANCEL:
      EndDialog(dialog, IDCANCEL);
      return;
    case kOptionsDefaults:
      return ShowOptions(dialog, Options());
    case kOptionsHelp:
      return ShowHelp(dialog, kHelpOptions);
    default:
      return;
  }
}

INT_PTR CALLBACK OptionsProc(HWND dialog, UINT message, WPARAM first, LPARAM second) {
  switch (message) {
    case WM_INITDIALOG:
      SetWindowLongPtrW(dialog, DWLP_USER, second);
      ShowOptions(dialog, *reinterpret_cast<const Options*>(second));
      return TRUE;
    case WM_COMMAND:
      OnCommand(dialog, LOWORD(first));
      return TRUE;
    case WM_HELP:
      ShowHelp(dialog, kHelpOptions);
      return TRUE;
    default:
      return FALSE;
  }
}

}  // namespace

bool AskOptions(HWND owner, Options& options) {
  Options wanted = options;
  const ModalTurn turn(owner);
  if (ShowDialogBox(GetModuleHandleW(nullptr), L"SETTINGSDLG", owner, OptionsProc,
                    reinterpret_cast<LPARAM>(&wanted)) != IDOK) {
    return false;
  }
  bool changed = false;
  for (const OptionBox& box : kBoxes) changed |= wanted.*box.option != options.*box.option;
  options = wanted;
  return changed;
}

}  // namespace hivequarry
