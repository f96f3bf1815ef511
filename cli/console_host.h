// The console program's side of the host table: messages are lines on stderr, questions are
// answered "No" unless the user said "--yes".
#pragma once

namespace hivequarry {

// How the console host talks, for the whole run.
struct ConsoleOptions {
  bool quiet = false;     // no messages
  bool progress = false;  // phases and percent on stderr
  bool yes = false;       // answer questions with Yes
};

// Sets the host table. `options` must live as long as it is in force.
void SetConsoleHost(ConsoleOptions& options);

}  // namespace hivequarry
