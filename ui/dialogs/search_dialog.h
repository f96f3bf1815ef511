// The dialog that asks what to search for, in a hive or in the live registry.
#pragma once

#include <cstdint>

#include "live/live_lists.h"
#include "reports/search.h"
#include "ui/draw/win.h"

namespace hivequarry {

// What the last search asked for; the next one begins with it.
struct LastSearch {
  SearchSettings settings;
  uint32_t roots = kLiveMachine | kLiveUser;  // LiveRoot bits
};
// For the interface thread; gone with the program, while the texts stay in the settings' histories.
LastSearch& TheLastSearch();

enum class SearchPlace : uint8_t { kHive, kRegistry };

// Asks with the dialog "SEARCHHIVEDLG", which offers roots for the registry alone. True when there
// is something to search for: TheLastSearch() says what, and the pattern is before its
// history. Else nothing has changed.
bool AskSearch(HWND owner, SearchPlace place);

}  // namespace hivequarry
