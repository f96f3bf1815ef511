// The folder "Workspace" of the tree: the hives that this window shows, a row each.
#pragma once

#include <string>

#include "view/hive_glance.h"
#include "words/item_values.h"

namespace hivequarry {

// What the root path was taken from, and all that says which hive this is; empty where nothing
// does.
std::string RootWords(const HiveImage& hive, const RootEvidence& evidence);
// Rows of the value pane: root, kind, file name and place in the file.
ItemValues WorkspaceRows(const HiveImage& hive, const KeyTree& tree, const HiveSurvey& survey);
// Text of the detail pane.
std::u16string WorkspaceDetail(const GlanceFacts& facts);

}  // namespace hivequarry
