#include "ui/frame/host_window.h"

#include <cstring>
#include <iterator>

#include "host/accounts.h"
#include "host/long_operation.h"
#include "host/number_text.h"
#include "ui/frame/modal.h"
#include "ui/frame/text.h"

namespace hivequarry {
namespace {

HostWindow& Window(void* context) { return *static_cast<HostWindow*>(context); }

void Announce(HostWindow& host) {
  if (!host.announced.exchange(true)) PostMessageW(host.window, kHostChanged, 0, 0);
}

// In the order of both enumerations.
UINT BoxFlags(Icon icon, Buttons buttons) {
  constexpr UINT kIconFlags[] = {0, MB_ICONINFORMATION, MB_ICONEXCLAMATION, MB_ICONQUESTION,
                                 MB_ICONHAND};
  constexpr UINT kButtonFlags[] = {MB_OK, MB_OKCANCEL, MB_YESNO, MB_YESNOCANCEL,
                                   MB_YESNO | MB_DEFBUTTON2};
  return kIconFlags[static_cast<int>(icon)] | kButtonFlags[static_cast<int>(buttons)];
}

Answer AnswerOf(int button) {
  switch (button) {
    case IDOK:
      return Answer::kOk;
    case IDYES:
      return Answer::kYes;
    case IDNO:
      return Answer::kNo;
    default:
      return Answer::kCancel;
  }
}

// From any thread; a worker waits for the interface thread's answer, so that one must never wait
// for a worker without answering messages.
Answer Message(void* context, const char* text, const char* title, Icon icon, Buttons buttons) {
  HostWindow& host = Window(context);
  BoxRequest request{WindowText(text), WindowText(title), BoxFlags(icon, buttons), 0};
  if (GetCurrentThreadId() == host.interface_thread) {
    ShowBox(host, request);
  } else {
    SendMessageW(host.window, kShowBox, 0, reinterpret_cast<LPARAM>(&request));
  }
  // A window that is gone answers nothing.
  if (request.answer == 0) request.answer = buttons == Buttons::kOk ? IDOK : IDNO;
  return AnswerOf(request.answer);
}

// The functions of the Host table from here on are called on any thread. Of those that show
// something work in the background shows nothing: nobody asked for it.
void Status(void* context, const char* text) {
  if (WorkInBackground() != nullptr) return;
  HostWindow& host = Window(context);
  {
    const std::lock_guard lock(host.mutex);
    host.status = WindowText(text);
    host.status_changed = true;
  }
  Announce(host);
}

void ProgressRange(void* context, uint32_t steps) {
  if (WorkInBackground() != nullptr) return;
  HostWindow& host = Window(context);
  host.progress_position = 0;
  host.progress_steps = steps;
  Announce(host);
}

void ProgressPosition(void* context, uint32_t position) {
  if (WorkInBackground() != nullptr) return;
  HostWindow& host = Window(context);
  host.progress_position = position;
  Announce(host);
}

void WaitCursor(void* context, bool on) {
  if (WorkInBackground() != nullptr) return;
  HostWindow& host = Window(context);
  host.wait_cursors += on ? 1 : -1;
  Announce(host);
}

void Beep(void*) { MessageBeep(MB_OK); }

// On any thread: the text is left for the interface thread, which takes it when it comes to.
void Title(void* context, const std::string& file_name) {
  HostWindow& host = Window(context);
  {
    const std::lock_guard lock(host.mutex);
    host.title = HiveTitle(host.window, file_name);
    host.title_changed = true;
  }
  Announce(host);
}

bool Clipboard(void* context, std::string_view text) {
  const std::u16string wide = WideOfText(text);
  return CopyText(Window(context).window, std::wstring(wide.begin(), wide.end()));
}

// A new copy of the program; it begins in evidence mode when this one is in it. Nobody waits for
// it.
bool Launch(void* context, const std::string& arguments) {
  const std::wstring program = ProgramPath();
  const bool evidence = Window(context).evidence;
  std::wstring line = LaunchLine(program, (evidence ? "--evidence " : "") + arguments);
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESHOWWINDOW;
  startup.wShowWindow = SW_SHOWNORMAL;
  PROCESS_INFORMATION process{};
  if (CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                     &startup, &process) == FALSE) {
    return false;
  }
  CloseHandle(process.hThread);
  CloseHandle(process.hProcess);
  return true;
}

// Local time by the rules that held at that time, not by today's offset.
uint64_t LocalTime(void*, uint64_t utc) {
  const FILETIME time{static_cast<DWORD>(utc), static_cast<DWORD>(utc >> 32)};
  SYSTEMTIME fields{};
  SYSTEMTIME local{};
  FILETIME result{};
  if (FileTimeToSystemTime(&time, &fields) == FALSE ||
      SystemTimeToTzSpecificLocalTime(nullptr, &fields, &local) == FALSE ||
      SystemTimeToFileTime(&local, &result) == FALSE) {
    return utc;
  }
  // Calendar fields end at milliseconds; what is below them has no zone.
  const uint64_t whole = static_cast<uint64_t>(result.dwHighDateTime) << 32 | result.dwLowDateTime;
  return whole + utc % 10000;
}

}  // namespace

void StartHostWindow(HostWindow& host, HWND window) {
  host.window = window;
  host.interface_thread = GetCurrentThreadId();
  host.code_page = SystemCodePage();
}

Host MakeWindowHost(HostWindow& host) {
  Host table;
  table.context = &host;
  table.message = Message;
  table.status = Status;
  table.progress_range = ProgressRange;
  table.progress_position = ProgressPosition;
  table.wait_cursor = WaitCursor;
  table.beep = Beep;
  table.hive_title = Title;
  table.clipboard = Clipboard;
  table.launch = Launch;
  table.local_time = LocalTime;
  table.account = LookUpAccount;
  table.code_page = &host.code_page;
  return table;
}

void ShowBox(HostWindow& host, BoxRequest& request) {
  if (host.ending) return;
  // The window of this thread that the user is in, be it a list window or a dialog. Where another
  // program is active there is none: then what was used last above the main window.
  const HWND active = GetActiveWindow();
  const HWND owner = active != nullptr ? active : GetLastActivePopup(host.window);
  const ModalTurn turn(owner);
  request.answer = MessageBoxW(owner, request.text.c_str(), request.title.c_str(), request.flags);
}

void EndQuestion(const char* text) {
  std::wstring wanted = WindowText(text);
  EnumThreadWindows(
      GetCurrentThreadId(),
      [](HWND box, LPARAM asked) -> BOOL {
        const auto* words = reinterpret_cast<const wchar_t*>(asked);
        wchar_t name[16] = L"";
        // A message box is a dialog of the system, and its text is that of a control in it. Texts
        // of 64 characters and more are not found so.
        GetClassNameW(box, name, static_cast<int>(std::size(name)));
        if (lstrcmpW(name, L"#32770") != 0) return TRUE;
        for (HWND part = GetWindow(box, GW_CHILD); part != nullptr;
             part = GetWindow(part, GW_HWNDNEXT)) {
          wchar_t shown[64] = L"";
          GetWindowTextW(part, shown, static_cast<int>(std::size(shown)));
          if (lstrcmpW(shown, words) == 0) PostMessageW(box, WM_COMMAND, IDNO, 0);
        }
        return TRUE;
      },
      reinterpret_cast<LPARAM>(wanted.c_str()));
}

CodePage SystemCodePage() {
  if (GetACP() == CP_UTF8) return WesternCodePage();
  CodePage page;
  for (int byte = 0; byte < 256; ++byte) {
    const char narrow = static_cast<char>(byte);
    wchar_t wide = 0;
    const int count = MultiByteToWideChar(CP_ACP, MB_ERR_INVALID_CHARS, &narrow, 1, &wide, 1);
    page.wide_of_byte[static_cast<size_t>(byte)] =
        count != 1 || wide == 0xFFFD ? u'?' : static_cast<char16_t>(wide);
  }
  CompleteCodePage(page);
  return page;
}

std::wstring HiveTitle(HWND window, const std::string& file_name) {
  const auto handle = static_cast<uint32_t>(reinterpret_cast<uintptr_t>(window));
  return WideName(Concat({kProgramName, ":F:", Hex(handle, 8), ":", file_name}));
}

std::wstring LaunchLine(const std::wstring& program, const std::string& arguments) {
  return L"\"" + program + L"\" " + WideName(arguments);
}

std::wstring ProgramPath() {
  std::wstring path(MAX_PATH, L'\0');
  for (;;) {
    const DWORD length = GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
    if (length < path.size()) return path.substr(0, length);
    path.resize(path.size() * 2);
  }
}

// The clipboard owns the memory once it has taken it.
bool CopyText(HWND window, std::wstring text) {
  const size_t size = (text.size() + 1) * sizeof(wchar_t);
  const HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE, size);
  if (block == nullptr) return false;
  void* memory = GlobalLock(block);
  std::memcpy(memory, text.c_str(), size);
  GlobalUnlock(block);
  bool done = false;
  if (OpenClipboard(window) != FALSE) {
    EmptyClipboard();
    done = SetClipboardData(CF_UNICODETEXT, block) != nullptr;
    CloseClipboard();
  }
  if (!done) GlobalFree(block);
  return done;
}

}  // namespace hivequarry
