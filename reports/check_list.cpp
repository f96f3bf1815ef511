#include "reports/check_list.h"

#include <algorithm>
#include <cstdio>
#include <functional>
#include <memory>
#include <vector>

#include "hive/file_place.h"
#include "hive/replaying.h"
#include "hive/root_path.h"
#include "host/files.h"
#include "host/host.h"
#include "host/long_operation.h"
#include "host/number_text.h"
#include "host/shortfalls.h"
#include "lists/list_rows.h"

namespace hivequarry {
namespace {

constexpr size_t kCheckPathLimit = 1024;  // characters of a key's path in a row

struct StreamCloser {
  void operator()(std::FILE* stream) const { std::fclose(stream); }
};

// The bytes that are judged, and those of them that were read for it.
// May be moved, not copied: `bytes` may lead into `own`.
struct Judged {
  ByteView bytes;
  std::vector<uint8_t> own;
};

// An image in which moved bytes were put back is not what a system would read.
bool IsAsInFile(const HiveImage& hive) {
  return hive.places.pieces.empty() && hive.places.returns.empty() && hive.places.undone.empty();
}

// From the file, since the image's bytes were put back elsewhere. Fewer where the file has become
// shorter, none where it cannot be opened; what cannot be read is zeros.
std::vector<uint8_t> ReadAgain(const HiveImage& hive) {
  int error = 0;
  std::vector<uint8_t> bytes(hive.file_bytes);
  const std::unique_ptr<std::FILE, StreamCloser> stream(OpenFile(hive.file_name, "rb", error));
  UnreadBytes unread;
  const size_t got = stream == nullptr ? 0
                                       : ReadFileBytes(stream.get(), hive.base_offset, bytes.data(),
                                                       bytes.size(), &unread);
  bytes.resize(got);
  return bytes;
}

// `own` holds the bytes only where no memory of the hive has them as they are asked for.
Judged BytesToJudge(const HiveImage& hive, CheckedState state) {
  Judged judged;
  if (state == CheckedState::kReplayed && IsReplayed(hive)) {
    judged.bytes = ImageBytes(hive);
  } else if (IsReplayed(hive)) {
    judged.bytes = hive.logs->before_bytes();
  } else if (IsAsInFile(hive)) {
    judged.bytes = {hive.buffer.get(), hive.file_bytes};
  } else {
    judged.own = ReadAgain(hive);
    judged.bytes = judged.own;
  }
  return judged;
}

std::string StateWords(const HiveImage& hive, CheckedState state) {
  if (state == CheckedState::kReplayed && IsReplayed(hive)) return "with its logs applied";
  return hive.logs != nullptr && hive.logs->hive.dirty() ? "the file as it is, before its logs"
                                                         : "the file as it is";
}

// One line for the head of the list; counts are those of all findings, not of the rows.
std::string SummaryWords(const HiveImage& hive, CheckedState state, const CheckResult& result) {
  const auto level = [&result](CheckLevel each) {
    return Thousands(result.by_level[static_cast<size_t>(each)]);
  };
  std::string words = "Structure, " + StateWords(hive, state) + ": " + VerdictWords(result) + "; ";
  words += Concat({Thousands(result.keys.size()), " keys, ", Thousands(result.values), " values, ",
                   Thousands(result.cells), " cells, ", Thousands(result.bytes_used),
                   " bytes in use; "});
  words += Concat({level(CheckLevel::kFault), " faults (F), ", level(CheckLevel::kOdd),
                   " oddities (W), ", level(CheckLevel::kNote), " notes (N)"});
  const uint64_t unnamed = result.by_code[static_cast<size_t>(CheckCode::kX1)];
  if (unnamed != 0) {
    words += Concat({"; ", Thousands(unnamed), " allocated cells (",
                     Thousands(result.unnamed_bytes), " bytes) that nothing names"});
  }
  if (!result.cells_judged) words += "; blocks and cells were not judged";
  return words;
}

// Makes the rows of findings. Neighbours are often of one key, whose path is made once.
struct FindingRows {
  const HiveImage& hive;
  const CheckedHive& checked;
  ByteView bytes;
  bool in_file;  // positions are those of the file
  std::string root;
  uint32_t key = kNoCheckedKey;  // of `path`
  std::string path;
};

const std::string& PathOf(FindingRows& maker, uint32_t key) {
  if (key != maker.key || maker.path.empty()) {
    maker.key = key;
    maker.path =
        maker.root + CheckedKeyPath(maker.bytes, maker.checked.result, key, kCheckPathLimit);
  }
  return maker.path;
}

// Where the image has a position of what was judged.
uint32_t ImagePosition(const FindingRows& maker, uint32_t place) {
  return maker.in_file ? PositionOfPlace(maker.hive, place) : place;
}

// Positions shown are those of the judged bytes; the datum, by which a row leads to the tree, is
// where the image has that byte, or none.
void AddFindingRow(FindingRows& maker, CheckedHive& checked, const CheckFinding& finding) {
  const uint32_t place = finding.position;
  const uint32_t datum = ImagePosition(maker, place);
  const std::string position = PositionText(place);
  const bool has_key = finding.key != kNoCheckedKey;
  AddListRow(*checked.list,
             {InfoOf(finding.code).name, LevelLetter(finding.level), Cell(position, place),
              has_key ? std::string_view(PathOf(maker, finding.key)) : std::string_view(),
              InfoOf(finding.code).text, finding.found, finding.expected},
             datum);
  checked.row_keys.push_back(
      has_key ? ImagePosition(maker, checked.result.keys[finding.key].position) : kNoOffset);
}

// All cells that nothing names in one row.
void AddUnnamedRow(const CheckResult& result, OutputList& list) {
  const CheckCodeInfo& info = InfoOf(CheckCode::kX1);
  const uint64_t count = result.by_code[static_cast<size_t>(CheckCode::kX1)];
  const std::string found =
      Concat({std::to_string(count), " cells, ", std::to_string(result.unnamed_bytes), " bytes"});
  AddListRow(list, {info.name, LevelLetter(info.level), "", "", info.text, found, "free cells"},
             kNoOffset);
}

bool IsOneOfAll(const CheckFinding& finding, const CheckListOptions& options) {
  return finding.code == CheckCode::kX1 && options.least != CheckLevel::kNote;
}

// In the order of their rows.
std::vector<const CheckFinding*> WantedFindings(const CheckResult& result,
                                                const CheckListOptions& options) {
  std::vector<const CheckFinding*> wanted;
  for (const CheckFinding& finding : result.findings) {
    if (finding.level >= options.least && !IsOneOfAll(finding, options)) wanted.push_back(&finding);
  }
  if (options.worst_first) {
    std::ranges::stable_sort(wanted, std::ranges::greater(), &CheckFinding::level);
  }
  return wanted;
}

// Cells that nothing names are notes, one row for all of them where notes are left out. Findings
// that the check itself did not keep are noted as a shortfall.
void AddRows(FindingRows& maker, const CheckListOptions& options, CheckedHive& checked) {
  const CheckResult& result = checked.result;
  uint64_t wanted = 0;
  for (const CheckFinding* finding : WantedFindings(result, options)) {
    if (wanted++ < options.most) AddFindingRow(maker, checked, *finding);
    if (StopRequested()) return;
  }
  // Where notes are asked for each such cell has a row already; where faults alone are, they are
  // left out.
  const bool counted =
      options.least == CheckLevel::kOdd && result.by_code[static_cast<size_t>(CheckCode::kX1)] != 0;
  if (counted && wanted++ < options.most) AddUnnamedRow(result, *checked.list);
  checked.left_out = wanted - RowCount(*checked.list);
  for (const uint64_t count : result.by_code) {
    if (count > kMostFindings) NoteShortfall(Shortfall::kRows, count - kMostFindings);
  }
}

}  // namespace

CheckedHive CheckOpenedHive(const HiveImage& hive, CheckedState state,
                            const CheckListOptions& options) {
  ShowStatus("Checking structure ...");
  const Judged judged = BytesToJudge(hive, state);
  CheckedHive checked;
  checked.result = CheckHive(judged.bytes);
  checked.summary = SummaryWords(hive, state, checked.result);
  checked.list = MakeOutputList(kListCheck);
  SetListSubtitle(*checked.list, checked.summary);
  const bool replayed = state == CheckedState::kReplayed && IsReplayed(hive);
  FindingRows maker{hive, checked, judged.bytes, !replayed, DisplayedRoot(hive), kNoCheckedKey, {}};
  AddRows(maker, options, checked);
  ShowStatus("");
  return checked;
}

std::string StructureVerdict(const HiveImage& hive) {
  return VerdictWords(CheckHive(BytesToJudge(hive, CheckedState::kFile).bytes));
}

}  // namespace hivequarry
