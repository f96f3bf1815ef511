// Hives below the opened one, shown with it as one. Each is opened and gets its tree in the way of
// the first; then its image is moved out of its slot, which the next one takes.
#include <algorithm>
#include <array>

#include "app/opening_words.h"
#include "cli/opened_hive.h"
#include "hive/layer_stack.h"
#include "hive/layers.h"
#include "hive/root_path.h"
#include "host/host.h"

namespace hivequarry {
namespace {

// Those that go through the keys and values of the tree. Other commands look at a file, its logs or
// its free space, and a stack has none of its own.
bool IsOfTree(std::string_view command) {
  constexpr std::array<std::string_view, 10> kCommands = {
      "tree",   "values",        "detail",          "search",        "dates",
      "export", "security used", "security owners", "security keys", "security links"};
  return command == "report" || command == "security show" ||
         std::ranges::find(kCommands, command) != kCommands.end();
}

// Opens one, with its tree. An exit status.
int OpenBase(const std::string& name, const ConsoleRequest& request, const BuildOptions& options,
             OpenedHive& opened, TreeOfLayer& layer) {
  FileToOpen file = FileOf(request, name);
  // Range, root path and chosen logs are about the hive on top alone; "none" is about all of them.
  file.start_offset = file.end_offset = 0;
  file.logs = LogChoice();
  if (request.logs.mode == LogMode::kNone) file.logs.mode = LogMode::kNone;
  file.build = options;
  file.build.root_path.clear();
  file.named = true;
  OpenedHive base;
  if (const int status = OpenWithTree(file, base); status != kExitDone) return status;
  opened.lacks_logs = opened.lacks_logs || base.lacks_logs;
  if (FoundNothing(base.summary) && !ValidateAndTell(*base.hive)) return kExitFailed;
  // The file stays evidence, though its slot is free for the next one.
  layer.hive = std::move(*base.hive);
  layer.tree = std::move(base.tree);
  *base.hive = HiveImage();
  return kExitDone;
}

// `result.layer` numbers the files as they were named.
void TellOfFault(const StackResult& result, const std::vector<std::string>& names) {
  if (result.fault == StackFault::kNoMemory) {
    Complain("The hives are too large to be shown as one");
  } else if (result.fault == StackFault::kNoPlaces) {
    Complain(names[result.layer] +
             " is a part of a hive, or a copy as text: it can't be shown with others as one");
  }
}

}  // namespace

bool MayStack(const ConsoleRequest& request, std::string_view command) {
  if (request.bases.empty()) {
    if (!request.hidden) return true;
    Complain("--hidden needs --base");
    return false;
  }
  // These are of one file: what its logs removed, what its free space holds, what no list of it
  // names.
  const bool alone = request.removed || request.freed || request.disconnected_only;
  const bool script = request.hidden && command == "export";
  if (IsOfTree(command) && !alone && !script) return true;
  Complain("--base is for commands that show the keys and values of a tree, not for deleted ones" +
           std::string(script ? "; a script has no hidden keys" : ""));
  return false;
}

int StackBases(const ConsoleRequest& request, const BuildOptions& options, OpenedHive& opened) {
  std::vector<std::string> names = {request.hive};
  names.insert(names.end(), request.bases.begin(), request.bases.end());
  if (!HasLayers(*opened.hive)) {
    Complain(request.hive + " is no differencing hive: its keys are joined with those below");
  }
  // That of the first hive: what is moved out of it comes back to it as the stack.
  const int slot = opened.hive->slot;
  std::vector<TreeOfLayer> layers;
  layers.push_back({std::move(*opened.hive), std::move(opened.tree)});
  for (const std::string& base : request.bases) {
    TreeOfLayer layer;
    const int status = OpenBase(base, request, options, opened, layer);
    if (status != kExitDone) return status;
    layers.push_back(std::move(layer));
  }
  // Opening the others made theirs the current one.
  TheHiveTable().current = slot;
  SetDefaultRoot(request.hive);
  const StackResult stacked =
      StackHives(std::move(layers), request.hidden, *opened.hive, opened.tree);
  TellOfFault(stacked, names);
  return stacked.fault == StackFault::kNone ? kExitDone : kExitFailed;
}

}  // namespace hivequarry
