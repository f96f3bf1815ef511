#include "cli/console_host.h"

#include <cstdio>
#include <ctime>
#include <string>

#include "hive/timestamp.h"
#include "host/accounts.h"
#include "host/host.h"
#include "host/visible_text.h"

namespace hivequarry {
namespace {

struct ConsoleState {
  uint32_t steps = 0;  // of the progress range in force
  uint32_t shown = 0;  // percent shown last
};

ConsoleState& State() {
  static ConsoleState state;
  return state;
}

const ConsoleOptions& Options(void* context) { return *static_cast<ConsoleOptions*>(context); }

// Nobody is asked: questions are answered by --yes, and the answer is printed with them.
Answer ConsoleMessage(void* context, const char* text, const char* title, Icon, Buttons buttons) {
  const ConsoleOptions& options = Options(context);
  // What could only be called off goes on: nobody started it but to have it done.
  const bool question = buttons != Buttons::kOk && buttons != Buttons::kOkCancel;
  if (!options.quiet) {
    const char* answer = !question ? "" : options.yes ? " Yes" : " No";
    std::fprintf(stderr, "%s: %s%s\n", title, VisibleLine(text).c_str(), answer);
  }
  if (question) return options.yes ? Answer::kYes : Answer::kNo;
  return Answer::kOk;
}

void ConsoleStatus(void* context, const char* text) {
  if (Options(context).progress && *text != '\0') {
    std::fprintf(stderr, "%s\n", VisibleLine(text).c_str());
  }
}

void ConsoleProgress(void* context, uint32_t position) {
  ConsoleState& state = State();
  if (!Options(context).progress || state.steps == 0) return;
  const auto percent = static_cast<uint32_t>(uint64_t{position} * 100 / state.steps);
  if (percent < state.shown + 10) return;  // ten lines a phase are enough
  state.shown = percent;
  std::fprintf(stderr, "%u%%\n", percent);
}

// What local clocks showed at a FILETIME, as a FILETIME; unchanged before 1970, and where the C
// library can't tell. By its fields: local time is taken apart, and put together as if it were UTC.
uint64_t ConsoleLocalTime(void*, uint64_t utc) {
  if (utc < kFileTime1970) return utc;
  const auto seconds = static_cast<time_t>((utc - kFileTime1970) / kFileTimeSecond);
  std::tm local = {};
#ifdef _WIN32
  if (localtime_s(&local, &seconds) != 0) return utc;
  const time_t shifted = _mkgmtime(&local);
#else
  if (localtime_r(&seconds, &local) == nullptr) return utc;
  const time_t shifted = timegm(&local);
#endif
  return utc + static_cast<uint64_t>(shifted - seconds) * kFileTimeSecond;
}

}  // namespace

void SetConsoleHost(ConsoleOptions& options) {
  // What has no meaning on a console keeps the functions that do nothing.
  Host host = NullHost();
  host.context = &options;
  host.message = ConsoleMessage;
  host.status = ConsoleStatus;
  host.progress_range = [](void*, uint32_t steps) { State() = {steps, 0}; };
  host.progress_position = ConsoleProgress;
  host.local_time = ConsoleLocalTime;
#ifdef _WIN32
  host.account = LookUpAccount;
#endif
  SetHost(host);
}

}  // namespace hivequarry
