#include "ui/security/account_lookup.h"

#include "app/memory.h"

namespace hivequarry {
namespace {

// What the thread takes along; its own.
struct Errand {
  std::shared_ptr<AccountLookup> lookup;
  HWND window;
  UINT message;
};

DWORD WINAPI FindNames(void* parameter) {
  const std::unique_ptr<Errand> errand(static_cast<Errand*>(parameter));
  AccountLookup& lookup = *errand->lookup;
  WithMemory([&] {
    for (const std::string& sid : lookup.sids) {
      if (errand->lookup.use_count() == 1) return false;  // nobody waits for them any more
      lookup.names.Of(sid);
    }
    return true;
  });
  lookup.done = true;
  PostMessageW(errand->window, errand->message, 0, 0);
  return 0;
}

}  // namespace

// The system's own thread: the runtime's are not safe to be left to themselves.
bool StartAccountLookup(const std::shared_ptr<AccountLookup>& lookup, HWND window, UINT message) {
  auto errand = std::make_unique<Errand>(lookup, window, message);
  const HANDLE thread = CreateThread(nullptr, 0, FindNames, errand.get(), 0, nullptr);
  if (thread == nullptr) return false;
  errand.release();  // the thread's now
  CloseHandle(thread);
  return true;
}

}  // namespace hivequarry
