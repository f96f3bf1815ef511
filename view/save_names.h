// What dialogs propose for a list that is saved.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace hivequarry {

// The text as a part of a file's name on any system: what no name may hold is "_", blanks and dots
// at its end go, and a long one is cut. Empty for a text of which nothing is left.
std::string CleanFileName(std::string_view text);
// A name without its ending: the list's title, and the name of the file that it was made of, which
// may be empty.
std::string ProposedListName(std::string_view title, std::string_view file);
// The folder to begin with: the one used last unless it is one of the evidence or below one, else
// that of the user's documents, which may be empty. Folders are without a separator at the end.
std::string ProposedFolder(const std::string& last, std::span<const std::string> evidence,
                           const std::string& documents);

}  // namespace hivequarry
