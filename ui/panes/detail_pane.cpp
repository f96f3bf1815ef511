#include "ui/panes/detail_pane.h"

#include <utility>

namespace hivequarry {
namespace {

constexpr size_t kFirstSlice = 1 << 16;  // characters
constexpr size_t kSlice = 1 << 15;

// The end of a slice of at most `length` characters from `start`: after a line, as a line break
// must not be cut in two, or anywhere in a line that is longer than a slice.
size_t SliceEnd(const std::wstring& text, size_t start, size_t length) {
  if (length >= text.size() - start) return text.size();
  const size_t line = text.rfind(L'\n', start + length - 1);
  return line == std::wstring::npos || line < start ? start + length : line + 1;
}

// An edit adds text at its selection only, so this is moved to the end and put back.
void Append(HWND edit, const std::wstring& slice) {
  DWORD from = 0;
  DWORD to = 0;
  SendMessageW(edit, EM_GETSEL, reinterpret_cast<WPARAM>(&from), reinterpret_cast<LPARAM>(&to));
  const LRESULT first_line = SendMessageW(edit, EM_GETFIRSTVISIBLELINE, 0, 0);
  SendMessageW(edit, WM_SETREDRAW, FALSE, 0);
  const int end = GetWindowTextLengthW(edit);
  SendMessageW(edit, EM_SETSEL, static_cast<WPARAM>(end), end);
  SendMessageW(edit, EM_REPLACESEL, FALSE, reinterpret_cast<LPARAM>(slice.c_str()));
  SendMessageW(edit, EM_SETSEL, from, static_cast<LPARAM>(to));
  const LRESULT line_now = SendMessageW(edit, EM_GETFIRSTVISIBLELINE, 0, 0);
  SendMessageW(edit, EM_LINESCROLL, 0, first_line - line_now);
  SendMessageW(edit, WM_SETREDRAW, TRUE, 0);
}

}  // namespace

bool SetDetail(DetailPane& pane, std::wstring text) {
  pane.shown = SliceEnd(text, 0, kFirstSlice);
  pane.text = std::move(text);
  SetWindowTextW(pane.window, pane.text.substr(0, pane.shown).c_str());
  if (pane.shown < pane.text.size()) return true;
  pane.text.clear();
  return false;
}

bool AddDetailSlice(DetailPane& pane) {
  if (pane.shown < pane.text.size()) {
    const size_t end = SliceEnd(pane.text, pane.shown, kSlice);
    Append(pane.window, pane.text.substr(pane.shown, end - pane.shown));
    pane.shown = end;
    if (pane.shown < pane.text.size()) return true;
  }
  pane.text = std::wstring();
  pane.shown = 0;
  return false;
}

}  // namespace hivequarry
