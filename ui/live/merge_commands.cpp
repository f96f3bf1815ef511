#include "ui/live/merge_commands.h"

#include <memory>
#include <utility>

#include "app/settings.h"
#include "ui/commands/root_dialog.h"
#include "ui/lists/list_window.h"
#include "ui/main/main_window.h"
#include "view/live_words.h"

namespace hivequarry {
namespace {

// Rows of `errors` come from the worker; the list is shown when that has ended.
struct MergeJob {
  MergeTarget target;
  OutputListPtr errors = MakeOutputList(kListErrors);
};

}  // namespace

void OnMergeFolder(MainWindow& window) {
  const HiveImage& hive = ShownHive(window);
  const KeyTree& tree = *window.shown->tree;
  const auto job = std::make_shared<MergeJob>();
  const uint32_t item = SelectedItem(window.shown->pane);
  if (!HasNoLivePlace(tree, item) && !EnsureRoot(window)) return;
  if (!PrepareMerge(hive, tree, item, job->target)) return;
  const Options& options = TheSettings().options;
  const MergeOptions wanted = {options.no_access_keys, options.export_security,
                               options.recovered_keys};
  StartWork(
      window, kOperationMerge,
      [job, wanted, &hive, &tree] { MergeAndTell(hive, tree, job->target, wanted, *job->errors); },
      [&window, job] {
        if (RowCount(*job->errors) != 0) OpenListWindow(window, std::move(job->errors));
      });
}

}  // namespace hivequarry
