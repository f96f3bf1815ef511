#include "ui/live/regedit.h"

#include <objbase.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <memory>
#include <span>
#include <vector>

#include "hive/root_path.h"
#include "host/host.h"
#include "host/long_operation.h"
#include "ui/frame/text.h"

namespace hivequarry {
namespace {

constexpr wchar_t kEditorClass[] = L"RegEdit_RegEdit";
constexpr size_t kMaxLevels = 32;  // of a path, and of the way up from the selection
constexpr size_t kMaxTyped = 255;  // characters of a value's name
// 260 units with the zero at their end, more than the longest name of a key.
constexpr size_t kTextBytes = 520;
constexpr size_t kTextUnits = kTextBytes / sizeof(wchar_t);

// Milliseconds.
constexpr DWORD kPollPause = 10;
constexpr DWORD kIdleSlice = 50;
constexpr DWORD kWindowTime = 5000;  // from an idle editor to its window
constexpr DWORD kListTime = 1000;    // until the list has the values of the selected key
constexpr DWORD kAnswerTime = 5000;  // to a message; filling a branch may take long

struct CloseProcess {
  void operator()(HANDLE process) const { CloseHandle(process); }
};
using Process = std::unique_ptr<void, CloseProcess>;

struct FreeRemote {
  HANDLE process = nullptr;
  void operator()(void* block) const { VirtualFreeEx(process, block, 0, MEM_RELEASE); }
};
using RemoteBlock = std::unique_ptr<void, FreeRemote>;

// The registry editor's process. The block is memory in it.
struct Editor {
  HWND main = nullptr;
  HWND tree = nullptr;
  Process process;    // outlives the block
  RemoteBlock block;  // a record, and the text after it
  ItemRecordLayout layout = kItemRecord64;
};
constexpr size_t kTextInBlock = kItemRecord64.size;

// --- failures and waiting ------------------------------------------------------------------------

// The system's words for an error, in its language, without the line end; UTF-8.
std::string SystemText(DWORD error) {
  wchar_t text[512] = L"";
  DWORD length = FormatMessageW(
      FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_MAX_WIDTH_MASK,
      nullptr, error, 0, text, std::size(text), nullptr);
  while (length > 0 && text[length - 1] <= L' ') --length;
  return Utf8Name(std::wstring_view(text, length));
}

bool KeepError() {
  EditorErrorText() = SystemText(GetLastError());
  return false;
}

// Looks again and again until something is so; false when that takes too long or the user stops it.
template <typename Condition>
bool WaitFor(DWORD limit, Condition is_so) {
  const ULONGLONG start = GetTickCount64();
  while (!is_so()) {
    if (StopRequested() || GetTickCount64() - start >= limit) return false;
    Sleep(kPollPause);
  }
  return true;
}

void Pause(DWORD time) {
  WaitFor(time, [] { return false; });
}

// Sends a message; false, the error kept, when there is no answer to be had.
bool Ask(HWND window, UINT message, WPARAM first, LPARAM second, DWORD_PTR& answer) {
  answer = 0;
  SetLastError(ERROR_SUCCESS);
  constexpr UINT kHow = SMTO_ABORTIFHUNG | SMTO_ERRORONEXIT;
  const LRESULT sent =
      SendMessageTimeoutW(window, message, first, second, kHow, kAnswerTime, &answer);
  return sent != 0 || KeepError();
}

bool Tell(HWND window, UINT message, WPARAM first, LPARAM second) {
  DWORD_PTR answer = 0;
  return Ask(window, message, first, second, answer);
}

// --- the editor and its process ------------------------------------------------------------------

HWND FindEditor() { return FindWindowW(kEditorClass, nullptr); }

// In: the class of the window that is looked for. Out: that window, null for none.
struct PaneSearch {
  const wchar_t* window_class;
  HWND found;
};

// The first child of that class; FALSE ends the enumeration.
BOOL CALLBACK MatchPane(HWND window, LPARAM parameter) {
  PaneSearch& search = *reinterpret_cast<PaneSearch*>(parameter);
  wchar_t name[32] = L"";
  GetClassNameW(window, name, std::size(name));
  if (wcscmp(name, search.window_class) == 0) search.found = window;
  return search.found == nullptr ? TRUE : FALSE;
}

// Tree and list lie in the editor's window, in some versions inside another one there.
HWND FindPane(HWND main, const wchar_t* window_class) {
  PaneSearch search{window_class, nullptr};
  EnumChildWindows(main, MatchPane, reinterpret_cast<LPARAM>(&search));
  return search.found;
}

// The editor of the system's own word size, wherever a file of its name may lie.
std::wstring EditorFile() {
  wchar_t folder[MAX_PATH] = L"";
  GetSystemWindowsDirectoryW(folder, MAX_PATH);
  return std::wstring(folder) + L"\\regedit.exe";
}

Process LaunchEditor() {
  const std::wstring file = EditorFile();
  SHELLEXECUTEINFOW info{};
  info.cbSize = sizeof info;
  // This thread handles no messages, and a failure has a message of the program's own.
  info.fMask = SEE_MASK_NOCLOSEPROCESS | SEE_MASK_NOASYNC | SEE_MASK_FLAG_NO_UI;
  info.lpVerb = L"open";
  info.lpFile = file.c_str();
  info.nShow = SW_SHOWNORMAL;
  const HRESULT started = CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  if (ShellExecuteExW(&info) == FALSE) KeepError();
  if (SUCCEEDED(started)) CoUninitialize();
  return Process(info.hProcess);
}

// Has no limit but the end of the editor and the user's stop.
HWND StartEditor() {
  const Process process = LaunchEditor();
  if (process == nullptr) return nullptr;
  while (WaitForInputIdle(process.get(), kIdleSlice) == WAIT_TIMEOUT && !StopRequested()) {
  }
  HWND main = nullptr;
  WaitFor(kWindowTime, [&] {
    main = FindEditor();
    return main != nullptr || WaitForSingleObject(process.get(), 0) == WAIT_OBJECT_0;
  });
  return main;
}

// An editor of the other word size runs under the system's 32-bit emulation.
const ItemRecordLayout& LayoutFor(HANDLE process) {
  BOOL emulated = FALSE;
  const bool known = IsWow64Process(process, &emulated) != FALSE;
  return known && emulated != FALSE ? kItemRecord32 : kItemRecord64;
}

// Makes room in the editor's process; `editor.main` is set. False, the error kept, when that
// process is none of ours to touch, as one with higher rights.
bool OpenEditor(Editor& editor) {
  constexpr DWORD kRights =
      PROCESS_VM_OPERATION | PROCESS_VM_READ | PROCESS_VM_WRITE | PROCESS_QUERY_LIMITED_INFORMATION;
  DWORD identifier = 0;
  editor.tree = FindPane(editor.main, WC_TREEVIEWW);
  if (editor.tree == nullptr || GetWindowThreadProcessId(editor.main, &identifier) == 0) {
    SetLastError(ERROR_INVALID_WINDOW_HANDLE);
    return KeepError();
  }
  editor.process.reset(OpenProcess(kRights, FALSE, identifier));
  if (editor.process == nullptr) return KeepError();
  const HANDLE process = editor.process.get();
  editor.layout = LayoutFor(process);
  void* block =
      VirtualAllocEx(process, nullptr, kTextInBlock + kTextBytes, MEM_COMMIT, PAGE_READWRITE);
  editor.block = RemoteBlock(block, FreeRemote{process});
  return block != nullptr || KeepError();
}

// --- the editor's tree ---------------------------------------------------------------------------

// In UTF-16, which the control gives whatever text it holds: a key's name may have characters that
// no code page has.
bool ReadItemText(const Editor& editor, HTREEITEM item, std::wstring& text) {
  const HANDLE process = editor.process.get();
  const auto block = reinterpret_cast<uintptr_t>(editor.block.get());
  ItemRecord record =
      MakeItemRecord(editor.layout, reinterpret_cast<uintptr_t>(item), block + kTextInBlock);
  void* there = editor.block.get();
  if (WriteProcessMemory(process, there, record.data(), editor.layout.size, nullptr) == FALSE) {
    return KeepError();
  }
  DWORD_PTR known = 0;
  if (!Ask(editor.tree, TVM_GETITEMW, 0, static_cast<LPARAM>(block), known)) return false;
  if (known == FALSE) return false;
  wchar_t units[kTextUnits] = L"";
  if (ReadProcessMemory(process, there, record.data(), editor.layout.size, nullptr) == FALSE) {
    return KeepError();
  }
  // The control may answer with a text of its own in place of filling ours.
  const auto* from = reinterpret_cast<const void*>(TextOfRecord(editor.layout, record));
  if (ReadProcessMemory(process, from, units, kTextBytes, nullptr) == FALSE) return KeepError();
  text.assign(units, wcsnlen(units, kTextUnits - 1));
  return true;
}

HTREEITEM Related(const Editor& editor, WPARAM relation, HTREEITEM item) {
  DWORD_PTR found = 0;
  Ask(editor.tree, TVM_GETNEXTITEM, relation, reinterpret_cast<LPARAM>(item), found);
  return reinterpret_cast<HTREEITEM>(found);
}

bool TellTree(const Editor& editor, UINT message, WPARAM how, HTREEITEM item) {
  return Tell(editor.tree, message, how, reinterpret_cast<LPARAM>(item));
}

// An item of the editor's tree; its handle means something in that process alone.
struct EditorKey {
  HTREEITEM item;
  std::wstring text;
};

// The way from the tree's top to the selected item, the top first; the top alone when there is
// nothing selected or the way is longer than a path that is walked. False when a text can not be
// read.
bool ReadSelection(const Editor& editor, std::vector<EditorKey>& way) {
  HTREEITEM item = Related(editor, TVGN_CARET, nullptr);
  for (; item != nullptr && way.size() < kMaxLevels; item = Related(editor, TVGN_PARENT, item)) {
    EditorKey key{item, {}};
    if (!ReadItemText(editor, item, key.text)) return false;
    way.push_back(std::move(key));
  }
  std::ranges::reverse(way);
  if (item == nullptr && !way.empty()) return true;
  way.assign(1, EditorKey{Related(editor, TVGN_ROOT, nullptr), {}});
  return way[0].item != nullptr;
}

// Empty names are left out, so a backslash at either end does no harm.
std::vector<std::wstring> NamesOf(std::wstring_view path) {
  std::vector<std::wstring> names;
  while (!path.empty()) {
    const std::wstring_view name = path.substr(0, path.find(L'\\'));
    path.remove_prefix(std::min(name.size() + 1, path.size()));
    if (!name.empty()) names.emplace_back(name);
  }
  return names;
}

// As the registry compares names.
bool SameName(const std::wstring& a, const std::wstring& b) {
  return CompareStringOrdinal(a.c_str(), static_cast<int>(a.size()), b.c_str(),
                              static_cast<int>(b.size()), TRUE) == CSTR_EQUAL;
}

// How many names of a path lead along the way. The tree's top, the computer, is in no path.
size_t CommonLength(std::span<const EditorKey> way, std::span<const std::wstring> names) {
  size_t common = 0;
  while (common < names.size() && common + 1 < way.size() &&
         SameName(way[common + 1].text, names[common])) {
    ++common;
  }
  return common;
}

// `child` is null when there is none of the name. False when the editor does not answer, or the
// user stops it.
bool FindChild(const Editor& editor, HTREEITEM parent, const std::wstring& name, HTREEITEM& child) {
  WaitFor(SettleDelay(SpeedFigure()), [&] {
    child = Related(editor, TVGN_CHILD, parent);
    return child != nullptr || !EditorErrorText().empty();
  });
  std::wstring text;
  for (; child != nullptr; child = Related(editor, TVGN_NEXT, child)) {
    if (StopRequested() || !ReadItemText(editor, child, text)) return false;
    if (SameName(text, name)) break;
  }
  return EditorErrorText().empty();
}

// kMissing: the tree has no key of that name; kFailed: the editor did not answer.
enum class WalkEnd : uint8_t { kReached, kMissing, kFailed };

// Down from an item, each key opened and selected in turn, so that the last one stays selected.
WalkEnd WalkDown(const Editor& editor, HTREEITEM& item, std::span<const std::wstring> names) {
  for (const std::wstring& name : names) {
    HTREEITEM child = nullptr;
    if (!TellTree(editor, TVM_SELECTITEM, TVGN_CARET, item) ||
        !TellTree(editor, TVM_EXPAND, TVE_EXPAND, item) || !FindChild(editor, item, name, child)) {
      return WalkEnd::kFailed;
    }
    if (child == nullptr) return WalkEnd::kMissing;
    item = child;
  }
  const bool selected = TellTree(editor, TVM_SELECTITEM, TVGN_CARET, item);
  return selected ? WalkEnd::kReached : WalkEnd::kFailed;
}

// --- what the user sees --------------------------------------------------------------------------

// A window of another process gets the focus only from a thread that shares its input. False when
// the editor does not answer.
bool FocusPane(HWND pane) {
  const DWORD own = GetCurrentThreadId();
  const DWORD other = GetWindowThreadProcessId(pane, nullptr);
  if (!Tell(pane, WM_NULL, 0, 0)) return false;  // it would keep this thread waiting
  if (AttachThreadInput(own, other, TRUE) == FALSE) return true;
  SetFocus(pane);
  AttachThreadInput(own, other, FALSE);
  return true;
}

void BringForward(HWND main) {
  if (IsIconic(main) != FALSE) ShowWindowAsync(main, SW_RESTORE);
  ShowWindowAsync(main, SW_SHOW);
  SetForegroundWindow(main);
}

// An editor that was started goes to the key that it showed last, and nothing tells when it has
// done so: it gets the whole delay. A running one has to be there and to have a selection.
void LetSettle(const Editor& editor, bool started) {
  const uint32_t delay = SettleDelay(SpeedFigure());
  if (started) return Pause(delay);
  WaitFor(delay, [&] {
    return IsIconic(editor.main) == FALSE && Related(editor, TVGN_CARET, nullptr) != nullptr;
  });
}

// The list looks for a row that begins with what is typed. Nothing tells when the list has gone
// over to the selected key, so it gets its time.
void SelectValue(const Editor& editor, std::wstring name) {
  const HWND list = FindPane(editor.main, WC_LISTVIEWW);
  if (list == nullptr) return;
  if (!FocusPane(list)) return;
  Pause(kListTime);
  if (StopRequested() || !Tell(list, WM_KEYDOWN, VK_HOME, 1)) return;
  name.resize(std::min(name.size(), kMaxTyped));
  CharUpperBuffW(name.data(), static_cast<DWORD>(name.size()));
  for (const wchar_t unit : name) {
    if (StopRequested() || !Tell(list, WM_CHAR, unit, 1)) return;
  }
}

// False when the walk broke off: the editor does not answer, or the user stopped it.
bool ShowKey(const Editor& editor, std::string_view path, std::string_view value) {
  std::vector<EditorKey> way;
  std::vector<std::wstring> names = NamesOf(WideName(LongRootPath(path)));
  if (names.empty()) return true;
  if (!ReadSelection(editor, way)) return false;
  // Of a longer path the key of the last level is shown, and no value: it would be that of another
  // key.
  const bool whole = names.size() <= kMaxLevels;
  names.resize(std::min(names.size(), kMaxLevels));
  const size_t common = CommonLength(way, names);
  HTREEITEM item = way[common].item;
  const WalkEnd end = WalkDown(editor, item, std::span(names).subspan(common));
  if (end != WalkEnd::kReached) return end == WalkEnd::kMissing;
  TellTree(editor, TVM_ENSUREVISIBLE, 0, item);
  if (!whole || value.empty()) return true;
  SelectValue(editor, value == kDefaultValue ? std::wstring() : WideName(value));
  return true;
}

int NoEditor() {
  if (!StopRequested()) {
    ShowMessage("Unable to launch Regedit !", kProgramName, Icon::kExclamation);
  }
  return kEditorMissing;
}

// A field of the record, lowest byte first. Handles and addresses in a 32-bit process have nothing
// in their upper half.
void PutField(ItemRecord& record, size_t at, size_t size, uint64_t value) {
  for (size_t byte = 0; byte < size; ++byte) {
    record[at + byte] = static_cast<uint8_t>(value >> (8 * byte));
  }
}

static_assert(sizeof(TVITEMW) == kItemRecord64.size && sizeof(void*) == kItemRecord64.word);
static_assert(offsetof(TVITEMW, hItem) == kItemRecord64.item);
static_assert(offsetof(TVITEMW, pszText) == kItemRecord64.text);
static_assert(offsetof(TVITEMW, cchTextMax) == kItemRecord64.capacity);
// The same fields in a process of 32 bits: all ten take four bytes each.
struct ItemFields32 {
  uint32_t mask, item, state, state_mask, text, capacity, image, selected_image, children, data;
};
static_assert(sizeof(ItemFields32) == kItemRecord32.size);
static_assert(offsetof(ItemFields32, item) == kItemRecord32.item);
static_assert(offsetof(ItemFields32, text) == kItemRecord32.text);
static_assert(offsetof(ItemFields32, capacity) == kItemRecord32.capacity);

}  // namespace

int GoToRegedit(std::string_view key_path, std::string_view value_name) {
  EditorErrorText().clear();
  Editor editor;
  editor.main = FindEditor();
  const bool started = editor.main == nullptr;
  if (started) editor.main = StartEditor();
  if (editor.main == nullptr) return NoEditor();
  BringForward(editor.main);
  if (!OpenEditor(editor) || !FocusPane(editor.tree)) return kEditorReached;
  LetSettle(editor, started);
  if (ShowKey(editor, key_path, value_name)) SetForegroundWindow(editor.main);
  return kEditorReached;
}

bool ReadEditorItemText(HTREEITEM item, std::wstring& text) {
  Editor editor;
  editor.main = FindEditor();
  return editor.main != nullptr && OpenEditor(editor) && ReadItemText(editor, item, text);
}

std::string& EditorErrorText() {
  static std::string text;
  return text;
}

ItemRecord MakeItemRecord(const ItemRecordLayout& layout, uint64_t item, uint64_t text) {
  constexpr size_t kNumber = sizeof(uint32_t);
  ItemRecord record{};
  PutField(record, 0, kNumber, TVIF_TEXT | TVIF_HANDLE);
  PutField(record, layout.item, layout.word, item);
  PutField(record, layout.text, layout.word, text);
  PutField(record, layout.capacity, kNumber, kTextUnits);
  return record;
}

uint64_t TextOfRecord(const ItemRecordLayout& layout, const ItemRecord& record) {
  uint64_t text = 0;
  std::memcpy(&text, record.data() + layout.text, layout.word);
  return text;
}

uint32_t SettleDelay(uint32_t speed) {
  constexpr struct {
    uint32_t below;
    uint32_t delay;
  } kDelays[] = {{100, 450}, {200, 420}, {320, 400}};
  for (const auto& step : kDelays) {
    if (speed < step.below) return step.delay;
  }
  return 380;
}

uint32_t SpeedFigure() {
  static const uint32_t figure = [] {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(1);
    uint32_t thousands = 0;
    volatile uint32_t number = 1;
    do {
      for (int step = 0; step < 1000; ++step) number = number * 69069 + 1;
      ++thousands;
    } while (std::chrono::steady_clock::now() < end);
    return thousands;
  }();
  return figure;
}

}  // namespace hivequarry
