#include <algorithm>
#include <array>

#include "host/long_operation.h"
#include "host/number_text.h"
#include "records/cell.h"
#include "security/security_lists.h"
#include "security/security_rows.h"
#include "security/sid.h"

namespace hivequarry {
namespace {

// The scan ends that many bytes before the image does.
constexpr uint32_t kLeastRest = 80;  // a record with its SIDs takes more
constexpr uint32_t kScanStep = 4;
constexpr uint32_t kStretch = 64 * 1024;  // between two looks at the user's stop
constexpr uint32_t kLongestRecord = 0xFFFF;

struct ScanStep {
  bool is_record = false;
  uint32_t next = 0;
};

// A record's length takes the scan over it; where it leads out of the image, as anywhere else, the
// next step is tried.
ScanStep StepAt(const HiveImage& hive, uint32_t position) {
  const uint32_t size = ReadU32(hive, position);
  if (size == kBinSignature) return {false, position + kBinHeaderSize};
  const ScanStep other = {false, position + kScanStep};
  if (ReadU16(hive, position + 4) != kSignatureSk || !IsAllocated(size)) return other;
  const uint32_t length = CellLength(size);
  if (length > kLongestRecord) return other;
  if (!InsideHive(hive, position, length)) return {true, other.next};
  // A damaged length must not put the scan beside all cells that follow.
  // So it is made a multiple of the step.
  return {true, position + (length + kScanStep - 1) / kScanStep * kScanStep};
}

// The first position from this one on, at most kStretch further, where a step finds more than bytes
// to pass over. Nearly all steps are over such bytes, so they are taken on the image's own memory.
uint32_t PassPlainBytes(const HiveImage& hive, uint32_t position) {
  const ByteView bytes = ImageBytes(hive);
  const uint32_t last = std::min(hive.length - kLeastRest, position + kStretch);
  while (position < last && ReadU32(bytes, position) != kBinSignature &&
         ReadU16(bytes, position + 4) != kSignatureSk) {
    position += kScanStep;
  }
  return position;
}

// Calls `visit` with each record of the data area that can be decoded and has an owner.
template <typename Visit>
void ForEachRecord(const HiveImage& hive, const SidReplacement& replace, const Visit& visit) {
  SecurityRecordInfo info;
  for (uint32_t position = hive.data_start; InsideHive(hive, position, kLeastRest);) {
    if (StopRequested()) return;
    position = PassPlainBytes(hive, position);
    if (!InsideHive(hive, position, kLeastRest)) return;
    const ScanStep step = StepAt(hive, position);
    if (step.is_record && ReadSecurityRecord(ImageBytes(hive), position, info, &replace) &&
        !info.owner_text.empty()) {
      visit(info);
    }
    position = step.next;
  }
}

// Adds the rows of a walk over all entries.
class AceRows {
 public:
  AceRows(const HiveImage& hive, const SecurityListOptions& options, OutputList& list)
      : hive_(hive),
        options_(options),
        list_(list),
        names_(options.resolve),
        reads_(MakeAceReads(hive)) {}

  void AddRecord(const SecurityRecordInfo& info) {
    if (!IsUsable(info.dacl) && !IsUsable(info.sacl)) return;
    AddAcl(info, info.dacl, 0);
    AddAcl(info, info.sacl, info.dacl.count);
  }

 private:
  // Numbers go on after `number`.
  void AddAcl(const SecurityRecordInfo& info, const AclPlace& acl, uint32_t number) {
    const uint32_t most = AcesToRead(acl, reads_);
    ForEachAce(ImageBytes(hive_), acl, &options_.replace, [&](const AceInfo& ace, uint32_t index) {
      if (index >= most) return false;
      AddAce(info.position, ace, number + index + 1);
      return true;
    });
  }

  void AddAce(uint32_t record, const AceInfo& ace, uint32_t number) {
    const std::string label = Concat({PlaceText(hive_, record), "  ", Decimal(number, 2)});
    const std::string type = AceTypeText(ace.type);
    const std::string flags = FormatInheritFlags(ace.flags);
    const std::string rights = FormatAccessMask(ace.mask);
    const std::string details = Decimal(RowCount(list_) + 1, 5);
    // Without a column for them the details are dropped.
    AddListRow(list_, {label, type, flags, rights, ace.sid_text, names_.Of(ace.sid_text), details},
               record);
  }

  const HiveImage& hive_;
  const SecurityListOptions& options_;
  OutputList& list_;
  AccountNames names_;
  AceReads reads_;
};

}  // namespace

void ScanSecurityCells(const HiveImage& hive, const SecurityListOptions& options,
                       OutputList& list) {
  AccountNames names(options.resolve);
  ForEachRecord(hive, options.replace, [&](const SecurityRecordInfo& info) {
    const std::string place = PlaceText(hive, info.position);
    const uint32_t aces = info.dacl.count + info.sacl.count;
    AddListRow(list,
               {place,
                {Decimal(aces, 2), aces},
                info.owner_text,
                names.Of(info.owner_text),
                info.group_text,
                names.Of(info.group_text)},
               info.position);
  });
}

void ListAces(const HiveImage& hive, const SecurityListOptions& options, OutputList& list) {
  AceRows rows(hive, options, list);
  ForEachRecord(hive, options.replace,
                [&](const SecurityRecordInfo& info) { rows.AddRecord(info); });
}

OutputListPtr MakeAceList(bool details) {
  OutputListPtr list = MakeOutputList(kListAces);
  if (details) AddColumns(*list, {kDetailsTitle});
  return list;
}

}  // namespace hivequarry
