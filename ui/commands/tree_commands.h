// Commands of the tree.
#pragma once

namespace hivequarry {

struct MainWindow;

// In the pane that is shown: the Output List, else the tree.
void OnFind(MainWindow& window);
void OnFindNext(MainWindow& window);
// To the next key that was recovered or deleted, or the one before, round the ends of the tree;
// says so when there is none, or none so far.
void OnRecovered(MainWindow& window, bool down);
// As OnFindNext, backwards.
void OnFindPrevious(MainWindow& window);

// To the topmost key above the selected one, and from there back to it.
void OnCurrentBranch(MainWindow& window);
// Everything below the selected item is opened, in parts, so that the window goes on.
void OnExpandSubfolders(MainWindow& window);
// Deleted keys come into the tree, or go.
void OnFreedInTree(MainWindow& window);
// All below the selected item is closed at once, under the wait cursor where that is much.
void OnCollapseSubfolders(MainWindow& window);
// The whole path, as the path line shows it.
void OnCopyKeyName(MainWindow& window);
// Another copy of the program opens the part of the file that begins at this root cell, or the same
// range with this key selected.
void OnOpenValidRoot(MainWindow& window);
void OnOpenKey(MainWindow& window);
// Takes the item out of the tree that is shown, with all below it; the file keeps it. Undone as a
// whole.
void OnDeleteKeys(MainWindow& window);
void OnShowAllKeys(MainWindow& window);

}  // namespace hivequarry
