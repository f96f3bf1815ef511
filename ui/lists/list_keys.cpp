// The keys of a list window: those of its commands, and the way from child to child.
#include <algorithm>
#include <iterator>

#include "host/long_operation.h"
#include "ui/lists/activity_pane.h"
#include "ui/lists/list_frame.h"
#include "ui/lists/list_menu.h"
#include "ui/lists/list_selection.h"
#include "ui/lists/list_window.h"
#include "view/list_commands.h"

namespace hivequarry {
namespace {

uint8_t ModifiersNow() {
  uint8_t modifiers = 0;
  if (GetKeyState(VK_CONTROL) < 0) modifiers |= kWithControl;
  if (GetKeyState(VK_SHIFT) < 0) modifiers |= kWithShift;
  if (GetKeyState(VK_MENU) < 0) modifiers |= kWithAlt;
  return modifiers;
}

// Keys that mean the text of a box, with Ctrl.
bool IsEditingKey(WPARAM key) {
  constexpr WPARAM kKeys[] = {'A',      'C',     'V',    'X',     'Z',       VK_LEFT,
                              VK_RIGHT, VK_HOME, VK_END, VK_BACK, VK_DELETE, VK_INSERT};
  return std::ranges::find(kKeys, key) != std::end(kKeys);
}

// In the line of the source's name keys of the clipboard mean its text; in the filter box nearly
// all that have no other modifier than Shift.
bool IsTextKey(HWND focus, WPARAM key, uint8_t modifiers) {
  const int child = GetDlgCtrlID(focus);
  if (child == kListSourceId) return key == 'A' || key == 'C';
  if (child != kListFilterId || (modifiers & kWithAlt) != 0) return false;
  if ((modifiers & kWithControl) != 0) return IsEditingKey(key);
  const bool function = key >= VK_F1 && key <= VK_F24;
  return !function && key != VK_TAB && key != VK_ESCAPE && key != VK_RETURN && key != VK_DOWN;
}

bool IsKey(const Accelerator& accelerator, WPARAM key, uint8_t modifiers) {
  return accelerator.key == key && accelerator.modifiers == modifiers;
}

// True for a key of a command, also where the command is not available just now.
bool RunKey(ListPlace& place, WPARAM key, uint8_t modifiers) {
  for (const ListCommand& command : ListCommands()) {
    if (!IsKey(command.accelerator, key, modifiers) &&
        !IsKey(command.second_accelerator, key, modifiers)) {
      continue;
    }
    RunListCommand(place, command.number);
    return true;
  }
  return false;
}

// From the filter box to the rows that it left.
bool IsListKeyOfBox(HWND focus, WPARAM key) {
  return GetDlgCtrlID(focus) == kListFilterId && (key == VK_RETURN || key == VK_DOWN);
}

void FocusNextChild(const ListPlace& place, bool backward) {
  const HWND next = GetNextDlgTabItem(place.window, GetFocus(), backward ? TRUE : FALSE);
  if (next != nullptr) SetFocus(next);
}

// Ends what is under way bit by bit; a worker polls the key itself.
void OnEscape(ListPlace& place) {
  if (CancelDrag(place)) return;
  if (IsSelecting(place)) return EndSelecting(place);
  if ((place.rows.filtered || HasFilterWords(place)) && !place.working)
    return RunListCommand(place, kCommandShowAllRows);
  // While something runs Esc is for that, and does not close the window.
  if (!place.working && TheLongOperation().running == 0) {
    PostMessageW(place.window, WM_CLOSE, 0, 0);
  }
}

bool RunWindowKey(ListPlace& place, WPARAM key, uint8_t modifiers) {
  if (key == VK_TAB && (modifiers & ~kWithShift) == 0) {
    FocusNextChild(place, modifiers == kWithShift);
    return true;
  }
  if (key != VK_ESCAPE || modifiers != 0) return false;
  OnEscape(place);
  return true;
}

}  // namespace

bool TranslateListKeys(MSG& message) {
  if (message.message != WM_KEYDOWN && message.message != WM_SYSKEYDOWN) return false;
  ListPlace* place = FindListPlace(message.hwnd);
  const uint8_t modifiers = ModifiersNow();
  // A key of the text goes on to the control as it is.
  if (place == nullptr || IsTextKey(message.hwnd, message.wParam, modifiers)) return false;
  if (IsListKeyOfBox(message.hwnd, message.wParam)) {
    EnterRows(*place);
    return true;
  }
  if (RunKey(*place, message.wParam, modifiers)) return true;
  return RunWindowKey(*place, message.wParam, modifiers);
}

}  // namespace hivequarry
