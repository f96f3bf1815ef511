// Deleted keys in the tree pane: below the keys that they had as their parents, and in a folder of
// their own. They come when they were found (findings.h), and go with the option.
#pragma once

#include <cstdint>
#include <memory>

#include "ui/draw/win.h"
#include "view/freed_tree.h"

namespace hivequarry {

struct MainWindow;

// What is in the tree; null while nothing was found yet, or the user does not want it there.
std::shared_ptr<const FreedTree> ShownFreed(const MainWindow& window);
// Puts it there as far as it is to be. After ShowTree, which empties the control.
void ShowFreedKeys(MainWindow& window);
// Takes it out.
void HideFreedKeys(MainWindow& window);
// Takes the folder out; the keys in the tree went with that.
void ForgetFreed(MainWindow& window);

// The folder of what was deleted too.
bool IsFreedSelected(const MainWindow& window);
// The deleted key that is selected; kNoOffset for none.
uint32_t SelectedFreedKey(const MainWindow& window);
// The position of the key that is selected, deleted or not; kNoOffset for none.
uint32_t SelectedKeyPosition(const MainWindow& window);
// Selects the deleted key, or the deleted value with its key, at a position; false when neither is
// there.
bool GoToFreed(MainWindow& window, uint32_t position);

}  // namespace hivequarry
