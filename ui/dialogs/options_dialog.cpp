#include "ui/dialogs/options_dialog.h"

#include <iterator>

#include "ui/dialogs/list_dialogs.h"
#include "ui/frame/help.h"
#include "ui/frame/modal.h"
#include "ui/resources/resource.h"

namespace hivequarry {
namespace {

// A tick box and the option that it stands for.
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

// In the order of ColourChoice.
constexpr int kColours[] = {kOptionColoursSystem, kOptionColoursLight, kOptionColoursDark};

void ShowChoice(HWND dialog, const OptionChoice& choice) {
  for (const OptionBox& box : kBoxes) {
    CheckDlgButton(dialog, box.control, choice.options.*box.option ? BST_CHECKED : BST_UNCHECKED);
  }
  CheckRadioButton(dialog, kOptionColoursSystem, kOptionColoursDark,
                   kColours[static_cast<size_t>(choice.colours)]);
  CheckDlgButton(dialog, kOptionOpenWith, choice.open_with ? BST_CHECKED : BST_UNCHECKED);
}

void ReadChoice(HWND dialog, OptionChoice& choice) {
  for (const OptionBox& box : kBoxes) choice.options.*box.option = IsTicked(dialog, box.control);
  for (size_t i = 0; i < std::size(kColours); ++i) {
    if (IsTicked(dialog, kColours[i])) choice.colours = static_cast<ColourChoice>(i);
  }
  choice.open_with = IsTicked(dialog, kOptionOpenWith);
}

void OnCommand(HWND dialog, int control) {
  switch (control) {
    case IDOK:
      ReadChoice(dialog, *reinterpret_cast<OptionChoice*>(GetWindowLongPtrW(dialog, DWLP_USER)));
      EndDialog(dialog, IDOK);
      return;
    case IDCANCEL:
      EndDialog(dialog, IDCANCEL);
      return;
    case kOptionsDefaults:
      // Nothing is in force before OK.
      return ShowChoice(dialog, {});
    case kOptionsHelp:
      return ShowHelp(dialog, kHelpOptions);
    default:
      return;
  }
}

// Its record is a choice to begin with, which changes with OK alone.
INT_PTR CALLBACK OptionsProc(HWND dialog, UINT message, WPARAM first, LPARAM second) {
  switch (message) {
    case WM_INITDIALOG:
      SetWindowLongPtrW(dialog, DWLP_USER, second);
      ShowChoice(dialog, *reinterpret_cast<const OptionChoice*>(second));
      EnableWindow(GetDlgItem(dialog, kOptionOpenWith),
                   reinterpret_cast<const OptionChoice*>(second)->may_open_with);
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

bool AskOptions(HWND owner, OptionChoice& choice) {
  OptionChoice wanted = choice;
  const ModalTurn turn(owner);
  if (ShowDialogBox(GetModuleHandleW(nullptr), L"SETTINGSDLG", owner, OptionsProc,
                    reinterpret_cast<LPARAM>(&wanted)) != IDOK) {
    return false;
  }
  bool changed = wanted.colours != choice.colours || wanted.open_with != choice.open_with;
  for (const OptionBox& box : kBoxes) {
    changed |= wanted.options.*box.option != choice.options.*box.option;
  }
  choice = wanted;
  return changed;
}

}  // namespace hivequarry
