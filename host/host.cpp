#include "host/host.h"

#include "host/long_operation.h"

namespace hivequarry {
namespace {

struct HostState {
  Host host = NullHost();
};

HostState& TheHostState() {
  static HostState state;
  return state;
}

Answer NullMessage(void*, const char*, const char*, Icon, Buttons buttons) {
  if (buttons == Buttons::kOk) return Answer::kOk;
  return buttons == Buttons::kOkCancel ? Answer::kCancel : Answer::kNo;
}

}  // namespace

Host NullHost() {
  Host host;
  host.message = NullMessage;
  host.status = [](void*, const char*) {};
  host.progress_range = [](void*, uint32_t) {};
  host.progress_position = [](void*, uint32_t) {};
  host.wait_cursor = [](void*, bool) {};
  host.beep = [](void*) {};
  host.hive_title = [](void*, const std::string&) {};
  host.clipboard = [](void*, std::string_view) { return false; };
  host.launch = [](void*, const std::string&) { return false; };
  host.local_time = [](void*, uint64_t utc) { return utc; };
  host.account = [](void*, std::span<const uint8_t>) { return AccountAnswer(); };
  host.code_page = &WesternCodePage();
  return host;
}

const Host& CurrentHost() { return TheHostState().host; }
void SetHost(const Host& host) { TheHostState().host = host; }

Answer ShowMessage(const char* text, const char* title, Icon icon, Buttons buttons) {
  // Who asked for it may be waiting for its end, and could not answer.
  if (WorkInBackground() != nullptr) return NullMessage(nullptr, text, title, icon, buttons);
  const Host& host = CurrentHost();
  return host.message(host.context, text, title, icon, buttons);
}

void BeepAtUser() { CurrentHost().beep(CurrentHost().context); }

void ShowStatus(const char* text) {
  const Host& host = CurrentHost();
  host.status(host.context, text);
}

}  // namespace hivequarry
