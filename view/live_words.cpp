#include "view/live_words.h"

#include <string>

#include "hive/root_path.h"
#include "host/host.h"
#include "live/live_place.h"

namespace hivequarry {
namespace {

void Warn(const std::string& text) { ShowMessage(text.c_str(), kProgramName, Icon::kExclamation); }

bool WarnOf(MergeFault fault, const HiveImage& hive, const MergeTarget& target) {
  switch (fault) {
    case MergeFault::kNone:
      return false;
    case MergeFault::kNoLivePlace:
      Warn("Invalid Root key !");
      return true;
    case MergeFault::kUnknownRoot:
      Warn("Invalid Root : " + target.place.prefix + " !");
      return true;
    case MergeFault::kDoubtfulRoot:
      Warn(RootDoubt(hive));
      return true;
    case MergeFault::kUnreadable:
      Warn("Can not read Key !");
      return true;
    case MergeFault::kNotOpened:
      Warn("Can not open Key !");
      return true;
  }
  return true;
}

bool AskMerge(const std::string& path) {
  const std::string question =
      "Merge Folder into Registry key\r\n" + path + " ?\r\nExisting Values will be overwritten !";
  return ShowMessage(question.c_str(), kProgramName, Icon::kQuestion, Buttons::kYesNoDefaultNo) ==
         Answer::kYes;
}

void Inform(const std::string& text) {
  ShowMessage(text.c_str(), kProgramName, Icon::kInformation);
}

}  // namespace

bool PrepareMerge(const HiveImage& hive, const KeyTree& tree, uint32_t item, MergeTarget& target) {
  if (WarnOf(CheckMerge(hive, tree, item, target), hive, target)) return false;
  if (!AskMerge(PathInPlace(target.place, PathBelowRoot(hive, tree, item)))) return false;
  return !WarnOf(OpenMergeTarget(hive, tree, target), hive, target);
}

MergeCounts MergeAndTell(const HiveImage& hive, const KeyTree& tree, MergeTarget& target,
                         const MergeOptions& options, OutputList& errors) {
  const MergeCounts counts = MergeBranch(hive, tree, target, options, errors);
  if (counts.refused) {
    ShowMessage(MergeErrorText(counts.error).c_str(), kProgramName, Icon::kStop);
  }
  const std::string said =
      std::to_string(counts.keys) + " keys, " + std::to_string(counts.values) + " values merged.";
  ShowStatus(said.c_str());
  return counts;
}

bool MayCompare(const HiveImage& hive, const KeyTree& tree, uint32_t item) {
  const ComparisonCheck check = CheckComparison(hive, tree, item);
  switch (check.fault) {
    case ComparisonFault::kNone:
      return true;
    case ComparisonFault::kVirtualFolder:
      break;
    case ComparisonFault::kNoRoot:
      Warn("Invalid Registry Key !");
      break;
    case ComparisonFault::kRootDenied:
      Warn("Access denied !");
      break;
    case ComparisonFault::kNoKey:
      Inform(check.path + " does not belong to Registry !");
      break;
    case ComparisonFault::kKeyDenied:
      Inform("Access denied (" + check.path + ")!");
      break;
  }
  return false;
}

bool FindLiveKeysAndTell(uint32_t roots, const PermissionQuery& query, bool resolve,
                         OutputList& list) {
  if (FindLiveKeysByPermissions(roots, query, resolve, list)) return true;
  Warn("Privilege not held !");
  return false;
}

}  // namespace hivequarry
