#include "ui/main/address_bar.h"

#include <algorithm>
#include <string>

#include "host/host.h"
#include "ui/draw/text_size.h"
#include "ui/frame/text.h"
#include "ui/main/main_window.h"

namespace hivequarry {
namespace {

// What was typed or pasted, on one line, without blanks around it or a separator at its end.
std::string TypedPath(const MainWindow& window) {
  std::wstring text = TextOfControl(window.controls.path);
  std::erase_if(text, [](wchar_t c) { return c == L'\r' || c == L'\n'; });
  const size_t first = text.find_first_not_of(L" \t");
  if (first == std::wstring::npos) return std::string();
  text = text.substr(first, text.find_last_not_of(L" \t\\") - first + 1);
  return TextOfWide(std::u16string(text.begin(), text.end()));
}

// The item of the longest beginning of a path that leads anywhere; the root where none does.
uint32_t NearestItem(const MainWindow& window, std::string path) {
  for (;;) {
    const uint32_t item = FindItemByPath(ShownHive(window), *window.shown->tree, path);
    const size_t slash = path.rfind('\\');
    if (item != kNoItem || slash == std::string::npos) return item == kNoItem ? 0 : item;
    path.resize(slash);
  }
}

}  // namespace

void OnAddressBar(MainWindow& window) {
  if (window.layout.arrangement == kOutputArrangement) ShowArrangement(window, kKeysArrangement);
  SetFocus(window.controls.path);
  SendMessageW(window.controls.path, EM_SETSEL, 0, -1);
}

void GoToTypedPath(MainWindow& window) {
  const std::string path = TypedPath(window);
  if (window.shown->slot < 0 || path.empty()) return LeaveAddressBar(window);
  const uint32_t found = FindItemByPath(ShownHive(window), *window.shown->tree, path);
  const uint32_t item = found == kNoItem ? NearestItem(window, path) : found;
  if (window.shown->tree->items[item].hidden) return LeaveAddressBar(window);
  if (found == kNoItem) {
    const std::string text = "Could not find the key " + path + " !";
    ShowMessage(text.c_str(), kProgramName, Icon::kInformation);
  }
  SelectItem(window.shown->pane, item);
  RefreshItem(window);  // the path of the key as the tree spells it
  SetFocus(window.controls.tree);
}

void LeaveAddressBar(MainWindow& window) {
  if (window.shown->slot < 0) return;
  RefreshItem(window);
  SetFocus(window.controls.tree);
}

}  // namespace hivequarry
