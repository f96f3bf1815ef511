#include "ui/security/permissions_dialog.h"

#include <string_view>
#include <utility>
#include <vector>

#include "app/settings.h"
#include "host/case.h"
#include "host/host.h"
#include "host/number_text.h"
#include "live/live_lists.h"
#include "security/sid.h"
#include "ui/dialogs/bit_boxes.h"
#include "ui/dialogs/list_dialogs.h"
#include "ui/frame/dialog_layout.h"
#include "ui/frame/modal.h"
#include "ui/frame/text.h"
#include "ui/resources/resource.h"

namespace hivequarry {
namespace {

constexpr int kLongestSid = 519;  // as the settings keep them

// The bits of an access mask for keys.
constexpr BitBox kRights[] = {{kRightQueryValue, 0x1},     {kRightSetValue, 0x2},
                              {kRightCreateSubkey, 0x4},   {kRightEnumerate, 0x8},
                              {kRightNotify, 0x10},        {kRightCreateLink, 0x20},
                              {kRightDelete, 0x10000},     {kRightWriteDac, 0x40000},
                              {kRightWriteOwner, 0x80000}, {kRightReadControl, 0x20000}};
constexpr BitBox kPresets[] = {{kPermissionFull, kFullControl},
                               {kPermissionRead, kReadRights},
                               {kPermissionWrite, kWriteRights}};
constexpr auto kRoots = RootBoxes(kPermissionMachine);

PermissionRequest& RequestOf(HWND dialog) {
  return *reinterpret_cast<PermissionRequest*>(GetWindowLongPtrW(dialog, DWLP_USER));
}

// The roots are those of the registry; without any there is nothing to search in.
void ShowPlaces(HWND dialog) {
  const bool live = IsTicked(dialog, kPermissionInRegistry);
  for (const BitBox& box : kRoots) EnableWindow(GetDlgItem(dialog, box.control), live);
  EnableWindow(GetDlgItem(dialog, IDOK), !live || TickedBits(dialog, kRoots) != 0);
}

// Without a hive the registry is all that can be searched.
void OnStart(HWND dialog, PermissionRequest& request) {
  SetWindowLongPtrW(dialog, DWLP_USER, reinterpret_cast<LONG_PTR>(&request));
  const PermissionQuery& query = request.query;
  FillSidBox(dialog, kPermissionSid, query.sid, request.of_hive);
  CheckRadioButton(dialog, kPermissionAllow, kPermissionOther,
                   kPermissionAllow + static_cast<int>(query.kind));
  TickBits(dialog, kRights, query.rights);
  CheckDlgButton(dialog, kPermissionNotInherited, query.not_inherited ? BST_CHECKED : 0);
  const bool live = request.live || !request.hive_offered;
  CheckRadioButton(dialog, kPermissionInHive, kPermissionInRegistry,
                   live ? kPermissionInRegistry : kPermissionInHive);
  EnableWindow(GetDlgItem(dialog, kPermissionInHive), request.hive_offered);
  TickBits(dialog, kRoots, request.live_roots);
  ShowPlaces(dialog);
}

AceKind KindChosen(HWND dialog) {
  int kind = 0;
  // The buttons are in the order of AceKind.
  while (kind < static_cast<int>(AceKind::kOther) && !IsTicked(dialog, kPermissionAllow + kind)) {
    ++kind;
  }
  return static_cast<AceKind>(kind);
}

// The dialog stays when the SID is none; the field is optional.
void AcceptRequest(HWND dialog) {
  PermissionRequest& request = RequestOf(dialog);
  if (!ReadSid(dialog, kPermissionSid, true, request.query.sid, request.of_hive)) return;
  request.query.kind = KindChosen(dialog);
  request.query.rights = TickedBits(dialog, kRights);
  request.query.not_inherited = IsTicked(dialog, kPermissionNotInherited);
  request.live = IsTicked(dialog, kPermissionInRegistry);
  request.live_roots = TickedBits(dialog, kRoots);
  EndDialog(dialog, IDOK);
}

void OnCommand(HWND dialog, int control) {
  for (const BitBox& preset : kPresets) {
    if (control == preset.control) return TickBits(dialog, kRights, preset.bits);
  }
  if (control >= kPermissionInHive && control <= kPermissionConfig) return ShowPlaces(dialog);
  if (control == IDOK) AcceptRequest(dialog);
  if (control == IDCANCEL) EndDialog(dialog, IDCANCEL);
}

INT_PTR CALLBACK PermissionsProc(HWND dialog, UINT message, WPARAM first, LPARAM second) {
  if (message == WM_INITDIALOG) {
    OnStart(dialog, *reinterpret_cast<PermissionRequest*>(second));
    return TRUE;
  }
  if (message != WM_COMMAND) return FALSE;
  OnCommand(dialog, LOWORD(first));
  return TRUE;
}

std::string Trimmed(const std::string& text) {
  const size_t start = text.find_first_not_of(" \t");
  if (start == std::string::npos) return {};
  return text.substr(start, text.find_last_not_of(" \t") - start + 1);
}

// Two blanks are in no name.
constexpr std::string_view kAfterName = "  ";
std::string ChoiceText(const HiveSid& each) {
  return each.name.empty() ? each.sid : Concat({each.name, kAfterName, each.sid});
}

// --- who may write where -------------------------------------------------------------------------

constexpr wchar_t kAnyone[] = L"Anyone but administrators";
// Of the rights those that change something.
constexpr BitBox kChanges[] = {{kRightSetValue, 0x2},     {kRightCreateSubkey, 0x4},
                               {kRightCreateLink, 0x20},  {kRightDelete, 0x10000},
                               {kRightWriteDac, 0x40000}, {kRightWriteOwner, 0x80000}};

// Lives as long as its dialog.
struct WritersDialog {
  HWND dialog = nullptr;
  const std::vector<HiveSid>& of_hive;
  AccessQuery query;
};

INT_PTR OnStart(WritersDialog& state) {
  const HWND box = GetDlgItem(state.dialog, kWritersSid);
  ComboBox_AddString(box, kAnyone);
  FillSidBox(state.dialog, kWritersSid, state.query.sid, state.of_hive);
  if (state.query.sid.empty()) SetWindowTextW(box, kAnyone);
  TickBits(state.dialog, kChanges, state.query.rights);
  return TRUE;
}

void OnFind(WritersDialog& state) {
  const bool anyone =
      EqualIgnoringCase(Trimmed(ControlText(state.dialog, kWritersSid)), Utf8Name(kAnyone));
  state.query.sid.clear();
  if (!anyone && !ReadSid(state.dialog, kWritersSid, true, state.query.sid, state.of_hive)) return;
  state.query.rights = TickedBits(state.dialog, kChanges);
  EndDialog(state.dialog, IDOK);
}

// Without a right there is nothing to look for.
INT_PTR Route(WritersDialog& state, UINT message, WPARAM first, LPARAM) {
  if (message != WM_COMMAND) return FALSE;
  const int control = LOWORD(first);
  if (control == IDOK) OnFind(state);
  if (control == IDCANCEL) EndDialog(state.dialog, IDCANCEL);
  EnableWindow(GetDlgItem(state.dialog, IDOK), TickedBits(state.dialog, kChanges) != 0);
  return TRUE;
}

constexpr DLGPROC kWritersProcedure = RecordDialogProc<WritersDialog, OnStart, Route>;

}  // namespace

bool AskWhoMay(HWND owner, const std::vector<HiveSid>& of_hive, AccessQuery& query) {
  WritersDialog state{nullptr, of_hive, query};
  const ModalTurn turn(owner);
  if (ShowDialogBox(GetModuleHandleW(nullptr), L"WRITERSDLG", owner, kWritersProcedure,
                    reinterpret_cast<LPARAM>(&state)) != IDOK) {
    return false;
  }
  query = std::move(state.query);
  if (!query.sid.empty()) AddToHistory(TheSettings().histories.sids, query.sid);
  return true;
}

bool AskPermissions(HWND owner, PermissionRequest& request) {
  PermissionRequest wanted = request;
  const ModalTurn turn(owner);
  if (ShowDialogBox(GetModuleHandleW(nullptr), L"PERMISSIONSDLG", owner, PermissionsProc,
                    reinterpret_cast<LPARAM>(&wanted)) != IDOK) {
    return false;
  }
  request = std::move(wanted);
  const std::string& sid = request.query.sid;
  if (!sid.empty()) AddToHistory(TheSettings().histories.sids, sid);
  return true;
}

void FillSidBox(HWND dialog, int control, const std::string& sid,
                const std::vector<HiveSid>& of_hive) {
  const HWND box = GetDlgItem(dialog, control);
  ComboBox_LimitText(box, kLongestSid);
  for (const std::string& used : TheSettings().histories.sids) {
    ComboBox_AddString(box, WindowText(used).c_str());
  }
  for (const HiveSid& each : of_hive) {
    ComboBox_AddString(box, WindowText(ChoiceText(each)).c_str());
  }
  SetWindowTextW(box, WindowText(sid).c_str());
}

bool ReadSid(HWND dialog, int control, bool optional, std::string& sid,
             const std::vector<HiveSid>& of_hive) {
  std::string text = Trimmed(ControlText(dialog, control));
  const size_t name_end = text.rfind(Concat({kAfterName, "S-1-"}));
  if (name_end != std::string::npos) text = text.substr(name_end + kAfterName.size());
  if (!text.empty() && SidOfText(text).empty()) {
    const std::string named = SidOfName(of_hive, text);
    if (!named.empty()) text = named;
  }
  if (text.empty() ? optional : !SidOfText(text).empty()) {
    sid = text;
    return true;
  }
  ShowMessage("Please specify a valid SID !", kProgramName, Icon::kExclamation);
  SetFocus(GetDlgItem(dialog, control));
  return false;
}

}  // namespace hivequarry
