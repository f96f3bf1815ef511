// The dialog that asks for the note and the tags of one bookmark.
#pragma once

#include <string>

#include "ui/draw/win.h"

namespace hivequarry {

// UTF-8.
struct BookmarkWords {
  std::string title;  // what the bookmark is of
  std::string note;
  std::string tags;  // with commas between them
};
// True when the user wants these words.
bool AskBookmarkWords(HWND owner, BookmarkWords& words);

}  // namespace hivequarry
