// hivequarry-cli: everything that the desktop program finds, for scripts.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <csignal>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#else
#include <sys/time.h>
#endif
#ifdef __GLIBC__
#include <malloc.h>
#endif

#include "cli/build_words.h"
#include "cli/commands.h"
#include "cli/many_files.h"
#include "cli/opened_hive.h"
#include "evidence/decoders.h"
#include "host/files.h"
#include "host/host.h"
#include "host/long_operation.h"
#include "reports/structure_reports.h"

namespace hivequarry {
namespace {

// What asks the program to end; a second one of them ends it at once.
#ifdef _WIN32
constexpr int kStopSignals[] = {SIGINT, SIGTERM, SIGBREAK};

void OnStopSignal(int signal) {
  RequestStop();
  std::signal(signal, SIG_DFL);
}

void HeedSignals() {
  for (const int signal : kStopSignals) std::signal(signal, OnStopSignal);
}
#else
constexpr int kStopSignals[] = {SIGINT, SIGTERM, SIGHUP};

// A write that waits for its reader ends too: handlers have no SA_RESTART, and one that begins to
// wait only now is interrupted by the alarms.
void OnStopSignal(int) {
  RequestStop();
  constexpr itimerval kAlarms = {{0, 20000}, {0, 20000}};  // microseconds
  setitimer(ITIMER_REAL, &kAlarms, nullptr);
}

void HeedSignals() {
  struct sigaction wake = {};
  wake.sa_handler = [](int) {};
  sigaction(SIGALRM, &wake, nullptr);
  struct sigaction stop = {};
  stop.sa_handler = OnStopSignal;
  stop.sa_flags = static_cast<int>(SA_RESETHAND);
  for (const int signal : kStopSignals) {
    struct sigaction before = {};
    sigaction(signal, nullptr, &before);
    const bool outlives = signal == SIGHUP && before.sa_handler == SIG_IGN;  // as "nohup" has it
    if (!outlives) sigaction(signal, &stop, nullptr);
  }
  std::signal(SIGXFSZ, SIG_IGN);  // a file that may not grow is a write that fails
}
#endif

// Of a name that the option's own check has let through.
Format FormatOf(const std::string& name) {
  if (name == "csv") return Format::kCsv;
  if (name == "rpt") return Format::kReport;
  return name == "jsonl" ? Format::kJsonLines : Format::kText;
}

// Of file names with commas between them the first; each may have commas in itself, so the longest
// that is a file is taken. Where none is, the text up to the first comma: its opening says why.
std::string_view FirstName(std::string_view names) {
  std::error_code ignored;
  for (size_t end = names.size(); end != names.npos && end != 0; end = names.rfind(',', end - 1)) {
    const std::string_view name = names.substr(0, end);
    if (std::filesystem::exists(FilePath(std::string(name)), ignored)) return name;
  }
  return names.substr(0, names.find(','));
}

// "none", "auto", or file names.
// What `choice` has of a bound stays: "--until" may have come before.
LogChoice LogChoiceOf(const std::string& text, LogChoice choice) {
  choice.files.clear();
  choice.mode = text == "none" ? LogMode::kNone : LogMode::kAuto;
  if (text == "none" || text == "auto") return choice;
  choice.mode = LogMode::kChosen;
  std::string_view rest = text;
  while (!rest.empty()) {
    const std::string_view name = FirstName(rest);
    if (!name.empty()) choice.files.emplace_back(name);
    rest.remove_prefix(std::min(rest.size(), name.size() + 1));
  }
  return choice;
}

// Functions Add... declare a command, or arguments that several have; `request` takes what is
// parsed and must outlive the parser.
void AddHive(CLI::App* command, ConsoleRequest& request) {
  command->add_option("HIVE", request.hive, "Hive file, or a file that holds a hive")->required();
}

void AddBranch(CLI::App* command, ConsoleRequest& request) {
  command->add_option("KEY", request.key, "Only this key (path or @OFFSET) and those below it");
}

void AddAccess(CLI::App* command, ConsoleRequest& request) {
  command
      ->add_option_function<int>(
          "--access",
          [&request](int bits) {
            request.keys.by_access = true;
            request.keys.access = static_cast<uint8_t>(bits);
          },
          "Only keys with these access bits: 0 none, 1 opened before boot initialisation, 2 after, "
          "3 both")
      ->check(CLI::Range(0, 3));
}

// Those of all commands; they may come before or after a command's name.
void AddOptions(CLI::App& app, ConsoleRequest& request) {
  app.add_option("--soff", request.start_offset, "First byte of a partial range of the file");
  app.add_option("--eoff", request.end_offset, "End of the range: the first byte after it");
  app.add_option("--root", request.root_path, "Registry path of the hive's root key");
  app.add_option_function<std::string>(
         "--format",
         [&request](const std::string& name) { request.printing.format = FormatOf(name); },
         "text (default), csv, jsonl, or rpt: a Report List of the desktop program")
      ->check(CLI::IsMember({"text", "csv", "jsonl", "rpt"}));
  app.add_option(
      "-o", request.printing.file,
      "Write to this file instead of the standard output; for split and carve: the folder "
      "of the pieces");
  app.add_flag("--raw-text", request.printing.raw_text,
               "Control characters of names and data as they are, not as \\u{1B}");
  app.add_flag("--csv-safe", request.printing.csv_safe,
               "With csv: a quote before cells that a spreadsheet would take for formulas");
  app.add_flag("--code-page", request.code_page,
               "Names and texts as the code page has them, '?' for what it lacks");
  app.add_flag("--force", request.printing.force,
               "Replace an existing file of -o; a hive or its logs never");
  app.add_flag("!--no-disconnected-values", request.disconnected_values,
               "Do not look for values that no key names");
  app.add_option_function<std::string>(
      "--logs",
      [&request](const std::string& text) {
        request.logs = LogChoiceOf(text, request.logs);
        request.logs_given = true;
      },
      "Logs of a dirty hive: auto (default: those beside it), none, or FILE[,FILE]");
  app.add_option_function<uint32_t>(
      "--until",
      [&request](uint32_t entry) {
        request.logs.bounded = true;
        request.logs.until = entry;
        request.logs_given = true;
      },
      "No entry of the logs after this number");
  app.add_option("--base", request.bases,
                 "The hive below a differencing hive: both are shown as one. Several times for a "
                 "stack, the nearest first")
      ->expected(1)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
      ->allow_extra_args(false);
  app.add_flag("--hidden", request.hidden,
               "With --base: also what is hidden or superseded, with the reason");
  app.add_flag("--strict", request.strict, "Exit status 4 for a dirty hive without usable logs");
  app.add_flag("--all-roots", request.all_roots,
               "Show further hives in the file too, instead of the first alone");
  app.add_flag("--quiet", request.console.quiet, "No messages");
  app.add_flag("--progress", request.console.progress, "Show the phases of the work");
  app.add_flag("--yes", request.console.yes, "Answer questions with Yes");
  app.set_version_flag("--version", std::string(kProgramName) + " " + BuildWords());
}

void AddCheck(CLI::App& app, ConsoleRequest& request) {
  CLI::App* check = app.add_subcommand("check", "What is wrong in the structure of the file");
  AddHive(check, request);
  check
      ->add_option_function<std::string>(
          "--level",
          [&request](const std::string& level) {
            request.check.least = level == "note"    ? CheckLevel::kNote
                                  : level == "fault" ? CheckLevel::kFault
                                                     : CheckLevel::kOdd;
          },
          "fault: faults alone; odd (default): oddities too; note: what is normal too")
      ->check(CLI::IsMember({"fault", "odd", "note"}));
  check->add_option("--max", request.check.most, "No more rows than this");
}

void AddTimeline(CLI::App& app, ConsoleRequest& request) {
  TimelineRequest& timeline = request.timeline;
  CLI::App* command = app.add_subcommand("timeline", "What happened when, by one or several hives");
  command->add_option("FILE", timeline.files,
                      "Hives, or one hive and a key of it; -: names from the standard input");
  command->add_option("-r", timeline.folders, "All hives in this folder and those below it");
  command->add_option("--as", timeline.form, "bodyfile, tln, csv (default), jsonl or plaso")
      ->check(CLI::IsMember({"bodyfile", "tln", "csv", "jsonl", "plaso"}));
  command->add_option("--key", request.key, "Only this key (path or @OFFSET) and those below it");
  command->add_flag("--freed", request.freed, "Freed keys too");
  command->add_flag("--values", timeline.values, "Times that values hold too");
  command->add_flag("--hive-times", timeline.base_block, "Times of the base block too");
  command->add_flag("--decoders", timeline.decoders, "Times that decoded evidence tells too");
  command->add_flag("--log-records", timeline.logged,
                    "Keys too that only pages of the hive's logs have");
  command->add_option("--from", request.dates.from, "Not before this time, 2010-11-28T13:05:00");
  command->add_option("--to", request.dates.to, "Not after this time (UTC)");
  command->add_option("--tz", timeline.zone, "Times in this zone, +02:00 (default: UTC)");
  command->add_option("--host", timeline.host, "Name of the machine");
  command->add_option("--user", timeline.user, "Name of the user");
}

void AddCompare(CLI::App& app, ConsoleRequest& request) {
  CompareRequest& compare = request.compare;
  CLI::App* command = app.add_subcommand("compare", "What differs between two hives");
  command->add_option("A", request.hive, "Hive file")->required();
  command->add_option("B", compare.other, "Another one, or the same in another state")->required();
  command->add_option("--key", request.key, "Only this key (path or @OFFSET) and those below it");
  command->add_option("--key-b", compare.key, "Of B this key instead");
  command->add_option_function<std::string>(
      "--logs-b",
      [&compare](const std::string& text) {
        compare.logs = LogChoiceOf(text, compare.logs);
        compare.logs_given = true;
      },
      "Logs of B, where they are not as those of A");
  command->add_option_function<uint32_t>(
      "--until-b",
      [&compare](uint32_t entry) {
        compare.logs.bounded = true;
        compare.logs.until = entry;
        compare.logs_given = true;
      },
      "No entry of B's logs after this number");
  command->add_option("--patch-to-b", compare.patch_to_b, "Writes a script that makes B of A");
  command->add_option("--patch-to-a", compare.patch_to_a, "Writes a script that makes A of B");
  command->add_flag("--times", compare.options.times, "A row for each time that differs");
  command->add_flag_function(
      "--ignore-time,!--no-ignore-time",
      [&compare](int64_t count) {
        // The parser counts a negated flag below 0.
        compare.options.heed_times = count < 0;
        compare.options.times |= count < 0;
      },
      "Times are no differences (built in); --no-ignore-time: they are");
  command
      ->add_option_function<std::vector<std::string>>(
          "--ignore",
          [&compare](const std::vector<std::string>& patterns) {
            for (const std::string& text : patterns) {
              IgnorePattern& pattern = compare.options.ignored.emplace_back();
              if (!ParseIgnorePattern(text, pattern)) throw CLI::ValidationError("--ignore", text);
            }
          },
          "Branches that are left out, as Software\\*\\Cache, ** for any number of keys; several "
          "times for more")
      ->expected(1)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
      ->allow_extra_args(false);
  command->add_flag("--order", compare.options.order, "The order of values is a difference");
  command->add_flag("--deep", compare.options.deep, "A row for each key below one of A or B alone");
  command->add_flag("--recovered", compare.options.recovered, "Keys that no list leads to too");
  command->add_flag("--text", compare.options.text, "Text up to its first zero");
}

// A command, and a report of several hives.
constexpr const char* kMachine = "machine";

void AddCommands(CLI::App& app, ConsoleRequest& request) {
  app.require_subcommand(1);
  // Options of all commands may come after a command's name.
  app.fallthrough();
  CLI::App* info = app.add_subcommand("info", "What the file is, and what was found in it");
  AddHive(info, request);
  info->add_flag("--hash", request.hash, "SHA-256 of the file and of its logs too");
  info->add_flag("--check", request.structure, "The verdict of check too");
  AddCheck(app, request);
  AddTimeline(app, request);
  AddCompare(app, request);
  CLI::App* tree = app.add_subcommand("tree", "The keys as displayed, recovered ones included");
  AddHive(tree, request);
  AddBranch(tree, request);
  tree->add_flag("--details", request.keys.details, "Columns more: access bits, where links lead");
  AddAccess(tree, request);
  tree->add_flag("--removed", request.removed, "The keys that the hive's logs removed instead");
  CLI::App* values = app.add_subcommand("values", "The values of one key, or of every key");
  AddHive(values, request);
  values->add_option("KEY", request.key, "Only the values of this key (path or @OFFSET)");
  values->add_flag("--disconnected", request.disconnected_only, "The values that no key owns");
  values->add_flag("--removed", request.removed, "The values that the hive's logs removed");
  values->add_flag("--raw", request.raw, "With jsonl: each value's data in hexadecimal");
  CLI::App* detail = app.add_subcommand("detail", "The record of one value or key, decoded");
  AddHive(detail, request);
  detail->add_option("OFFSET", request.key, "@OFFSET of the value or key (decimal or 0x...)")
      ->required();
  detail->add_flag("--raw", request.raw, "The bytes of the record there, field by field");
  CLI::App* logs = app.add_subcommand("logs", "The entries of the hive's logs");
  AddHive(logs, request);
  logs->add_flag("--changes", request.changes,
                 "What each applied entry added, removed and changed instead");
  AddHive(app.add_subcommand("bins", "The blocks of the hive"), request);
  CLI::App* script =
      app.add_subcommand("export", "The keys and values as a registry script (.reg)");
  AddHive(script, request);
  AddBranch(script, request);
  script->add_flag("--recovered", request.recovered,
                   "Also the keys in their branches that no list names, and made ones");
  script->add_flag("--freed", request.freed,
                   "Freed keys and values instead: below the key, or the one at @OFFSET");
  script
      ->add_option("--tombstones", request.tombstones,
                   "Of a differencing hive: comments (default), or delete: lines that make an "
                   "import delete the key or value")
      ->transform(CLI::CheckedTransformer(std::map<std::string, Tombstones>{
          {"comments", Tombstones::kComments}, {"delete", Tombstones::kDeletions}}));
  script
      ->add_option("--script", request.script_version,
                   "4: REGEDIT4, single-byte text; 5: Version 5.00, UTF-16, which loses nothing")
      ->check(CLI::IsMember({4, 5}));
  CLI::App* repair = app.add_subcommand(
      "repair", "Writes what the hive holds as a new hive (-o) that mounts again");
  AddHive(repair, request);
  repair
      ->add_option("--kind", request.repair,
                   "rebuilt (default): a new, compact hive of the keys and values; replayed: the "
                   "file as its logs make it, byte for byte")
      ->transform(CLI::CheckedTransformer(std::map<std::string, RepairKind>{
          {"rebuilt", RepairKind::kRebuilt}, {"replayed", RepairKind::kReplayed}}));
  repair->add_flag("--recovered", request.recovered,
                   "Also the keys that no list names, in their branches or below \"Recovered\"");
  repair->add_flag("--freed", request.freed, "Also deleted keys and values, below \"Recovered\"");
  CLI::App* split = app.add_subcommand("split", "Cuts a file into pieces, one per run of blocks");
  AddHive(split, request);
  CLI::App* carve = app.add_subcommand(
      "carve",
      "Hives, logs and pieces of them anywhere in an image; -o FOLDER writes them as files");
  carve->add_option("FILE", request.hive, "Image of a disk or of memory, or any file")->required();
  carve->add_flag("--holes", request.holes, "Every stretch of zeros too");
  CLI::App* machine = app.add_subcommand(
      kMachine, "All that the hives in a folder say, as a folder (-o) of lists and a report");
  machine->add_option("FOLDER", request.hive, "Files of a machine, or its mounted image")
      ->required();
  CLI::App* convert = app.add_subcommand("convert", "A Report List in another format");
  convert->add_option("FILE", request.hive, "Report List (.rpt)")->required();
}

void AddFreed(CLI::App& app, ConsoleRequest& request) {
  CLI::App* freed = app.add_subcommand("freed", "Deleted keys and values that free space holds");
  freed->require_subcommand(1);
  const auto add = [&](const char* name, const char* help) {
    CLI::App* command = freed->add_subcommand(name, help);
    command->fallthrough();
    AddHive(command, request);
    return command;
  };
  add("keys", "Freed keys, with the paths that their parents give");
  add("logs", "Keys and values in pages of the hive's logs that are no longer valid");
  add("values", "Freed values, with the keys whose lists name them")
      ->add_flag("--raw", request.raw, "With jsonl: each value's data in hexadecimal");
}

void AddSearch(CLI::App& app, ConsoleRequest& request) {
  CLI::App* search = app.add_subcommand("search", "Keys and values that hold a text or bytes");
  AddHive(search, request);
  SearchSettings& settings = request.search;
  search->add_option("PATTERN", request.pattern, "Text, or with --hex pairs of digits")->required();
  search->add_flag("--hex", settings.hex_mode, "The pattern is bytes");
  search->add_flag("--match-case", settings.match_case, "Heed case");
  search->add_flag("--match-length", settings.match_length, "The whole name or data");
  search->add_flag("--regex", settings.regular, "The pattern is a regular expression");
  search->add_flag("--words", settings.whole_words, "Whole words only");
  search->add_option("--least", settings.limits.least, "Values with as many bytes of data or more");
  search->add_option("--most", settings.limits.most, "Values with as many bytes of data or fewer");
  search->add_option("--written-from", request.dates.from,
                     "Keys written at this time or later, 2010-11-28T13:05:00, and their values");
  search->add_option("--written-to", request.dates.to,
                     "Keys written at this time or earlier (UTC)");
  search->add_flag("--dword", settings.dword, "With --hex and 8 digits: a number; REG_DWORD data");
  search->add_flag("--wide", settings.wide, "Find text in UTF-16 data of other types too");
  search->add_flag("--details", request.search_details, "Two columns more: file offset, lengths");
  search->add_option("--in", request.fields, "What is searched: name,value,data")
      ->delimiter(',')
      ->check(CLI::IsMember({"name", "value", "data"}));
  search->add_flag("--freed", request.freed, "Freed keys and values too, with their places");
  search->add_option("--from", request.key, "Only this key (path or @OFFSET) and those below it");
}

void AddDates(CLI::App& app, ConsoleRequest& request) {
  CLI::App* dates = app.add_subcommand("dates", "The keys by the time of their last write");
  AddHive(dates, request);
  AddBranch(dates, request);
  AddAccess(dates, request);
  dates->add_option("--from", request.dates.from, "Not before this time, 2010-11-28T13:05:00");
  dates->add_flag("--freed", request.freed, "Freed keys too, with their places");
  dates->add_option("--to", request.dates.to, "Not after this time (UTC, like the keys')");
}

void AddQuery(CLI::App* keys, SecurityRequest& security) {
  keys->add_option("--record", security.record, "Keys with the record at this position");
  keys->add_option("--owner", security.owner, "Keys owned by this SID");
  keys->add_option("--ace", security.ace,
                   "Keys with an entry for this SID; with --permissions: with these rights");
  keys->add_option("--permissions", security.permissions,
                   "Keys whose entries have these rights: full, read, write, query-value, "
                   "set-value, create-subkey, enumerate, notify, create-link, delete, "
                   "read-control, write-dac, write-owner, or 0x...; several joined by ','");
  keys->add_option("--sid", security.sid, "With --permissions: entries for this SID alone");
  keys->add_option("--kind", security.kind, "With --permissions: allow, deny, audit or other")
      ->transform(
          CLI::CheckedTransformer(std::map<std::string, AceKind>{{"allow", AceKind::kAllow},
                                                                 {"deny", AceKind::kDeny},
                                                                 {"audit", AceKind::kAudit},
                                                                 {"other", AceKind::kOther}}));
  keys->add_flag("--not-inherited", security.not_inherited,
                 "With --permissions: pass inherited entries over");
}

void AddSecurity(CLI::App& app, ConsoleRequest& request, bool named) {
  CLI::App* security = app.add_subcommand("security", "Security records and the keys with them");
  security->require_subcommand(1);
  if (!named) return;
  const auto add = [&](const char* name, const char* help, bool branch) {
    CLI::App* command = security->add_subcommand(name, help);
    command->fallthrough();
    AddHive(command, request);
    if (branch) AddBranch(command, request);
    return command;
  };
  add("records", "All security records", false);
  add("aces", "All entries of their access lists", false);
  add("used", "The records that keys use, with the number of those keys", true);
  add("owners", "The keys with their owners", true);
  add("links", "The keys with their records, damaged ones included", true);
  AddQuery(add("keys", "The keys with a record, an owner, an entry or permissions", true),
           request.security);
  CLI::App* writers = add("writers", "Who may change which keys, and how", true);
  writers->add_option("--sid", request.security.sid,
                      "What this SID may do, by itself and as one of a group; without it, anyone "
                      "but administrators");
  writers->add_option("--permissions", request.security.permissions,
                      "Other rights than those by which something changes; one of them is enough");
  add("show", "The security record of a key as text", true);
#ifdef _WIN32
  security->add_flag("--resolve", request.security.resolve, "Ask this machine for account names");
#endif
}

void AddReports(CLI::App& app, ConsoleRequest& request, bool named) {
  CLI::App* report = app.add_subcommand("report", "Reports on well-known structures");
  report->require_subcommand(1);
  if (!named) return;
  const auto add = [&](const char* name, const char* help) {
    CLI::App* command = report->add_subcommand(name, help);
    command->fallthrough();
    AddHive(command, request);
    AddBranch(command, request);
    command->callback([&request, name] { request.report = name; });
  };
  for (int number = 0; number < static_cast<int>(Report::kCount); ++number) {
    const ReportInfo& info = InfoOf(static_cast<Report>(number));
    add(info.name, info.help);
  }
  CLI::App* machine = report->add_subcommand(kMachine, "What the machine is that the hives are of");
  machine->fallthrough();
  machine->add_option("HIVE", request.hives, "Hive files, of one machine")->required();
  machine->callback([&request] { request.hive = request.hives.front(); });
  for (const DecoderInfo& decoder : Decoders()) add(decoder.name, decoder.help);
}

// The fields and the pattern in the form that the search takes them.
void CompleteSearch(ConsoleRequest& request) {
  SearchSettings& settings = request.search;
  (settings.hex_mode ? settings.hex : settings.text) = request.pattern;
  const auto has = [&](const char* field) {
    return request.fields.empty() ||
           std::ranges::find(request.fields, field) != request.fields.end();
  };
  settings.key_names = has("name");
  settings.value_names = has("value");
  settings.value_data = has("data");
}

// "security records": its own name after that of its group. A report's name is an argument.
// As the table of commands has it (cli/commands.cpp).
std::string CommandName(const CLI::App& app) {
  const CLI::App* command = app.get_subcommands().front();
  const std::string name = command->get_name();
  const auto below = command->get_subcommands();
  const bool machine = name == "report" && below.front()->get_name() == kMachine;
  const bool group = name == "security" || name == "freed" || machine;
  return group ? name + " " + command->get_subcommands().front()->get_name() : name;
}

// Where the words of the command end; 0 where there is none. Before the line is parsed, so an
// option and its argument are passed over by what the parser knows of it.
size_t EndOfCommand(const CLI::App& app, const std::vector<std::string>& arguments,
                    std::string& name) {
  const auto is_group = [](const std::string& word) {
    return word == "report" || word == "security" || word == "freed";
  };
  for (size_t i = 0; i < arguments.size(); ++i) {
    const std::string& word = arguments[i];
    const CLI::Option* option = app.get_option_no_throw(word);
    if (word.starts_with('-')) {
      i += option != nullptr && option->get_items_expected_max() != 0 ? 1 : 0;
      continue;
    }
    name += (name.empty() ? "" : " ") + word;
    if (name != word || !is_group(word)) return i + 1;
  }
  return 0;
}

// Without "-o" and its file, which all runs share: their output is joined before it is written.
// `place` is a number in the arguments, and comes to be that of the same one in what is left.
std::vector<std::string> WithoutOutput(const std::vector<std::string>& arguments, size_t& place) {
  std::vector<std::string> rest;
  for (size_t i = 0; i < arguments.size(); ++i) {
    if (i == place) place = rest.size();
    const bool whole = arguments[i] == "-o";
    const bool joined = arguments[i].starts_with("-o");
    if (!joined) rest.push_back(arguments[i]);
    if (whole && ++i == place) place = rest.size();
  }
  return rest;
}

// What one command does for several files; kExitUsage after a message for one that can't.
int RunForMany(const ManyFiles& many, ManyRuns runs, const std::string& name,
               const ConsoleRequest& request) {
  constexpr std::string_view kOfOne[] = {"compare", "convert", "split",
                                         "export",  "repair",  "machine"};
  const bool one = std::ranges::count(kOfOne, name) != 0;
  if (one || many.wrong || request.printing.format == Format::kReport) {
    Complain(many.wrong ? "-r FOLDER, --files FILE..., -j 1 to 64"
             : one      ? name + " works on one file"
                        : "A Report List is of one file");
    return kExitUsage;
  }
  if (runs.files.empty()) {
    Complain("No hive among the files");
    return kExitFailed;
  }
  Printing printing = request.printing;
  if (name == "carve") printing.file.clear();  // a folder, of each of them
  if (name != "carve") runs.arguments = WithoutOutput(runs.arguments, runs.place);
  if (!LeadsElsewhere(runs.files) || !MayPrint(printing)) return kExitFailed;
  // A check judges the files before their logs, and an image has none.
  const bool with_logs = name != "check" && name != "carve";
  if (with_logs) runs.logs = PairAndTell(request, runs.files, runs.found_logs).of_hive;
  runs.jobs = many.jobs;
  runs.quiet = request.console.quiet;
  runs.progress = request.console.progress;
  return RunForFiles(runs, printing);
}

// What a load frees is used again by what follows it. The C library would give the larger part back
// to the system, and get it anew a page at a time.
void KeepFreedMemory() {
#ifdef __GLIBC__
  constexpr int kLargest = 1 << 30;
  mallopt(M_MMAP_THRESHOLD, kLargest);
  mallopt(M_TRIM_THRESHOLD, kLargest);
#endif
}

int Run(std::vector<std::string> arguments) {
  KeepFreedMemory();
  ConsoleRequest request;
  CLI::App app("Opens registry hive files offline, whatever their state.", "hivequarry-cli");
  app.footer(
      "Several files: -r FOLDER takes all hives in it and below, --files FILE... these, instead of "
      "HIVE;\n"
      "-j N at a time (2). Rows begin with the file then; a KEY or PATTERN comes before --files.");
  AddOptions(app, request);
  AddCommands(app, request);
  AddFreed(app, request);
  AddSearch(app, request);
  AddDates(app, request);
  // Making all their commands takes a tenth of the time of a small hive: only for who names them.
  const auto named = [&arguments](const char* name) {
    return std::ranges::find(arguments, name) != arguments.end();
  };
  AddSecurity(app, request, named("security"));
  AddReports(app, request, named("report"));
  std::vector<std::string> without = arguments;
  std::string command;
  ManyFiles many = TakeManyFiles(without);
  ManyRuns runs;
  std::vector<UnreadPlace> unread;
  runs.place = many.asked ? EndOfCommand(app, without, command) : 0;
  // Without a command the parser is left to say what is missing.
  many.asked = runs.place != 0 && command != "timeline";  // which takes them itself
  const bool together = many.asked && command == "report machine";
  if (many.asked) {
    HivesOfFolder found = FilesOf(many);
    runs.files = std::move(found.hives);
    runs.found_logs = std::move(found.logs);
    unread = std::move(found.unread);
    runs.arguments = arguments = without;
    const auto place = arguments.begin() + static_cast<std::ptrdiff_t>(runs.place);
    if (together) {
      arguments.insert(place, runs.files.begin(), runs.files.end());
    } else {
      // One file for the parser, which wants one: so faults of the line are told once, before any
      // run.
      arguments.insert(place, runs.files.empty() ? "none" : runs.files.front());
    }
  }
  try {
    std::reverse(arguments.begin(), arguments.end());  // as the parser takes them
    app.parse(arguments);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? kExitDone : kExitUsage;
  }
  SetConsoleHost(request.console);
  ReadInCodePage(request.code_page);
  HeedSignals();
  CompleteSearch(request);
  const std::string name = CommandName(app);
  BeginOperation(kOperationLoad);
  const bool each = many.asked && !together;
  if (together) request.paired = PairAndTell(request, runs.files, runs.found_logs);
  const int run =
      each ? RunForMany(many, std::move(runs), name, request) : RunConsoleCommand(name, request);
  EndOperation();
  return TellUnread(unread, run);
}

}  // namespace
}  // namespace hivequarry

#ifdef _WIN32
// Output is the same bytes on both systems: no line ends are changed. Arguments are UTF-8 inside.
int wmain(int argc, wchar_t** argv) {
  _setmode(_fileno(stdout), _O_BINARY);
  std::vector<std::string> arguments;
  for (int i = 1; i < argc; ++i) {
    const std::wstring wide = argv[i];
    arguments.push_back(hivequarry::TextOfWide(std::u16string(wide.begin(), wide.end())));
  }
  return hivequarry::Run(std::move(arguments));
}
#else
int main(int argc, char** argv) {
  return hivequarry::Run(std::vector<std::string>(argv + 1, argv + argc));
}
#endif
