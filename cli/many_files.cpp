#include "cli/many_files.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <deque>
#include <memory>
#include <unordered_set>

#include "cli/commands.h"
#include "cli/file_labels.h"
#include "cli/worker_process.h"
#include "host/host.h"
#include "host/long_operation.h"

namespace hivequarry {

// --- the options ---------------------------------------------------------------------------------

// Before the options are parsed, as a run for each file gets the rest of them as they are.
ManyFiles TakeManyFiles(std::vector<std::string>& arguments) {
  ManyFiles many;
  std::vector<std::string> rest;
  for (size_t i = 0; i < arguments.size(); ++i) {
    const std::string& option = arguments[i];
    const bool value = i + 1 < arguments.size();
    if (option == "-r") {
      many.asked = true;
      many.wrong |= !value;
      if (value) many.folders.push_back(arguments[++i]);
    } else if (option == "-j") {
      const std::string& number = value ? arguments[++i] : option;
      const char* const end = number.data() + number.size();
      const auto [last, error] = std::from_chars(number.data(), end, many.jobs);
      many.wrong |= error != std::errc() || last != end || many.jobs == 0 || many.jobs > 64;
    } else if (option == "--files") {
      many.asked = true;
      many.wrong |= !value;
      const auto is_name = [](const std::string& text) {
        return text == "-" || !text.starts_with('-');
      };
      while (i + 1 < arguments.size() && is_name(arguments[i + 1])) {
        many.names.push_back(arguments[++i]);
      }
    } else {
      rest.push_back(option);
    }
  }
  arguments = std::move(rest);
  return many;
}

HivesOfFolder FilesOf(const ManyFiles& many) {
  HivesOfFolder all;
  for (const std::string& name : many.names) {
    if (name == "-") {
      AddNamesOfInput(all.hives);
    } else {
      all.hives.push_back(name);
    }
  }
  for (const std::string& folder : many.folders) AddHivesOfFolder(folder, all);
  // By the name alone: a file that is named and is in a folder too, spelt otherwise, is done twice.
  std::unordered_set<std::string> known;
  std::erase_if(all.hives,
                [&known](const std::string& file) { return !known.insert(file).second; });
  return all;
}

// --- one output of many --------------------------------------------------------------------------

namespace {

// The worse the status, the higher.
int Rank(int status) {
  constexpr int kOrder[] = {kExitDone, kExitDirty, kExitFailed, kExitUnreadable, kExitUsage};
  return static_cast<int>(std::ranges::find(kOrder, status) - std::begin(kOrder));
}

// A process that was started and not waited for.
struct Running {
  std::string file;
  std::unique_ptr<WorkerProcess> process;
};

// What became of all files: `worst` is the exit of the whole run.
struct Summary {
  size_t done = 0;
  size_t failed = 0;
  int worst = kExitDone;
};

// The file's own logs, where they were found by what they hold, come first among the arguments.
Running Start(const ManyRuns& runs, size_t number) {
  // The file's name has its place among them; options for all commands may be before the command.
  std::vector<std::string> arguments = runs.arguments;
  arguments.insert(arguments.begin() + static_cast<std::ptrdiff_t>(runs.place), runs.files[number]);
  if (const auto logs = runs.logs.find(runs.files[number]); logs != runs.logs.end()) {
    std::string names;
    for (const std::string& log : logs->second) names += (names.empty() ? "" : ",") + log;
    arguments.insert(arguments.begin(), {"--logs", names});
  }
  return {runs.files[number], StartWorker(arguments)};
}

// What the run said of its file, with the file's name.
void TellMessages(const std::string& file, std::string_view text) {
  const std::string program = std::string(kProgramName) + ": ";
  while (!text.empty()) {
    const size_t end = std::min(text.find('\n'), text.size());
    std::string_view line = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    if (line.starts_with(program)) line.remove_prefix(program.size());
    const bool named = line.find(file) != line.npos;
    if (!line.empty()) Complain(named ? std::string(line) : file + ": " + std::string(line));
  }
}

// Waits for the run's end. False where the output takes no more, or the user stopped.
bool PrintRun(Running& run, FileLabels& labels, Summary& summary) {
  constexpr size_t kPiece = 64 * 1024;
  // Also after a stop: on a terminal the signal has reached the run as well.
  const int status = run.process == nullptr ? kExitFailed : EndWorker(*run.process);
  bool printed = true;
  labels.Begin(run.file);
  std::string messages;
  if (run.process != nullptr) {
    std::string piece(kPiece, 0);
    size_t got = 0;
    while (printed && (got = std::fread(piece.data(), 1, kPiece, run.process->output)) != 0) {
      printed = labels.Add(std::string_view(piece).substr(0, got));
    }
    printed = labels.End() && printed;
    while ((got = std::fread(piece.data(), 1, kPiece, run.process->messages)) != 0) {
      messages.append(piece, 0, got);
    }
  }
  TellMessages(run.file, messages);
  const bool crashed = status < 0;
  if (crashed) Complain(run.file + ": the program ended without a result");
  const int shown = crashed ? kExitFailed : status;
  const bool well = shown == kExitDone || shown == kExitDirty;
  ++(well ? summary.done : summary.failed);
  if (Rank(shown) > Rank(summary.worst)) summary.worst = shown;
  run.process.reset();
  return printed && !StopRequested();
}

// Runs end in any order and are printed in that of the files, so that the output is the same each
// time. True when all were printed.
bool RunAll(const ManyRuns& runs, FileLabels& labels, Summary& summary) {
  std::deque<Running> running;
  size_t next = 0;
  while (next < runs.files.size() || !running.empty()) {
    while (next < runs.files.size() && running.size() < runs.jobs) {
      running.push_back(Start(runs, next++));
    }
    if (runs.progress) {
      Complain(std::to_string(runs.files.size() - next + running.size()) + " of " +
               std::to_string(runs.files.size()) + " files left: " + running.front().file);
    }
    const bool printed = PrintRun(running.front(), labels, summary);
    running.pop_front();
    if (!printed) break;
  }
  // What was started must end before its files go.
  for (Running& each : running) {
    if (each.process != nullptr) EndWorker(*each.process);
  }
  return running.empty() && next == runs.files.size();
}

}  // namespace

int RunForFiles(const ManyRuns& runs, const Printing& printing) {
  Summary summary;
  bool whole = false;
  const bool printed = PrintPieces(
      [&](const TextSink& sink) {
        FileLabels labels(printing, sink);
        whole = RunAll(runs, labels, summary);
        return whole;
      },
      printing);
  if (!runs.quiet) {
    Complain(std::to_string(runs.files.size()) + " files: " + std::to_string(summary.done) +
             " done, " + std::to_string(summary.failed) + " failed");
  }
  // An output that is not whole is a failure, unless a file did worse.
  if (printed && whole) return summary.worst;
  return Rank(summary.worst) > Rank(kExitFailed) ? summary.worst : kExitFailed;
}

}  // namespace hivequarry
