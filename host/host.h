// What the core asks of its surroundings. The front end sets one table of functions at start-up:
// the desktop program fills it with windows, the console program with stderr, the tests with a
// recorder. Everything below the front ends reaches the user through this table alone.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "host/text.h"

namespace hivequarry {

enum class Icon { kNone, kInformation, kExclamation, kQuestion, kStop };
// kYesNoDefaultNo: return answers "No".
enum class Buttons { kOk, kOkCancel, kYesNo, kYesNoCancel, kYesNoDefaultNo };
enum class Answer { kOk, kCancel, kYes, kNo };

// The title of most message boxes.
inline constexpr const char* kProgramName = "Hivequarry";

// What the machine's account database says of a SID.
struct AccountAnswer {
  enum Outcome : uint8_t {
    kFound,
    kUnknown,  // no account has this SID
    kFailed,   // the database could not be asked
  };
  Outcome outcome = kUnknown;
  std::string domain;  // either may be empty
  std::string name;
  int kind = 8;  // as the system numbers kinds of accounts, 1 (user) to 8 (unknown)
};

// Texts are those of host/text.h. All functions may be called from any thread; none is null in a
// table given to SetHost.
struct Host {
  void* context = nullptr;  // handed back as the first argument of every function

  // Shows a modal box and returns the button chosen (kOk where there is nothing to choose).
  Answer (*message)(void* context, const char* text, const char* title, Icon icon,
                    Buttons buttons) = nullptr;
  // Replaces the status line; an empty text clears it.
  void (*status)(void* context, const char* text) = nullptr;
  // Shows a progress bar of `steps` steps at 0; 0 steps hides it again.
  void (*progress_range)(void* context, uint32_t steps) = nullptr;
  // Moves the bar to `position` of the range given last.
  void (*progress_position)(void* context, uint32_t position) = nullptr;
  void (*wait_cursor)(void* context, bool on) = nullptr;
  void (*beep)(void* context) = nullptr;
  // The main window's title names the hive; the window handle in it is the front end's business.
  void (*hive_title)(void* context, const std::string& file_name) = nullptr;
  // Puts plain text on the clipboard; false when that fails.
  bool (*clipboard)(void* context, std::string_view text) = nullptr;
  // Starts another copy of the program. `arguments` follow the program's own quoted name and a
  // blank; false when the process could not be made.
  bool (*launch)(void* context, const std::string& arguments) = nullptr;
  // A UTC FILETIME (100-ns units since 1601) as local time in the same unit.
  uint64_t (*local_time)(void* context, uint64_t utc) = nullptr;
  // Looks a valid binary SID up among the accounts that this machine knows.
  AccountAnswer (*account)(void* context, std::span<const uint8_t> sid) = nullptr;
  // The machine's. Owned by the front end, lives as long as the table.
  const CodePage* code_page = nullptr;
};

// The table in force. Before the first SetHost it is the null host: messages answer kNo (kOk where
// only that is offered), everything else does nothing, time is UTC, the code page is
// WesternCodePage(), no account is known.
const Host& CurrentHost();
// Copied. Called by a front end before its first other call, and by tests; never while another
// thread works.
void SetHost(const Host& host);
// A copy to fill in: whoever needs a few functions takes the rest from here.
Host NullHost();

// Shorthands over CurrentHost().
Answer ShowMessage(const char* text, const char* title, Icon icon, Buttons buttons = Buttons::kOk);
void ShowStatus(const char* text);
// For what the user asked for where there is none of it.
void BeepAtUser();

}  // namespace hivequarry
