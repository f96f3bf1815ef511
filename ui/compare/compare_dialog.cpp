#include "ui/compare/compare_dialog.h"

#include <algorithm>

#include "ui/dialogs/list_dialogs.h"
#include "ui/frame/dialog_layout.h"
#include "ui/frame/modal.h"
#include "ui/frame/text.h"
#include "ui/lists/list_saving.h"
#include "ui/resources/resource.h"

namespace hivequarry {
namespace {

// Lives as long as its dialog. The wish is a copy, so that Cancel changes nothing.
struct CompareDialog {
  HWND dialog = nullptr;
  CompareWish wish;
};

struct OptionBox {
  int control;
  bool HiveCompareOptions::*option;
};
constexpr OptionBox kOptions[] = {{kCompareRecovered, &HiveCompareOptions::recovered},
                                  {kCompareTimes, &HiveCompareOptions::times},
                                  {kCompareText, &HiveCompareOptions::text},
                                  {kCompareOrder, &HiveCompareOptions::order}};

// Patterns with semicolons between them. False where one of them is none.
// Empty ones, as after a semicolon at the end, are left out.
bool ReadPatterns(std::string_view text, std::vector<IgnorePattern>& patterns) {
  patterns.clear();
  while (!text.empty()) {
    const size_t end = std::min(text.find(';'), text.size());
    std::string_view one = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    while (one.starts_with(' ')) one.remove_prefix(1);
    while (one.ends_with(' ')) one.remove_suffix(1);
    if (!one.empty() && !ParseIgnorePattern(one, patterns.emplace_back())) return false;
  }
  return true;
}

// The button is there for a file, and for patterns that are such.
void Judge(const CompareDialog& state) {
  std::vector<IgnorePattern> patterns;
  const bool good = !ControlFileName(state.dialog, kCompareFile).empty() &&
                    ReadPatterns(ControlText(state.dialog, kCompareIgnore), patterns);
  EnableWindow(GetDlgItem(state.dialog, IDOK), good ? TRUE : FALSE);
}

INT_PTR OnStart(CompareDialog& state) {
  const auto show = [&state](int control, const std::string& text) {
    SetDlgItemTextW(state.dialog, control, WideName(text).c_str());
  };
  show(kCompareFile, state.wish.file);
  show(kCompareKeyA, state.wish.key_a);
  show(kCompareKeyB, state.wish.key_b);
  show(kCompareIgnore, state.wish.ignored);
  CheckDlgButton(state.dialog, kCompareNoLogs,
                 state.wish.without_logs ? BST_CHECKED : BST_UNCHECKED);
  for (const OptionBox& box : kOptions) {
    CheckDlgButton(state.dialog, box.control,
                   state.wish.options.*box.option ? BST_CHECKED : BST_UNCHECKED);
  }
  Judge(state);
  return TRUE;
}

void Browse(const CompareDialog& state) {
  FileRequest request;
  request.title = L"Compare with";
  request.filter = L"All files (*.*)\0*.*\0Registry scripts (*.reg)\0*.reg\0";
  const std::string file = ChooseFile(state.dialog, false, kFolderHives, request);
  if (!file.empty()) SetDlgItemTextW(state.dialog, kCompareFile, WideName(file).c_str());
}

// Only after Judge has let OK through, so the patterns can be read.
void ReadFields(CompareDialog& state) {
  CompareWish& wish = state.wish;
  wish.file = ControlFileName(state.dialog, kCompareFile);
  wish.key_a = ControlText(state.dialog, kCompareKeyA);
  wish.key_b = ControlText(state.dialog, kCompareKeyB);
  wish.without_logs = IsTicked(state.dialog, kCompareNoLogs);
  for (const OptionBox& box : kOptions) {
    wish.options.*box.option = IsTicked(state.dialog, box.control);
  }
  wish.options.heed_times = wish.options.times;
  wish.ignored = ControlText(state.dialog, kCompareIgnore);
  ReadPatterns(wish.ignored, wish.options.ignored);
}

INT_PTR Route(CompareDialog& state, UINT message, WPARAM first, LPARAM) {
  if (message != WM_COMMAND) return FALSE;
  const int control = LOWORD(first);
  const bool typed = control == kCompareFile || control == kCompareIgnore;
  if (typed && HIWORD(first) == EN_CHANGE) Judge(state);
  if (control == kCompareBrowse) Browse(state);
  const bool good = IsWindowEnabled(GetDlgItem(state.dialog, IDOK)) != FALSE;
  if (control == IDOK && good) ReadFields(state);
  if ((control == IDOK && good) || control == IDCANCEL) EndDialog(state.dialog, control);
  return TRUE;
}

constexpr DLGPROC kProcedure = RecordDialogProc<CompareDialog, OnStart, Route>;

}  // namespace

bool AskComparison(HWND owner, CompareWish& wish) {
  CompareDialog state{nullptr, wish};
  const ModalTurn turn(owner);
  if (ShowDialogBox(GetModuleHandleW(nullptr), L"COMPAREDLG", owner, kProcedure,
                    reinterpret_cast<LPARAM>(&state)) != IDOK) {
    return false;
  }
  wish = std::move(state.wish);
  return true;
}

}  // namespace hivequarry
