#include "ui/security/replace_sid_dialog.h"

#include <utility>

#include "app/settings.h"
#include "ui/dialogs/list_dialogs.h"
#include "ui/frame/modal.h"
#include "ui/frame/text.h"
#include "ui/resources/resource.h"
#include "ui/security/permissions_dialog.h"

namespace hivequarry {
namespace {

// A tick box, the part of records that it stands for, and the word for that in titles.
struct PartBox {
  int control;
  bool SidReplacement::*part;
  const char* word;
};
constexpr PartBox kParts[] = {{kReplaceOwner, &SidReplacement::owner, "owner"},
                              {kReplaceGroup, &SidReplacement::group, "group"},
                              {kReplaceAces, &SidReplacement::aces, "ACEs"}};

// With nothing ticked nothing would be replaced.
void Judge(HWND dialog) {
  bool any = false;
  for (const PartBox& box : kParts) any |= IsTicked(dialog, box.control);
  EnableWindow(GetDlgItem(dialog, IDOK), any);
}

// All parts are ticked while none is in force.
void OnStart(HWND dialog, const SidReplacement& replacement) {
  const bool in_force = !replacement.from.empty();
  FillSidBox(dialog, kReplaceFrom, replacement.from);
  FillSidBox(dialog, kReplaceTo, replacement.to);
  for (const PartBox& box : kParts) {
    const bool on = !in_force || replacement.*box.part;
    CheckDlgButton(dialog, box.control, on ? BST_CHECKED : BST_UNCHECKED);
  }
  const std::string state =
      "New lists of this hive's security records show the other SID. The hive stays as it is.\r\n" +
      (in_force ? "In force: " + ReplacementText(replacement) + "." : std::string());
  SetDlgItemTextW(dialog, kReplaceState, WindowText(state).c_str());
  EnableWindow(GetDlgItem(dialog, kReplaceTakeBack), in_force);
}

void AcceptReplacement(HWND dialog, SidReplacement& replacement) {
  if (!ReadSid(dialog, kReplaceFrom, false, replacement.from) ||
      !ReadSid(dialog, kReplaceTo, false, replacement.to)) {
    return;
  }
  for (const PartBox& box : kParts) replacement.*box.part = IsTicked(dialog, box.control);
  EndDialog(dialog, IDOK);
}

void OnReplaceCommand(HWND dialog, int control) {
  auto& replacement = *reinterpret_cast<SidReplacement*>(GetWindowLongPtrW(dialog, DWLP_USER));
  switch (control) {
    case IDOK:
      return AcceptReplacement(dialog, replacement);
    case kReplaceTakeBack:
      // Empty SIDs: none is in force.
      replacement = SidReplacement();
      EndDialog(dialog, IDOK);
      return;
    case IDCANCEL:
      EndDialog(dialog, IDCANCEL);
      return;
    default:
      return Judge(dialog);
  }
}

INT_PTR CALLBACK ReplaceProc(HWND dialog, UINT message, WPARAM first, LPARAM second) {
  if (message == WM_INITDIALOG) {
    SetWindowLongPtrW(dialog, DWLP_USER, second);
    OnStart(dialog, *reinterpret_cast<const SidReplacement*>(second));
    return TRUE;
  }
  if (message != WM_COMMAND) return FALSE;
  OnReplaceCommand(dialog, LOWORD(first));
  return TRUE;
}

}  // namespace

bool AskReplacement(HWND owner, SidReplacement& replacement) {
  SidReplacement wanted = replacement;
  const ModalTurn turn(owner);
  if (ShowDialogBox(GetModuleHandleW(nullptr), L"REPLACESIDDLG", owner, ReplaceProc,
                    reinterpret_cast<LPARAM>(&wanted)) != IDOK) {
    return false;
  }
  replacement = std::move(wanted);
  // The one that was replaced comes to be the first.
  for (const std::string& sid : {replacement.to, replacement.from}) {
    if (!sid.empty()) AddToHistory(TheSettings().histories.sids, sid);
  }
  return true;
}

std::string ReplacementText(const SidReplacement& replacement) {
  if (replacement.from.empty()) return {};
  std::string parts;
  for (const PartBox& box : kParts) {
    if (replacement.*box.part) parts += (parts.empty() ? "" : ", ") + std::string(box.word);
  }
  return replacement.from + " shown as " + replacement.to + " (" + parts + ")";
}

}  // namespace hivequarry
