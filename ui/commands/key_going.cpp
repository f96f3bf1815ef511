#include "ui/commands/key_going.h"

#include "app/key_paths.h"
#include "host/host.h"
#include "ui/main/main_window.h"

namespace hivequarry {
namespace {

void Tell(const char* what, const std::string& path) {
  const std::string text = what + ShownKeyPath(path);
  ShowMessage(text.c_str(), kProgramName, Icon::kInformation);
}

}  // namespace

bool GoToKeyPath(MainWindow& window, const std::string& path) {
  if (window.shown->slot < 0) return false;
  const FoundKey found = FindKeyPath(ShownHive(window), *window.shown->tree, path);
  if (found.item == kNoItem) {
    Tell("This hive does not hold the key !\r\n", path);
    return false;
  }
  if (window.layout.arrangement == kOutputArrangement) ShowArrangement(window, kKeysArrangement);
  SelectItem(window.shown->pane, found.item);
  SetFocus(window.controls.tree);
  if (!found.whole) {
    Tell("Key not found ! The nearest key above it is shown.\r\n", path);
  }
  return true;
}

}  // namespace hivequarry
