#include "cases/repair.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "cases/new_hive.h"
#include "cases/tree_content.h"
#include "check/check.h"
#include "hive/hive_table.h"
#include "hive/kept_table.h"
#include "hive/opening.h"
#include "host/evidence.h"
#include "host/files.h"
#include "host/host.h"
#include "host/long_operation.h"
#include "host/number_text.h"
#include "host/output_file.h"
#include "lists/list_rows.h"
#include "recovery/image_tree.h"

namespace hivequarry {
namespace {

// Opens the new file beside the hive that is shown, and forgets it again. What the next opening by
// the user is asked for stays as it is.
class Reopened {
 public:
  // The file as it was written, without logs and without repairs that would hide a fault of it.
  explicit Reopened(const std::string& name) {
    HiveTable& table = TheHiveTable();
    table.start_offset = table.end_offset = 0;
    table.logs = LogChoice{LogMode::kNone, {}, false, 0};
    slot_ = OpenHive(name);
    if (slot_ < 0) return;
    BuildOptions options;
    options.disconnected_values = false;
    options.cut_at_other_root = false;
    options.show_stopped = false;
    read_ = !BuildImageTree(HiveOfSlot(slot_), options, tree_).stopped;
  }
  ~Reopened() {
    if (slot_ >= 0) FreeHiveSlot(slot_);
  }
  Reopened(const Reopened&) = delete;
  Reopened& operator=(const Reopened&) = delete;

  bool read() const { return read_; }
  const HiveImage& hive() const { return HiveOfSlot(slot_); }
  const KeyTree& tree() const { return tree_; }

 private:
  const KeptHiveTable kept_;
  int slot_ = -1;
  bool read_ = false;
  KeyTree tree_;
};

std::string_view TextOf(ByteView bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

// The image as it is in memory, logs applied.
ByteView BytesOfImage(const HiveImage& hive) { return {hive.buffer.get(), hive.held}; }

// Holds all that was to be written, and nothing else.
bool HoldsContent(const Reopened& opened, const NewHive& content) {
  const OutputListPtr rows = MakeOutputList(kListRepair);
  ContentCounts counts;
  const NewHive read = ContentOfTree(opened.hive(), opened.tree(), {}, *rows, counts);
  if (counts.recovered_left_out != 0 || RowCount(*rows) != 0 || !(read == content)) return false;
  return IsSound(CheckHive(BytesOfImage(opened.hive())));
}

// Asked before and again after writing, as another program may have made a file there meanwhile.
RepairFault RefusalOf(const std::string& name) {
  if (IsProtected(name)) return RepairFault::kProtected;
  return RefusalOfOutput(name, OutputMode::kNew) == EEXIST ? RepairFault::kExists
                                                           : RepairFault::kNone;
}

// A new file: one that is there already stays as it is, and that is an error.
bool WriteBytes(const std::string& name, ByteView bytes, int& error) {
  OutputFile file;
  if (!OpenOutput(name, OutputMode::kNew, file, error)) return false;
  const OutputGuard guard(file);
  const bool written = WriteOutput(file, TextOf(bytes));
  if (!written) error = errno;
  return CloseOutput(file, written);
}

// What is read back must be these bytes, and what `holds` wants of it.
// Written under another name in the same folder and put in place only then: nobody finds a file
// there that was not verified.
template <typename Holds>
void WriteVerified(const std::string& name, ByteView bytes, Repaired& repaired,
                   const Holds& holds) {
  const std::string made = NameBeside(name, repaired.error);
  repaired.fault = RepairFault::kWrite;
  if (made.empty()) return;
  if (!WriteBytes(made, bytes, repaired.error)) return;
  ShowStatus("Verifying ...");
  bool same = false;
  {
    const Reopened opened(made);
    same = opened.read() && std::ranges::equal(BytesOfImage(opened.hive()), bytes) && holds(opened);
  }
  repaired.fault = same ? RefusalOf(name) : RepairFault::kVerify;
  const bool good = repaired.fault == RepairFault::kNone;
  if (!PutInPlace(made, name, good) && good) repaired.fault = RepairFault::kVerify;
  repaired.bytes = bytes.size();
  if (StopRequested()) repaired.fault = RepairFault::kStopped;
}

// Only what a base block begins, and what was read whole: zeros in place of lost bytes would be
// taken for the hive's.
void WriteReplayed(const HiveImage& hive, const std::string& name, Repaired& repaired) {
  if (!hive.header_valid) repaired.fault = RepairFault::kNoHive;
  if (hive.unread.count != 0) repaired.fault = RepairFault::kUnread;
  if (repaired.fault != RepairFault::kNone) return;
  WriteVerified(name, BytesOfImage(hive), repaired, [](const Reopened&) { return true; });
}

// Counts are filled also where the writing fails. The file is read back and held against the
// content.
void WriteRebuilt(const HiveImage& hive, const KeyTree& tree, const RepairOptions& options,
                  const std::string& name, Repaired& repaired) {
  ShowStatus("Rebuilding ...");
  ContentCounts counts;
  const NewHive content =
      ContentOfTree(hive, tree, {options.recovered, options.freed}, *repaired.rows, counts);
  repaired.recovered_left_out = counts.recovered_left_out;
  repaired.made = counts.made;
  repaired.freed_keys = counts.freed_keys;
  repaired.freed_values = counts.freed_values;
  if (content.keys.empty()) {
    repaired.fault = RepairFault::kStopped;
    return;
  }
  repaired.keys = static_cast<uint32_t>(content.keys.size());
  for (const NewKey& key : content.keys) {
    repaired.values += static_cast<uint32_t>(key.values.size());
  }
  const std::vector<uint8_t> bytes = BytesOfNewHive(content);
  if (bytes.empty()) {
    repaired.fault = RepairFault::kTooLarge;
    return;
  }
  WriteVerified(name, bytes, repaired,
                [&](const Reopened& opened) { return HoldsContent(opened, content); });
}

}  // namespace

Repaired RepairHive(const HiveImage& hive, const KeyTree& tree, const RepairOptions& options,
                    const std::string& name) {
  Repaired repaired;
  repaired.rows = MakeOutputList(kListRepair);
  repaired.fault = RefusalOf(name);
  if (repaired.fault != RepairFault::kNone) return repaired;
  if (options.kind == RepairKind::kReplayed) {
    WriteReplayed(hive, name, repaired);
  } else {
    WriteRebuilt(hive, tree, options, name, repaired);
  }
  ShowStatus("Done.");
  return repaired;
}

std::string RepairCountsWords(const Repaired& repaired) {
  const auto deleted = [](uint32_t count) {
    return count == 0 ? std::string() : " (" + std::to_string(count) + " deleted)";
  };
  std::string words =
      std::to_string(repaired.keys - repaired.made) + " keys" + deleted(repaired.freed_keys);
  if (repaired.made != 0) {
    words += ", " + std::to_string(repaired.made) + " keys made to lead to them";
  }
  return words + ", " + std::to_string(repaired.values) + " values" +
         deleted(repaired.freed_values);
}

std::string RepairRowsWords(const Repaired& repaired) {
  const uint32_t freed = repaired.freed_keys + repaired.freed_values;  // a row each
  const uint32_t others = RowCount(*repaired.rows) - freed;
  if (others == 0 && freed == 0) return {};
  if (freed == 0) return Concat({"Left out or changed: ", Decimal(others)});
  return Concat(
      {"Left out or changed: ", Decimal(others), "; deleted and written: ", Decimal(freed)});
}

std::string RepairFaultWords(const Repaired& repaired, const std::string& name) {
  switch (repaired.fault) {
    case RepairFault::kExists:
      return "There is a file " + name + " already: a repaired hive replaces none";
    case RepairFault::kProtected:
      return name + " is a hive or a log of one: nothing is written there";
    case RepairFault::kUnread:
      return "Parts of the file could not be read, so it can't be written as it is; rebuild it";
    case RepairFault::kNoHive:
      return "The file does not begin as a hive, so it can't be written as it is; rebuild it";
    case RepairFault::kTooLarge:
      return "The hive would be longer than 2 GiB";
    case RepairFault::kWrite:
      return "Can not create file " + name + ": " + std::strerror(repaired.error);
    case RepairFault::kVerify:
      return name + " was not what had been written when it was read back; it is removed";
    case RepairFault::kStopped:
      return "Stopped; " + name + " is not written";
    default:
      return {};
  }
}

}  // namespace hivequarry
