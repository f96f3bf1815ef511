// The base block, and what is after the blocks.
#include <algorithm>

#include "check/checking.h"
#include "host/number_text.h"
#include "records/bin_header.h"

namespace hivequarry {
namespace {

// Bit 0: transactions were not all done; bit 1: layered.
constexpr uint32_t kKnownFlags = 3;   // older systems left other bytes there
constexpr uint32_t kLayersMinor = 6;  // from this minor version on keys have a layer byte
constexpr uint32_t kFileUnit = 512;   // files are written in steps of it

void AddBase(Checking& check, CheckCode code, std::string found, std::string expected) {
  AddFinding(check, code, 0, kNoCheckedKey, {std::move(found), std::move(expected)});
}

// The four bytes as letters where they are some.
std::string SignatureText(ByteView hive) {
  std::string text;
  for (uint32_t i = 0; i < 4; ++i) {
    const uint8_t byte = ReadU8(hive, i);
    const bool letter = byte > 0x20 && byte < 0x7F;
    text += letter ? std::string(1, static_cast<char>(byte)) : Concat({"<", Hex(byte, 2), ">"});
  }
  return text;
}

// True for a signature that is right, or of which one letter is not.
bool CheckSignature(Checking& check) {
  if (check.base.signature == kHiveSignature) return true;
  uint8_t letters[4] = {};
  ReadBytes(check.hive, 0, letters, sizeof letters);
  // One wrong letter is damage to a base block; a snapshot has one by design, and is no hive.
  const bool near = IsBaseBlockSignature(letters) && check.base.signature != kSnapshotSignature;
  AddFindingOf(check, CheckCode::kH1, near ? CheckLevel::kOdd : CheckLevel::kFault, 0,
               kNoCheckedKey, {SignatureText(check.hive), "regf"});
  return near;
}

// The versions that systems write whose hives are read here.
bool IsVersionRead(const BaseBlock& base) {
  return base.major == 1 && base.minor >= 3 && base.minor <= 6;
}

// Before version 1.3 a cell began with another field.
// Such cells would all be reported as faults, so none is judged.
bool HasOldCells(const BaseBlock& base) { return base.major == 1 && base.minor < 3; }

// Each field against what a system accepts, by itself: none of these ends the check, as the bins
// are looked at whatever the block says.
void CheckBaseFields(Checking& check) {
  const BaseBlock& base = check.base;
  if (const uint32_t right = BaseBlockChecksum(check.hive); right != base.checksum) {
    AddBase(check, CheckCode::kH2, HexNumber(base.checksum), HexNumber(right));
  }
  if (base.sequence1 != base.sequence2) {
    check.result.dirty = true;
    AddBase(check, CheckCode::kH3,
            std::to_string(base.sequence1) + "/" + std::to_string(base.sequence2), "two alike");
  }
  if (!IsVersionRead(base)) {
    AddBase(check, CheckCode::kH4, std::to_string(base.major) + "." + std::to_string(base.minor),
            "1.3 to 1.6");
  }
  if (base.type != 0) AddBase(check, CheckCode::kH5, std::to_string(base.type), "0");
  const uint32_t format = ReadU32(check.hive, kBaseFileFormat);
  const uint32_t clustering = ReadU32(check.hive, kBaseClustering);
  if (format != 1 || clustering != 1) {
    AddBase(check, CheckCode::kH6, std::to_string(format) + "/" + std::to_string(clustering),
            "1/1");
  }
  if (base.length == 0 || base.length % kBaseBlockSize != 0) {
    AddBase(check, CheckCode::kH7, std::to_string(base.length), "a multiple of 4096");
  }
}

}  // namespace

// False where the blocks and cells can't be judged: no base block, or a version with other cells.
bool CheckBase(Checking& check) {
  check.base = ReadBaseBlock(check.hive);
  const bool known = CheckSignature(check);
  check.blocks_claim = uint64_t{kBaseBlockSize} + check.base.length;
  check.blocks_end = std::min<uint64_t>(check.blocks_claim, check.hive.size());
  // Without a base block nothing says where the blocks end, and whatever else is in the fields
  // would be reported as a fault of its own.
  if (!known) return false;
  CheckBaseFields(check);
  const uint32_t flags = check.base.flags;
  // The flag is believed where nothing else is in its field, and not of a hive that takes part in
  // transactions.
  check.layered = (flags & kBaseLayered) != 0 && (flags & ~kKnownFlags) == 0 &&
                  ReadU32(check.hive, kBaseTransactionMark) != kTransactionMark;
  check.layers_unknown = check.base.minor < kLayersMinor;
  check.result.cells_judged = !HasOldCells(check.base);
  if (check.hive.size() < check.blocks_claim) {
    const uint64_t missing = check.blocks_claim - check.hive.size();
    AddBase(check, CheckCode::kH8,
            std::to_string(check.hive.size()) + " bytes, " + std::to_string(missing) + " missing",
            std::to_string(check.blocks_claim));
  }
  return check.result.cells_judged;
}

// Last of all parts, as H12 depends on what the checksum turned out to be.
void CheckEnd(Checking& check) {
  const size_t length = check.hive.size();
  if (length % kFileUnit != 0) {
    AddBase(check, CheckCode::kH11, std::to_string(length), "a multiple of 512");
  }
  const bool named = check.base.signature == kHiveSignature || check.result.cells_judged;
  if (!named || length <= check.blocks_claim) return;
  const auto end = static_cast<uint32_t>(check.blocks_claim);
  const ByteView rest = check.hive.subspan(end);
  const bool zero = std::ranges::all_of(rest, [](uint8_t byte) { return byte == 0; });
  AddFinding(check, zero ? CheckCode::kH10 : CheckCode::kH9, end, kNoCheckedKey,
             {std::to_string(rest.size()) + " bytes", ""});
  BinHeader bin;
  // A block with any other offset of its own is left over from earlier, and no part of the hive.
  if (!ReadBinHeader(check.hive, end, bin) || bin.own_offset != check.base.length) return;
  const bool wrong_base = check.result.by_code[static_cast<size_t>(CheckCode::kH2)] != 0;
  AddFindingOf(check, CheckCode::kH12, wrong_base ? CheckLevel::kFault : CheckLevel::kOdd, end,
               kNoCheckedKey,
               {"block with own offset " + HexNumber(bin.own_offset),
                wrong_base ? "a larger size in the base block" : "no block"});
}

}  // namespace hivequarry
