// Names of accounts for texts that are shown already. The machine may ask the network for them,
// which can take long, so they are asked for on a thread of their own that nobody waits for: it
// goes with the program, or when it has its answer.
#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "security/sid.h"
#include "ui/draw/win.h"

namespace hivequarry {

// Belongs to the thread until it is done, then to whoever asked.
struct AccountLookup {
  std::vector<std::string> sids;  // as texts
  AccountNames names{true};
  std::atomic<bool> done{false};
};

// Posts `message` to the window when the names are there. Whoever has no more use for them lets go
// of the last pointer, and no further one is asked for. False when there is no thread to be had.
bool StartAccountLookup(const std::shared_ptr<AccountLookup>& lookup, HWND window, UINT message);

}  // namespace hivequarry
