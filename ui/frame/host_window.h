// The host table of the desktop program. What workers say is kept here until the interface thread
// takes it: one posted message announces that something changed, however much did.
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>

#include "host/host.h"
#include "ui/draw/win.h"

namespace hivequarry {

// Messages to the main window.
inline constexpr UINT kHostChanged = WM_APP + 1;  // posted: take the changes
inline constexpr UINT kShowBox = WM_APP + 2;      // sent by a worker: lParam is a BoxRequest

// Lives on the stack of the worker that sends kShowBox, which waits for the answer.
struct BoxRequest {
  std::wstring text;
  std::wstring title;
  UINT flags = 0;  // of MessageBox
  int answer = 0;  // the button's identifier
};

// What workers have to say, until the interface thread takes it: kHostChanged is posted once,
// however often something changed before it was answered.
struct HostWindow {
  HWND window = nullptr;       // the main window, to which workers post and send
  DWORD interface_thread = 0;  // the thread of `window`
  CodePage code_page;
  std::atomic<bool> evidence{false};   // evidence mode, in which new copies of the program begin
  std::atomic<bool> ending{false};     // the program ends: boxes answer themselves
  std::atomic<bool> announced{false};  // kHostChanged is posted and not yet answered

  std::mutex mutex;  // of what follows
  std::wstring status;
  std::wstring title;
  bool status_changed = false;
  bool title_changed = false;

  std::atomic<uint32_t> progress_steps{0};  // 0: no bar
  std::atomic<uint32_t> progress_position{0};
  std::atomic<int> wait_cursors{0};  // asked for and not yet given back
};

// Fills `host` for a main window, on the interface thread.
void StartHostWindow(HostWindow& host, HWND window);
// The table over `host`, which must outlive every worker.
Host MakeWindowHost(HostWindow& host);
// The answer to kShowBox; also what message boxes of the interface thread are made of.
void ShowBox(HostWindow& host, BoxRequest& request);
// Answers a box of this thread with that text with "No", if one is shown: what it asks about is
// past.
void EndQuestion(const char* text);

// The system's code page. Where that is no single-byte one, bytes that stand for nothing alone
// become '?'; where it is UTF-8, the Western code page is in.
CodePage SystemCodePage();
// The main window's title for a hive.
std::wstring HiveTitle(HWND window, const std::string& file_name);
// `"program" arguments`, as a new copy is started.
std::wstring LaunchLine(const std::wstring& program, const std::string& arguments);
// The running program's own path.
std::wstring ProgramPath();
// False when another program holds the clipboard.
bool CopyText(HWND window, std::wstring text);

}  // namespace hivequarry
