#include "ui/hex/hex_find.h"

#include "ui/draw/text_size.h"
#include "ui/frame/modal.h"
#include "ui/frame/text.h"
#include "ui/resources/resource.h"

namespace hivequarry {
namespace {

constexpr int kKinds[] = {kHexFindBytes, kHexFindText, kHexFindWide};

HexFind ChoiceIn(HWND dialog) {
  HexFind find;
  const std::wstring text = TextOfControl(GetDlgItem(dialog, kHexFindWhat));
  find.text.assign(text.begin(), text.end());
  for (int kind = 0; kind < 3; ++kind) {
    if (IsDlgButtonChecked(dialog, kKinds[kind]) == BST_CHECKED) {
      find.kind = static_cast<HexFindKind>(kind);
    }
  }
  return find;
}

// At each change: what is wrong with the text, and whether it can be looked for.
void JudgeFind(HWND dialog) {
  const HexFind find = ChoiceIn(dialog);
  const BOOL can = SequenceOf(find).has_value() ? TRUE : FALSE;
  SetDlgItemTextW(dialog, kHexFindMessage, AsWide(ComplaintAbout(find)));
  EnableWindow(GetDlgItem(dialog, kHexFindNext), can);
  EnableWindow(GetDlgItem(dialog, kHexFindPrevious), can);
}

void StartFind(HWND dialog, HexFind& find) {
  SetWindowLongPtrW(dialog, DWLP_USER, reinterpret_cast<LONG_PTR>(&find));
  SetDlgItemTextW(dialog, kHexFindWhat, AsWide(find.text.c_str()));
  CheckRadioButton(dialog, kHexFindBytes, kHexFindWide, kKinds[static_cast<int>(find.kind)]);
  // Enter goes the way that was gone last.
  SendMessageW(dialog, DM_SETDEFID, find.forward ? kHexFindNext : kHexFindPrevious, 0);
  JudgeFind(dialog);
}

void EndFind(HWND dialog, HexFind& find, bool forward) {
  HexFind choice = ChoiceIn(dialog);
  if (!SequenceOf(choice)) return;
  choice.forward = forward;
  find = choice;
  EndDialog(dialog, IDOK);
}

void OnFindCommand(HWND dialog, int control, HexFind& find) {
  switch (control) {
    case kHexFindNext:
    case kHexFindPrevious:
      return EndFind(dialog, find, control == kHexFindNext);
    case IDCANCEL:
      EndDialog(dialog, IDCANCEL);
      return;
    default:
      return JudgeFind(dialog);
  }
}

INT_PTR CALLBACK FindProc(HWND dialog, UINT message, WPARAM first, LPARAM second) {
  if (message == WM_INITDIALOG) {
    StartFind(dialog, *reinterpret_cast<HexFind*>(second));
    return TRUE;
  }
  auto* find = reinterpret_cast<HexFind*>(GetWindowLongPtrW(dialog, DWLP_USER));
  if (message != WM_COMMAND || find == nullptr) return FALSE;
  OnFindCommand(dialog, LOWORD(first), *find);
  return TRUE;
}

}  // namespace

bool AskHexFind(HWND owner, HexFind& find) {
  const ModalTurn turn(GetAncestor(owner, GA_ROOT));
  return ShowDialogBox(GetModuleHandleW(nullptr), L"HEXFINDDLG", owner, FindProc,
                       reinterpret_cast<LPARAM>(&find)) == IDOK;
}

}  // namespace hivequarry
