#include "check/check.h"

#include <algorithm>

#include "check/checking.h"
#include "host/long_operation.h"
#include "host/number_text.h"
#include "host/sort_by_keys.h"
#include "host/visible_text.h"
#include "records/key_flags.h"
#include "records/key_node.h"

namespace hivequarry {
namespace {

// Their numbers are looked up when all keys have one.
void AddListedAgain(Checking& check) {
  std::vector<ListedAgain>& again = check.listed_again;
  const auto same = [](const ListedAgain& a, const ListedAgain& b) {
    return a.position == b.position;
  };
  // By position since CheckKeys: one finding for a key, however many lists name it again.
  again.erase(std::unique(again.begin(), again.end(), same), again.end());
  std::vector<uint32_t> numbers(again.size(), kNoCheckedKey);
  const std::vector<CheckedKey>& keys = check.result.keys;
  for (uint32_t key = 0; key < keys.size() && !again.empty(); ++key) {
    const auto at = std::ranges::lower_bound(again, keys[key].position, {}, &ListedAgain::position);
    if (at == again.end() || at->position != keys[key].position) continue;
    numbers[static_cast<size_t>(at - again.begin())] = key;
  }
  for (size_t i = 0; i < again.size(); ++i) {
    AddFinding(check, CheckCode::kK2, again[i].position, numbers[i],
               {"more than one entry", "one"});
  }
}

std::string PlainNameOf(ByteView hive, uint32_t position) {
  KeyFields fields;
  if (!ReadKeyFields(hive, position, fields)) return {};
  const bool wide = IsWideKeyName(fields.flags);
  return ShownKeyName(KeyNameText(hive, position, fields.name_length, wide));
}

std::string Counted(uint64_t count, const char* one, const char* many) {
  return std::to_string(count) + " " + (count == 1 ? one : many);
}

}  // namespace

CheckResult CheckHive(ByteView hive) {
  Checking check;
  check.hive = hive;
  if (CheckBase(check)) {
    CheckBlocks(check);
    CheckKeys(check);
    CheckSecurity(check);
    AddListedAgain(check);
    CheckUnnamed(check);
  }
  // Also of a hive whose cells are not judged: it says what the file has after its blocks.
  CheckEnd(check);
  check.result.stopped = StopRequested();
  SortByKeys(check.result.findings, [](const CheckFinding& finding) {
    return SortKey{finding.position, static_cast<uint64_t>(finding.code)};
  });
  return std::move(check.result);
}

// Beyond kMostFindings of a code they are counted, not kept.
void AddFindingOf(Checking& check, CheckCode code, CheckLevel level, uint32_t position,
                  uint32_t key, FoundTexts texts) {
  CheckResult& result = check.result;
  ++result.by_level[static_cast<size_t>(level)];
  if (++result.by_code[static_cast<size_t>(code)] > kMostFindings) return;
  result.findings.push_back(
      {code, level, position, key, std::move(texts.found), std::move(texts.expected)});
}

void AddFinding(Checking& check, CheckCode code, uint32_t position, uint32_t key,
                FoundTexts texts) {
  AddFindingOf(check, code, InfoOf(code).level, position, key, std::move(texts));
}

std::string OffsetFound(uint32_t offset) {
  return offset == kNowhereOffset ? "none" : HexNumber(offset);
}

std::string VerdictWords(const CheckResult& result) {
  const uint64_t faults = result.by_level[static_cast<size_t>(CheckLevel::kFault)];
  const uint64_t odd = result.by_level[static_cast<size_t>(CheckLevel::kOdd)];
  if (faults != 0) return Counted(faults, "fault", "faults");
  if (odd != 0) return Counted(odd, "oddity", "oddities");
  return result.dirty ? "sound, dirty" : "sound";
}

std::string CheckedKeyPath(ByteView hive, const CheckResult& result, uint32_t key, size_t limit) {
  std::vector<std::string> names;
  size_t length = 0;
  std::string path;
  for (uint32_t at = key; at < result.keys.size(); at = result.keys[at].parent) {
    if (result.keys[at].parent == kNoCheckedKey) break;  // the root
    std::string name = PlainNameOf(hive, result.keys[at].position);
    length += name.size() + 1;
    // The last name is there whatever its length, so a row says at least which key it is about.
    if (length > limit && !names.empty()) {
      path = "\\...@" + HexNumber(result.keys[at].position);
      break;
    }
    names.push_back(std::move(name));
  }
  for (auto name = names.rbegin(); name != names.rend(); ++name) path += "\\" + *name;
  return path;
}

}  // namespace hivequarry
