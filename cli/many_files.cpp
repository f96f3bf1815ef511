#include "cli/many_files.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <deque>
#include <memory>

#include "cli/commands.h"
#include "cli/hive_files.h"
#include "cli/worker_process.h"
#include "host/host.h"
#include "host/long_operation.h"
#include "host/visible_text.h"

namespace hivequarry {

// --- the options ---------------------------------------------------------------------------------

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

std::vector<std::string> FilesOf(const ManyFiles& many) {
  std::vector<std::string> files;
  for (const std::string& name : many.names) {
    if (name == "-") {
      AddNamesOfInput(files);
    } else {
      files.push_back(name);
    }
  }
  for (const std::string& folder : many.folders) AddHivesOfFolder(folder, files);
  std::vector<std::string> once;
  std::vector<std::string> known;
  for (std::string& file : files) {
    const auto at = std::ranges::lower_bound(known, file);
    if (at != known.end() && *at == file) continue;
    known.insert(at, file);
    once.push_back(std::move(file));
  }
  return once;
}

// --- one output of many --------------------------------------------------------------------------

namespace {

// Adds the file's name to each row of what a run printed, as its first cell: "File", or "Hive File"
// where the list has files in its rows.
class Labels {
 public:
  Labels(const Printing& printing, const TextSink& sink) : printing_(printing), sink_(sink) {}

  void Begin(const std::string& file) {
    file_ = file;
    line_.clear();
    in_row_ = in_quotes_ = rows_ = titled_ = false;
    apart_ = said_ && printing_.format == Format::kText;
  }
  // The next piece of the run's output.
  bool Add(std::string_view text) {
    if (apart_ && !text.empty()) out_ += "\r\n";
    said_ = true;
    apart_ = false;
    for (const char c : text) AddCharacter(c);
    return Flush();
  }
  bool End() {
    if (!line_.empty()) EndLine();
    return Flush();
  }

 private:
  bool Flush() {
    const bool taken = out_.empty() || sink_(out_);
    out_.clear();
    return taken;
  }

  // A line of CSV ends outside quotes alone.
  void AddCharacter(char c) {
    line_ += c;
    if (c == '"') in_quotes_ = !in_quotes_;
    if (c == '\n' && (!in_quotes_ || printing_.format != Format::kCsv)) EndLine();
  }

  void EndLine() {
    switch (printing_.format) {
      case Format::kCsv:
        EndRecord();
        break;
      case Format::kJsonLines:
        EndObject();
        break;
      default:
        EndText();
    }
    line_.clear();
    in_quotes_ = false;
  }

  // Lists of one command may have a column more or less by what the hive is: then titles come
  // again.
  void EndRecord() {
    if (titled_) {
      out_ += FileCell() + "," + line_;
      return;
    }
    titled_ = true;
    if (line_ == titles_) return;
    titles_ = line_;
    const std::string commas = "," + line_.substr(0, line_.find_last_not_of("\r\n") + 1) + ",";
    out_ += commas.find(",File,") == commas.npos ? "File," : "Hive File,";
    out_ += line_;
  }

  void EndObject() {
    const bool object = line_.starts_with('{');
    const bool taken = line_.find("\"File\":") != line_.npos;  // quotes in texts have escapes
    if (object) out_ += (taken ? "{\"Hive File\":" : "{\"File\":") + JsonString(file_);
    if (object) line_[0] = ',';
    out_ += line_;
  }

  void EndText() {
    const bool empty = line_ == "\r\n" || line_ == "\n";
    if (rows_ && !in_row_ && !empty) {
      std::string label = "File";
      label.resize(std::max(label.size(), std::min(line_.find(": "), line_.size())), ' ');
      out_ += label + ": " + VisibleLine(file_) + "\r\n";
    }
    in_row_ = rows_ && !empty;
    rows_ |= line_.starts_with("Number of Items");
    out_ += line_;
  }

  std::string FileCell() const {
    const bool formula = printing_.csv_safe &&
                         std::string_view("=+-@").find(file_.front()) != std::string_view::npos;
    const std::string text = (formula ? "'" : "") + file_;
    if (text.find_first_of(",\"\r\n") == text.npos) return text;
    std::string cell = "\"";
    for (const char c : text) cell.append(c == '"' ? 2 : 1, c);
    return cell + "\"";
  }

  const Printing& printing_;
  const TextSink& sink_;
  std::string file_;
  std::string line_;    // not yet complete
  std::string out_;     // not yet handed on
  std::string titles_;  // of CSV, those that were written last
  bool in_quotes_ = false;
  bool in_row_ = false;  // of text
  bool rows_ = false;    // of text: the lines before them are over
  bool titled_ = false;  // of CSV: the line of titles is over
  bool said_ = false;    // any run did say something
  bool apart_ = false;   // an empty line comes before what is next
};

// The worse the status, the higher.
int Rank(int status) {
  constexpr int kOrder[] = {kExitDone, kExitDirty, kExitFailed, kExitUnreadable, kExitUsage};
  return static_cast<int>(std::ranges::find(kOrder, status) - std::begin(kOrder));
}

struct Running {
  std::string file;
  std::unique_ptr<WorkerProcess> process;
};

struct Summary {
  size_t done = 0;
  size_t failed = 0;
  int worst = kExitDone;
};

Running Start(const ManyRuns& runs, size_t number) {
  std::vector<std::string> arguments = runs.arguments;
  arguments.insert(arguments.begin() + static_cast<std::ptrdiff_t>(runs.place), runs.files[number]);
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

bool PrintRun(Running& run, Labels& labels, Summary& summary) {
  constexpr size_t kPiece = 64 * 1024;
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

bool RunAll(const ManyRuns& runs, Labels& labels, Summary& summary) {
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
        Labels labels(printing, sink);
        whole = RunAll(runs, labels, summary);
        return whole;
      },
      printing);
  if (!runs.quiet) {
    Complain(std::to_string(runs.files.size()) + " files: " + std::to_string(summary.done) +
             " done, " + std::to_string(summary.failed) + " failed");
  }
  if (printed && whole) return summary.worst;
  return Rank(summary.worst) > Rank(kExitFailed) ? summary.worst : kExitFailed;
}

}  // namespace hivequarry
