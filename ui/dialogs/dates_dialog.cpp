#include "ui/dialogs/dates_dialog.h"

#include <string>

#include "app/settings.h"
#include "hive/shown_zone.h"
#include "hive/timestamp.h"
#include "host/host.h"
#include "ui/dialogs/list_dialogs.h"
#include "ui/frame/dialog_layout.h"
#include "ui/frame/help.h"
#include "ui/frame/modal.h"
#include "ui/frame/text.h"
#include "ui/resources/resource.h"

namespace hivequarry {
namespace {

// Lives as long as its dialog.
struct DatesDialog {
  HWND dialog = nullptr;
  uint64_t last_activity = 0;
  KeyDateRange range;
};

// A range that a menu offers: the last so many seconds.
struct Preset {
  DatePreset command;
  uint32_t seconds;
  const wchar_t* text;   // null: no menu offers it
  bool of_hive = false;  // counted from its last activity, which the range ends with
};
constexpr Preset kPresets[] = {
    {kPresetHour, 3600, L"Previous &hour"},
    {kPresetDay, 86400, L"Previous &day"},
    {kPresetWeek, 604800, L"Previous &week"},
    {kPreset4Minutes, 240, nullptr},
    {kPreset10Minutes, 600, nullptr},
    {kPreset30Minutes, 1800, nullptr},
    {kPresetLastHour, 3600, L"Last hour of the hive", true},
    {kPresetLastDay, 86400, L"Last day of the hive", true},
    {kPresetLastWeek, 604800, L"Last week of the hive", true},
    {kPresetLastMonth, 2592000, L"Last 30 days of the hive", true},
};

void ShowDate(const DatesDialog& state, int field, const KeyDateTime& time) {
  SetDlgItemTextW(state.dialog, field, WideName(KeyDateText(time)).c_str());
}

void EnableFor(const DatesDialog& state) {
  const BOOL limited = IsTicked(state.dialog, kDatesLimited) ? TRUE : FALSE;
  for (const int control : {kDatesStart, kDatesEnd, kDatesPresets}) {
    EnableWindow(GetDlgItem(state.dialog, control), limited);
  }
}

// By the clocks of the zone that dates are shown in. In UTC, where nobody chose one, the time here.
KeyDateTime TimeNow() {
  const bool chosen = ShownZoneNow().kind != ZoneKind::kUtc;
  return chosen ? KeyDateTimeOf(ShownTime(FileTimeNow())) : LocalTimeNow();
}

// The hour that has begun.
void ShowFirstRange(const DatesDialog& state) {
  KeyDateTime now = TimeNow();
  ShowDate(state, kDatesEnd, now);
  now.minute = now.second = 0;
  ShowDate(state, kDatesStart, now);
}

// The dialog says which zone its times are in, unless that is UTC.
INT_PTR OnStart(DatesDialog& state) {
  const DateSettings& settings = TheSettings().dates;
  for (const int field : {kDatesStart, kDatesEnd}) {
    SendDlgItemMessageW(state.dialog, field, EM_SETLIMITTEXT, kMaxDateText, 0);
  }
  if (settings.start.empty()) {
    ShowFirstRange(state);
  } else {
    SetDlgItemTextW(state.dialog, kDatesStart, WindowText(settings.start).c_str());
    SetDlgItemTextW(state.dialog, kDatesEnd, WindowText(settings.end).c_str());
  }
  CheckDlgButton(state.dialog, kDatesLimited, settings.limited ? BST_CHECKED : BST_UNCHECKED);
  CheckDlgButton(state.dialog, kDatesFreed, settings.freed ? BST_CHECKED : BST_UNCHECKED);
  const std::string zone = "Key dates: " + ZoneWords(ShownZoneNow());
  if (zone != "Key dates: UTC") {
    SetDlgItemTextW(state.dialog, kDatesZone, WindowText(zone).c_str());
  }
  EnableFor(state);
  return TRUE;
}

void ShowPresets(const DatesDialog& state) {
  const HMENU menu = CreatePopupMenu();
  for (const Preset& preset : kPresets) {
    if (preset.command == kPresetLastHour) AppendMenuW(menu, MF_SEPARATOR, 0, nullptr);
    const UINT flags =
        preset.of_hive && state.last_activity == 0 ? MF_STRING | MF_GRAYED : MF_STRING;
    if (preset.text != nullptr) {
      AppendMenuW(menu, flags, static_cast<UINT_PTR>(preset.command), preset.text);
    }
  }
  RECT button;
  GetWindowRect(GetDlgItem(state.dialog, kDatesPresets), &button);
  TPMPARAMS around{sizeof around, button};  // where there is no room below, the menu is above
  TrackPopupMenuEx(menu, TPM_LEFTALIGN | TPM_TOPALIGN | TPM_VERTICAL, button.left, button.bottom,
                   state.dialog, &around);
  DestroyMenu(menu);
}

// A range of the hive ends at its last activity, others have no end of their own.
void UsePreset(const DatesDialog& state, int command) {
  for (const Preset& preset : kPresets) {
    if (preset.command != command) continue;
    if (preset.of_hive && state.last_activity == 0) return;
    const KeyDateTime end =
        preset.of_hive ? KeyDateTimeOf(ShownTime(state.last_activity)) : TimeNow();
    ShowDate(state, kDatesStart, SecondsBefore(end, preset.seconds));
    if (preset.of_hive) ShowDate(state, kDatesEnd, end);
  }
}

// Read in the zone shown, given in UTC. False after a message; the field has the focus then.
bool ReadField(const DatesDialog& state, int field, KeyDateTime& time) {
  const std::string text = ControlText(state.dialog, field);
  if (ReadKeyDate(text, time)) {
    time = KeyDateTimeOf(TimeOfShown(FileTimeOf(time)));
    return true;
  }
  const std::string message = "\"" + text + "\" is no date !\r\nWrite it as in " +
                              KeyDateText(TimeNow()) + " ; the time may be left out.";
  ShowMessage(message.c_str(), kProgramName, Icon::kExclamation);
  SendMessageW(state.dialog, WM_NEXTDLGCTL,
               reinterpret_cast<WPARAM>(GetDlgItem(state.dialog, field)), TRUE);
  SendDlgItemMessageW(state.dialog, field, EM_SETSEL, 0, -1);
  return false;
}

// Without a limit the fields may hold anything: they are kept as they were typed.
void OnOk(DatesDialog& state) {
  KeyDateRange& range = state.range;
  range.limited = IsTicked(state.dialog, kDatesLimited);
  if (range.limited &&
      !(ReadField(state, kDatesStart, range.start) && ReadField(state, kDatesEnd, range.end))) {
    return;
  }
  TheSettings().dates = {ControlText(state.dialog, kDatesStart),
                         ControlText(state.dialog, kDatesEnd), range.limited,
                         IsTicked(state.dialog, kDatesFreed)};
  EndDialog(state.dialog, IDOK);
}

void OnCommand(DatesDialog& state, int control) {
  switch (control) {
    case kDatesLimited:
      return EnableFor(state);
    case kDatesPresets:
      return ShowPresets(state);
    case IDOK:
      return OnOk(state);
    case IDCANCEL:
      EndDialog(state.dialog, IDCANCEL);
      return;
    default:
      return UsePreset(state, control);
  }
}

INT_PTR Route(DatesDialog& state, UINT message, WPARAM first, LPARAM) {
  if (message == WM_HELP) {
    ShowHelp(state.dialog, kHelpKeyDates);
    return TRUE;
  }
  if (message != WM_COMMAND) return FALSE;
  OnCommand(state, LOWORD(first));
  return TRUE;
}

constexpr DLGPROC kProcedure = RecordDialogProc<DatesDialog, OnStart, Route>;

}  // namespace

KeyDateTime LocalTimeNow() { return KeyDateTimeOf(LocalFileTimeNow()); }

KeyDateTime SecondsBefore(const KeyDateTime& time, uint32_t seconds) {
  return KeyDateTimeOf(FileTimeOf(time) - seconds * kFileTimeSecond);
}

bool AskKeyDates(HWND owner, uint64_t last_activity, KeyDateRange& range) {
  DatesDialog state;
  state.last_activity = last_activity;
  const ModalTurn turn(owner);
  if (ShowDialogBox(GetModuleHandleW(nullptr), L"KEYDATESDLG", owner, kProcedure,
                    reinterpret_cast<LPARAM>(&state)) != IDOK) {
    return false;
  }
  range = state.range;
  return true;
}

}  // namespace hivequarry
