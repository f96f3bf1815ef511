#include "ui/dialogs/timeline_dialog.h"

#include "app/settings.h"
#include "ui/dialogs/list_dialogs.h"
#include "ui/frame/dialog_layout.h"
#include "ui/frame/help.h"
#include "ui/frame/modal.h"
#include "ui/resources/resource.h"

namespace hivequarry {
namespace {

struct TimelineDialog {
  HWND dialog = nullptr;
};

struct Box {
  int control;
  bool TimelineSettings::*setting;
};
constexpr Box kTimelineBoxes[] = {{kTimelineFreed, &TimelineSettings::freed},
                                  {kTimelineValues, &TimelineSettings::values},
                                  {kTimelineHive, &TimelineSettings::base_block},
                                  {kTimelineDecoders, &TimelineSettings::decoders},
                                  {kTimelineLogged, &TimelineSettings::logged}};

INT_PTR OnStart(TimelineDialog& state) {
  for (const Box& box : kTimelineBoxes) {
    CheckDlgButton(state.dialog, box.control,
                   TheSettings().timeline.*box.setting ? BST_CHECKED : BST_UNCHECKED);
  }
  return TRUE;
}

INT_PTR Route(TimelineDialog& state, UINT message, WPARAM first, LPARAM) {
  if (message == WM_HELP) {
    ShowHelp(state.dialog, kHelpTimeline);
    return TRUE;
  }
  if (message != WM_COMMAND) return FALSE;
  const int control = LOWORD(first);
  if (control == IDOK) {
    for (const Box& box : kTimelineBoxes) {
      TheSettings().timeline.*box.setting = IsTicked(state.dialog, box.control);
    }
  }
  if (control == IDOK || control == IDCANCEL) EndDialog(state.dialog, control);
  return TRUE;
}

constexpr DLGPROC kTimelineProcedure = RecordDialogProc<TimelineDialog, OnStart, Route>;

}  // namespace

bool AskTimeline(HWND owner) {
  TimelineDialog state;
  const ModalTurn turn(owner);
  return ShowDialogBox(GetModuleHandleW(nullptr), L"TIMELINEDLG", owner, kTimelineProcedure,
                       reinterpret_cast<LPARAM>(&state)) == IDOK;
}

}  // namespace hivequarry
