#include "ui/commands/bookmark_dialog.h"

#include "app/bookmarks.h"
#include "ui/dialogs/list_dialogs.h"
#include "ui/frame/dialog_layout.h"
#include "ui/frame/help.h"
#include "ui/frame/modal.h"
#include "ui/frame/text.h"
#include "ui/resources/resource.h"

namespace hivequarry {
namespace {

// Of one box, whose parameter it is; `words` are the caller's.
struct WordsDialog {
  HWND dialog = nullptr;
  BookmarkWords* words = nullptr;
};

INT_PTR OnStart(WordsDialog& state) {
  SetDlgItemTextW(state.dialog, kBookmarkWordsTitle, WindowText(state.words->title).c_str());
  SetDlgItemTextW(state.dialog, kBookmarkWordsNote, WideName(state.words->note).c_str());
  SetDlgItemTextW(state.dialog, kBookmarkWordsTags, WideName(state.words->tags).c_str());
  for (const int control : {kBookmarkWordsNote, kBookmarkWordsTags}) {
    SendDlgItemMessageW(state.dialog, control, EM_SETLIMITTEXT, kMaxBookmarkText, 0);
  }
  return TRUE;
}

// The words are taken over with OK alone; the caller judges what they mean.
INT_PTR Route(WordsDialog& state, UINT message, WPARAM first, LPARAM) {
  if (message != WM_COMMAND) return FALSE;
  const int control = LOWORD(first);
  if (control == kBookmarkWordsHelp) ShowHelp(state.dialog, kHelpBookmarks);
  if (control == IDOK) {
    state.words->note = ControlText(state.dialog, kBookmarkWordsNote);
    state.words->tags = ControlText(state.dialog, kBookmarkWordsTags);
  }
  if (control == IDOK || control == IDCANCEL) EndDialog(state.dialog, control);
  return TRUE;
}

constexpr DLGPROC kProcedure = RecordDialogProc<WordsDialog, OnStart, Route>;

}  // namespace

bool AskBookmarkWords(HWND owner, BookmarkWords& words) {
  WordsDialog state{nullptr, &words};
  const ModalTurn turn(owner);
  return ShowDialogBox(GetModuleHandleW(nullptr), L"BMWORDSDLG", owner, kProcedure,
                       reinterpret_cast<LPARAM>(&state)) == IDOK;
}

}  // namespace hivequarry
