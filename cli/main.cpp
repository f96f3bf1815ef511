// hivequarry-cli: everything that the desktop program finds, for scripts.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <csignal>
#include <string>
#include <vector>

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#endif

#include "cli/commands.h"
#include "host/host.h"
#include "host/long_operation.h"

namespace hivequarry {
namespace {

void OnInterrupt(int) {
  RequestStop();
  std::signal(SIGINT, SIG_DFL);  // a second one ends the program at once
}

Format FormatOf(const std::string& name) {
  if (name == "csv") return Format::kCsv;
  if (name == "rpt") return Format::kReport;
  return name == "jsonl" ? Format::kJsonLines : Format::kText;
}

void AddHive(CLI::App* command, ConsoleRequest& request) {
  command->add_option("HIVE", request.hive, "Hive file, or a file that holds a hive")->required();
}

void AddOptions(CLI::App& app, ConsoleRequest& request) {
  app.add_option("--soff", request.start_offset, "First byte of a partial range of the file");
  app.add_option("--eoff", request.end_offset, "End of the range (first byte behind it)");
  app.add_option("--root", request.root_path, "Registry path of the hive's root key");
  app.add_option_function<std::string>(
         "--format", [&request](const std::string& name) { request.format = FormatOf(name); },
         "text (default), csv, jsonl, or rpt: a Report List of the desktop program")
      ->check(CLI::IsMember({"text", "csv", "jsonl", "rpt"}));
  app.add_option("-o", request.output,
                 "Write to this file instead of the standard output; for split: the folder of the "
                 "pieces");
  app.add_flag("!--no-disconnected-values", request.disconnected_values,
               "Do not look for values that no key names");
  app.add_flag("--all-roots", request.all_roots,
               "Show further hives in the file too, instead of the first alone");
  app.add_flag("--quiet", request.console.quiet, "No messages");
  app.add_flag("--progress", request.console.progress, "Show the phases of the work");
  app.add_flag("--yes", request.console.yes, "Answer questions with Yes");
  app.set_version_flag("--version", std::string(kProgramName) + " " + HIVEQUARRY_VERSION);
}

void AddCommands(CLI::App& app, ConsoleRequest& request) {
  app.require_subcommand(1);
  app.fallthrough();
  AddHive(app.add_subcommand("info", "What the file is, and what was found in it"), request);
  CLI::App* tree = app.add_subcommand("tree", "The keys as displayed, recovered ones included");
  AddHive(tree, request);
  tree->add_option("KEY", request.key, "Only this key (path or @OFFSET) and those below it");
  CLI::App* values = app.add_subcommand("values", "The values of one key, or of every key");
  AddHive(values, request);
  values->add_option("KEY", request.key, "Only the values of this key (path or @OFFSET)");
  values->add_flag("--disconnected", request.disconnected_only, "The values that no key owns");
  values->add_flag("--raw", request.raw, "With jsonl: each value's data in hexadecimal");
  CLI::App* detail = app.add_subcommand("detail", "The record of one value or key, decoded");
  AddHive(detail, request);
  detail->add_option("OFFSET", request.key, "@OFFSET of the value or key (decimal or 0x...)")
      ->required();
  detail->add_flag("--raw", request.raw, "The bytes of the record there, field by field");
  AddHive(app.add_subcommand("bins", "The blocks of the hive"), request);
  CLI::App* split = app.add_subcommand("split", "Cuts a file into pieces, one per run of blocks");
  AddHive(split, request);
  CLI::App* convert = app.add_subcommand("convert", "A Report List in another format");
  convert->add_option("FILE", request.hive, "Report List (.rpt)")->required();
}

int Run(std::vector<std::string> arguments) {
  ConsoleRequest request;
  CLI::App app("Opens registry hive files offline, whatever their state.", "hivequarry-cli");
  AddOptions(app, request);
  AddCommands(app, request);
  try {
    std::reverse(arguments.begin(), arguments.end());  // as the parser takes them
    app.parse(arguments);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? kExitDone : kExitUsage;
  }
  SetConsoleHost(request.console);
  std::signal(SIGINT, OnInterrupt);
  const std::string name = app.get_subcommands().front()->get_name();
  BeginOperation(kOperationLoad);
  const int status = RunConsoleCommand(name, request);
  EndOperation();
  return status;
}

}  // namespace
}  // namespace hivequarry

#ifdef _WIN32
int wmain(int argc, wchar_t** argv) {
  _setmode(_fileno(stdout), _O_BINARY);
  std::vector<std::string> arguments;
  for (int i = 1; i < argc; ++i) {
    const std::wstring wide = argv[i];
    arguments.push_back(hivequarry::Utf8FromWide(std::u16string(wide.begin(), wide.end())));
  }
  return hivequarry::Run(std::move(arguments));
}
#else
int main(int argc, char** argv) {
  return hivequarry::Run(std::vector<std::string>(argv + 1, argv + argc));
}
#endif
