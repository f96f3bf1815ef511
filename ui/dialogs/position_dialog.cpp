#include "ui/dialogs/position_dialog.h"

#include <charconv>
#include <string>

#include "host/number_text.h"
#include "ui/frame/modal.h"
#include "ui/frame/text.h"
#include "ui/resources/resource.h"

namespace hivequarry {
namespace {

// In: `end`, the first position that is too far. Out: `position`.
struct PositionRequest {
  uint32_t end;
  uint32_t position;
};

std::string_view Trimmed(std::string_view text) {
  const size_t start = text.find_first_not_of(" \t");
  if (start == std::string_view::npos) return {};
  return text.substr(start, text.find_last_not_of(" \t") - start + 1);
}

// What is in the parentheses of a position as lists show it; else the text itself.
std::string_view Decisive(std::string_view text) {
  const size_t open = text.find('(');
  if (open == std::string_view::npos || !text.ends_with(')')) return text;
  return Trimmed(text.substr(open + 1, text.size() - open - 2));
}

std::wstring TextOf(HWND dialog) {
  wchar_t text[64] = L"";
  GetDlgItemTextW(dialog, kPositionText, text, static_cast<int>(std::size(text)));
  return text;
}

// Says what is wrong with the position, if something is; the button is there for a good one.
void Judge(HWND dialog, PositionRequest& request) {
  const std::wstring text = TextOf(dialog);
  const bool number = ReadPosition(text, request.position);
  const bool good = number && request.position < request.end;
  const std::string end = HexAndDecimal(request.end) + ".";
  std::string message = "Decimal, or hexadecimal after 0x; below " + end;
  if (!text.empty() && !number) message = "This is no position.";
  if (number && !good) message = "The hive ends at " + end;
  SetDlgItemTextW(dialog, kPositionMessage, WideName(message).c_str());
  EnableWindow(GetDlgItem(dialog, IDOK), good);
}

void OnStart(HWND dialog, PositionRequest& request) {
  const std::string text = Concat({"0x", Hex(request.position, 8)});
  SendDlgItemMessageW(dialog, kPositionText, EM_SETLIMITTEXT, 40, 0);
  SetWindowLongPtrW(dialog, DWLP_USER, reinterpret_cast<LONG_PTR>(&request));
  SetDlgItemTextW(dialog, kPositionText, WideName(text).c_str());
  Judge(dialog, request);
}

void OnCommand(HWND dialog, PositionRequest& request, int control, WORD notice) {
  if (control == kPositionText && notice == EN_CHANGE) Judge(dialog, request);
  if (control == IDOK && IsWindowEnabled(GetDlgItem(dialog, IDOK)) != FALSE) {
    EndDialog(dialog, IDOK);
  }
  if (control == IDCANCEL) EndDialog(dialog, IDCANCEL);
}

INT_PTR CALLBACK PositionProc(HWND dialog, UINT message, WPARAM first, LPARAM second) {
  if (message == WM_INITDIALOG) {
    OnStart(dialog, *reinterpret_cast<PositionRequest*>(second));
    return TRUE;
  }
  auto* request = reinterpret_cast<PositionRequest*>(GetWindowLongPtrW(dialog, DWLP_USER));
  if (message != WM_COMMAND || request == nullptr) return FALSE;
  OnCommand(dialog, *request, LOWORD(first), HIWORD(first));
  return TRUE;
}

}  // namespace

bool ReadPosition(std::wstring_view text, uint32_t& position) {
  const std::string whole = Utf8Name(text);
  std::string_view digits = Decisive(Trimmed(whole));
  const bool hex = digits.starts_with("0x") || digits.starts_with("0X");
  if (hex) digits.remove_prefix(2);
  const char* end = digits.data() + digits.size();
  uint32_t read = 0;
  const auto [last, error] = std::from_chars(digits.data(), end, read, hex ? 16 : 10);
  if (error != std::errc() || last != end) return false;
  position = read;
  return true;
}

bool AskPosition(HWND owner, uint32_t end, uint32_t& position) {
  PositionRequest request{end, position};
  const ModalTurn turn(owner);
  if (ShowDialogBox(GetModuleHandleW(nullptr), L"POSITIONDLG", owner, PositionProc,
                    reinterpret_cast<LPARAM>(&request)) != IDOK) {
    return false;
  }
  position = request.position;
  return true;
}

}  // namespace hivequarry
