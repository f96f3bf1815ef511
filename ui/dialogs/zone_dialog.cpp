#include "ui/dialogs/zone_dialog.h"

#include <optional>
#include <string>

#include "ui/dialogs/list_dialogs.h"
#include "ui/frame/dialog_layout.h"
#include "ui/frame/modal.h"
#include "ui/frame/text.h"
#include "ui/resources/resource.h"

namespace hivequarry {
namespace {

// Of one box, whose parameter it is; `zone` is what it shows and, after OK, what was chosen.
struct ZoneDialog {
  HWND dialog = nullptr;
  std::optional<ShownZone> rule;  // the hive's, else the one in force
  bool of_hive = false;
  ShownZone zone;
};

bool ReadOffset(const ZoneDialog& state, ShownZone& zone) {
  const std::string text = ControlText(state.dialog, kZoneOffset);
  return ReadZone(text, zone) && (zone.kind == ZoneKind::kFixed || zone.kind == ZoneKind::kUtc);
}

// The button is there for a zone.
void Judge(const ZoneDialog& state) {
  const bool fixed = IsTicked(state.dialog, kZoneFixed);
  ShownZone zone;
  EnableWindow(GetDlgItem(state.dialog, kZoneOffset), fixed ? TRUE : FALSE);
  EnableWindow(GetDlgItem(state.dialog, IDOK), !fixed || ReadOffset(state, zone) ? TRUE : FALSE);
}

// A rule may come from a hive that was open before: it can be kept, and says so.
std::string RuleWords(const ZoneDialog& state) {
  if (!state.rule) return "The zone that the &hive says: this one says none";
  const std::string words = ZoneWords(*state.rule);
  return state.of_hive ? "The zone that the &hive says: " + words
                       : "The zone that &another hive said: " + words;
}

INT_PTR OnStart(ZoneDialog& state) {
  constexpr int kControls[] = {kZoneUtc, kZoneSystem, kZoneFixed, kZoneRule};  // by ZoneKind
  SendDlgItemMessageW(state.dialog, kZoneOffset, EM_SETLIMITTEXT, 8, 0);
  const bool fixed = state.zone.kind == ZoneKind::kFixed;
  const std::string offset = fixed ? ZoneAsText(state.zone) : "+00:00";
  SetDlgItemTextW(state.dialog, kZoneOffset, WindowText(offset).c_str());
  SetDlgItemTextW(state.dialog, kZoneRule, WindowText(RuleWords(state)).c_str());
  EnableWindow(GetDlgItem(state.dialog, kZoneRule), state.rule ? TRUE : FALSE);
  CheckRadioButton(state.dialog, kZoneUtc, kZoneRule,
                   kControls[static_cast<size_t>(state.zone.kind)]);
  Judge(state);
  return TRUE;
}

void OnOk(ZoneDialog& state) {
  state.zone = ShownZone();
  if (IsTicked(state.dialog, kZoneSystem)) state.zone.kind = ZoneKind::kSystem;
  if (IsTicked(state.dialog, kZoneFixed) && !ReadOffset(state, state.zone)) return;
  if (IsTicked(state.dialog, kZoneRule) && state.rule) state.zone = *state.rule;
  EndDialog(state.dialog, IDOK);
}

INT_PTR Route(ZoneDialog& state, UINT message, WPARAM first, LPARAM) {
  if (message != WM_COMMAND) return FALSE;
  const int control = LOWORD(first);
  if (control == IDOK) OnOk(state);
  if (control == IDCANCEL) EndDialog(state.dialog, IDCANCEL);
  if (control >= kZoneUtc && control <= kZoneOffset) Judge(state);
  if (control == kZoneFixed) SetFocus(GetDlgItem(state.dialog, kZoneOffset));
  return TRUE;
}

constexpr DLGPROC kZoneProcedure = RecordDialogProc<ZoneDialog, OnStart, Route>;

}  // namespace

bool AskZone(HWND owner, const ShownZone* of_hive, ShownZone& zone) {
  ZoneDialog state;
  state.of_hive = of_hive != nullptr;
  if (of_hive != nullptr) state.rule = *of_hive;
  if (of_hive == nullptr && zone.kind == ZoneKind::kRule) state.rule = zone;
  state.zone = zone;
  const ModalTurn turn(owner);
  if (ShowDialogBox(GetModuleHandleW(nullptr), L"TIMEZONEDLG", owner, kZoneProcedure,
                    reinterpret_cast<LPARAM>(&state)) != IDOK) {
    return false;
  }
  zone = state.zone;
  return true;
}

}  // namespace hivequarry
