#include "app/log_pairing.h"

// First the hives that need logs are found, by their base blocks alone; then each log that no name
// places is read, and looked up among them by what a hive and its logs have in common.
#include <algorithm>
#include <array>
#include <string_view>
#include <tuple>
#include <unordered_set>

#include "bytes/byte_view.h"
#include "host/case.h"
#include "host/file_reading.h"
#include "host/files.h"
#include "host/log_files.h"
#include "host/long_operation.h"
#include "host/number_text.h"
#include "records/base_block.h"
#include "replay/hive_log.h"
#include "replay/hive_logs.h"

namespace hivequarry {
namespace {

// Of the resource manager and of its log, 16 bytes each: a log's copy has those of the hive.
constexpr uint32_t kIdentifiers = 112;
constexpr uint32_t kIdentifiersSize = 32;
using Identifiers = std::array<uint8_t, kIdentifiersSize>;

struct Side {
  std::string name;
  BaseBlock base;
  Identifiers identifiers{};
};

// All 0 where the bytes end before, and for hives that take part in no transactions.
Identifiers IdentifiersOf(ByteView start) {
  Identifiers identifiers{};
  if (start.size() >= kIdentifiers + kIdentifiersSize) {
    std::copy_n(start.begin() + kIdentifiers, kIdentifiersSize, identifiers.begin());
  }
  return identifiers;
}

// Dirty, of a whole base block whose numbers can be believed, and without a log of its name.
bool NeedsLogs(const std::string& name, Side& hive) {
  int error = 0;
  const FileStream stream(OpenFile(name, "rb", error));
  if (stream == nullptr) return false;
  std::vector<uint8_t> start(kBaseBlockSize);
  start.resize(ReadFileBytes(stream.get(), 0, start.data(), start.size()));
  const PlanInput plan = PlanInputOf(start);
  if (plan.base.signature != kHiveSignature || !plan.checksum_right || !plan.dirty()) return false;
  if (std::ranges::any_of(LogsOf(name), IsPageLog)) return false;
  hive = {name, plan.base, IdentifiersOf(start)};
  return !plan.base.file_name.empty();
}

// Capitals, as names of files are compared.
using Capitals = std::unordered_set<std::string>;

// Whether the log's name is that of one of the hives with an ending of logs; `hives` in capitals.
bool HasOwner(const std::string& log, const Capitals& hives) {
  const std::string capitals = CapitalsOfText(log);
  return std::ranges::any_of(std::array{".LOG", ".LOG1", ".LOG2"}, [&](std::string_view ending) {
    return capitals.ends_with(ending) &&
           hives.contains(capitals.substr(0, capitals.size() - ending.size()));
  });
}

// What a hive and its logs have in common.
using Bond = std::tuple<std::u16string, uint32_t, uint32_t, uint32_t, Identifiers>;
Bond BondOf(const Side& side) {
  return {side.base.file_name, side.base.root_offset, side.base.major, side.base.minor,
          side.identifiers};
}
using Hives = std::multimap<Bond, Side>;

// The hive that a log fits; null for none, and for one that fits several.
const Side* HiveOf(const Side& log, const Hives& hives, PairedLogs& paired) {
  const Side* found = nullptr;
  const auto [first, end] = hives.equal_range(BondOf(log));
  for (auto at = first; at != end; ++at) {
    const Side& hive = at->second;
    // Older than the hive: its entries are in the file already.
    if (log.base.sequence1 < hive.base.sequence2) continue;
    if (found != nullptr) {
      paired.told.push_back(Concat({log.name, " is a log that fits ", found->name, " and ",
                                    hive.name, ": it is applied to neither (--logs chooses)"}));
      return nullptr;
    }
    found = &hive;
  }
  return found;
}

}  // namespace

PairedLogs PairLogs(const std::vector<std::string>& hives, const std::vector<std::string>& logs) {
  constexpr size_t kMostLogs = 2;  // of a hive: ".LOG1" and ".LOG2"
  PairedLogs paired;
  Hives dirty;
  Capitals names;
  for (const std::string& name : hives) {
    Side hive;
    if (StopRequested()) return paired;
    // Nothing to be paired: no hive is opened for it.
    if (logs.empty()) break;
    names.insert(CapitalsOfText(name));
    if (NeedsLogs(name, hive)) dirty.emplace(BondOf(hive), hive);
  }
  for (const std::string& name : logs) {
    if (dirty.empty() || StopRequested()) break;
    if (HasOwner(name, names)) continue;
    const HiveLog log = ReadHiveLog(name);
    if (log.fault != LogFault::kNone || log.entries.empty()) continue;
    const Side side{name, log.base, IdentifiersOf(log.bytes())};
    const Side* hive = HiveOf(side, dirty, paired);
    if (hive != nullptr) paired.of_hive[hive->name].push_back(name);
  }
  for (auto at = paired.of_hive.begin(); at != paired.of_hive.end();) {
    const auto& [hive, its] = *at;
    std::string all;
    for (const std::string& name : its) all += (all.empty() ? "" : ", ") + name;
    const bool many = its.size() > kMostLogs;
    paired.told.push_back(many ? Concat({"More logs fit ", hive, " than a hive has: ", all})
                               : Concat({"Logs of ", hive, " by their content: ", all}));
    at = many ? paired.of_hive.erase(at) : std::next(at);
  }
  return paired;
}

LogChoice LogsOfHive(const PairedLogs& paired, const std::string& hive, const LogChoice& choice) {
  const auto found = paired.of_hive.find(hive);
  if (found == paired.of_hive.end()) return choice;
  return {LogMode::kChosen, found->second, choice.bounded, choice.until};
}

}  // namespace hivequarry
