// The input as a descriptor, as the data area of a hive, and as a SID: records decoded and told.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string>
#include <vector>

#include "security/descriptor.h"
#include "security/security_lists.h"
#include "security/sid.h"

namespace {

using namespace hivequarry;

void Require(bool holds) {
  if (!holds) std::abort();
}

void TrySid(std::span<const uint8_t> bytes) {
  const std::string text = SidText(bytes);
  Require(text.empty() == (SidLength(bytes) == 0));
  if (text.empty()) return;
  const std::vector<uint8_t> sid = SidOfText(text);
  Require(sid.size() == SidLength(bytes) && SidText(sid) == text);
}

void TryText(std::span<const uint8_t> bytes) {
  const std::string text(bytes.begin(), bytes.end());
  const std::vector<uint8_t> sid = SidOfText(text);
  Require(sid.empty() || SidText(sid) == text);
}

void TryRecord(ByteView image, uint32_t position) {
  SecurityRecordInfo info;
  if (!ReadSecurityRecord(image, position, info)) return;
  Require(info.owner_text.size() < kSidTextRoom);
  FormatSecurityRecord(image, info, position, false);
  SecurityQuery query;
  for (const AceKind kind : {AceKind::kAllow, AceKind::kDeny, AceKind::kAudit, AceKind::kOther}) {
    query.permissions.kind = kind;
    Require(!MatchesPermissions(image, info, query.permissions) || kind != AceKind::kAudit);
  }
  query.mode = SecurityMode::kAce;
  query.sid = info.owner_text;
  MatchesQuery(image, info, query);
}

void TryLists(const HiveImage& hive) {
  const OutputListPtr records = MakeOutputList(kListSecurityScan);
  ScanSecurityCells(hive, {}, *records);
  Require(RowCount(*records) <= hive.length / 25);
  for (uint32_t row = 0; row < RowCount(*records) && row < 4; ++row) {
    TryRecord(ImageBytes(hive), ReadSecurityRow(hive, *records, row).record);
  }
  const OutputListPtr aces = MakeAceList(true);
  ListAces(hive, {}, *aces);
  Require(RowCount(*aces) <= hive.length / 8);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::span<const uint8_t> bytes(data, size);
  TrySid(bytes);
  TryText(bytes);
  const std::vector<uint8_t> cell = CellOfDescriptor(bytes);
  if (!cell.empty()) TryRecord(cell, 0);
  TryLists(ImageOfBytes(bytes));
  return 0;
}
