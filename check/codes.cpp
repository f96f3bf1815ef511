#include "check/codes.h"

#include <iterator>

namespace hivequarry {
namespace {

using enum CheckCode;
constexpr CheckLevel kF = CheckLevel::kFault;
constexpr CheckLevel kW = CheckLevel::kOdd;
constexpr CheckLevel kN = CheckLevel::kNote;

constexpr CheckCodeInfo kInfos[] = {
    {kH1, "H1", kF, "the file does not begin with \"regf\""},
    {kH2, "H2", kF, "checksum of the base block is wrong"},
    {kH3, "H3", kN, "sequence numbers differ: the hive is dirty"},
    {kH4, "H4", kF, "version that no system reads in this form"},
    {kH5, "H5", kF, "type of file is not that of a hive"},
    {kH6, "H6", kF, "format or clustering factor is not 1"},
    {kH7, "H7", kF, "size of the blocks is 0 or no multiple of 4096"},
    {kH8, "H8", kF, "file ends before its blocks do"},
    {kH9, "H9", kN, "bytes after the blocks"},
    {kH10, "H10", kN, "zeros after the blocks"},
    {kH11, "H11", kW, "length of the file is no multiple of 512"},
    {kH12, "H12", kW, "blocks go on after the size in the base block"},
    {kB1, "B1", kF, "no \"hbin\" where a block must begin"},
    {kB2, "B2", kF, "own offset of the block is wrong"},
    {kB3, "B3", kF, "size of the block is wrong"},
    {kC1, "C1", kF, "size of the cell is wrong"},
    {kC2, "C2", kW, "two free cells side by side"},
    {kR1, "R1", kF, "root offset leads to no key"},
    {kR2, "R2", kW, "root key has no root flag"},
    {kKx, "Kx", kF, "offset of a subkey leads to no cell"},
    {kKf, "Kf", kF, "offset of a subkey leads to a free cell"},
    {kK2, "K2", kF, "key is listed more than once"},
    {kK3, "K3", kF, "key record is too short"},
    {kK4, "K4", kF, "name goes on after the key's cell"},
    {kK5, "K5", kF, "key has no name"},
    {kK6, "K6", kF, "UTF-16 name has an odd length"},
    {kK7, "K7", kW, "flag of a key that is never in a file"},
    {kK8, "K8", kW, "root flag on a key that is no root"},
    {kK9, "K9", kF, "parent field is not the key that lists it"},
    {kK10, "K10", kF, "key is deeper than 512 levels"},
    {kK11, "K11", kF, "backslash in the key's name"},
    {kK12, "K12", kF, "key's name is longer than 255 characters"},
    {kK13, "K13", kW, "time of the key is 0 or after the year 9999"},
    {kK14, "K14", kN, "number of volatile subkeys is not 0"},
    {kK15, "K15", kF, "number of subkeys is not what the lists hold"},
    {kLx, "Lx", kF, "offset of a subkey list leads to no cell"},
    {kLf, "Lf", kF, "offset of a subkey list leads to a free cell"},
    {kL1, "L1", kF, "subkey list cannot be read"},
    {kL2, "L2", kF, "subkey list has an unknown signature"},
    {kL3, "L3", kF, "subkey list counts more entries than fit"},
    {kL4, "L4", kF, "subkey list has no entries"},
    {kL5, "L5", kF, "list of lists in a list of lists"},
    {kL6, "L6", kF, "\"lh\" list in a version that has none"},
    {kL7, "L7", kW, "subkey list of a key without subkeys"},
    {kL8, "L8", kF, "subkey cannot be read"},
    {kL9, "L9", kF, "entry of a subkey list leads to no key"},
    {kL10, "L10", kF, "two subkeys have one name"},
    {kL11, "L11", kF, "subkeys are not in the order of their names"},
    {kL12, "L12", kF, "hash in the list is not the name's"},
    {kL13, "L13", kW, "characters in the list are not the name's"},
    {kVx, "Vx", kF, "offset of a value or value list leads to no cell"},
    {kVf, "Vf", kF, "offset of a value or value list leads to a free cell"},
    {kV1, "V1", kF, "value list cannot be read"},
    {kV2, "V2", kF, "key counts more values than its list has room for"},
    {kV3, "V3", kF, "value cannot be read"},
    {kV4, "V4", kF, "entry of a value list leads to no value"},
    {kV5, "V5", kF, "name goes on after the value's cell"},
    {kV6, "V6", kW, "two values have one name"},
    {kV7, "V7", kW, "inline data of more than 4 bytes"},
    {kV13, "V13", kW, "data of 4 bytes or fewer in a cell of their own"},
    {kDx, "Dx", kF, "offset of data leads to no cell"},
    {kDf, "Df", kF, "offset of data leads to a free cell"},
    {kV8, "V8", kF, "data cannot be read"},
    {kV12, "V12", kF, "data are longer than their cell"},
    {kV9, "V9", kF, "long data are not in segments"},
    {kV10, "V10", kF, "number of segments does not fit the length of the data"},
    {kV11, "V11", kF, "segment of the data is missing"},
    {kNx, "Nx", kF, "offset of a class name leads to no cell"},
    {kN1, "N1", kF, "class name cannot be read whole"},
    {kN2, "N2", kW, "offset of a class name without a length"},
    {kS1, "S1", kF, "key has no security record"},
    {kSx, "Sx", kF, "offset of a security record leads to no cell"},
    {kS2, "S2", kF, "offset of a security record leads to another record"},
    {kS3, "S3", kF, "reference count is not the number of keys"},
    {kS4, "S4", kF, "security descriptor is not well-formed"},
    {kS5, "S5", kF, "ring of security records is broken"},
    {kS6, "S6", kF, "link back in the ring of security records is wrong"},
    {kS7, "S7", kF, "security record of a key is not in the ring"},
    {kS8, "S8", kF, "security record in the ring that no key uses"},
    {kM1, "M1", kW, "longest subkey name is longer than the key says"},
    {kM2, "M2", kW, "longest value name is longer than the key says"},
    {kM3, "M3", kW, "longest data are longer than the key says"},
    {kX1, "X1", kW, "allocated cell that nothing names"},
    {kX2, "X2", kF, "cell has two owners"},
    {kT1, "T1", kF, "tombstone key has a class, subkeys or values"},
    {kT2, "T2", kF, "subkey of a key that supersedes its tree does not"},
    {kT3, "T3", kF, "tombstone value has data"},
    {kT4, "T4", kF, "unused bits of the layer byte are set"},
    {kT5, "T5", kF, "layer bits in a hive that is not layered"},
};

constexpr bool InOrder() {
  for (size_t i = 0; i < std::size(kInfos); ++i) {
    if (static_cast<size_t>(kInfos[i].code) != i) return false;
  }
  return std::size(kInfos) == kCheckCodes;
}
static_assert(InOrder(), "the table has not every code in its place");

}  // namespace

const CheckCodeInfo& InfoOf(CheckCode code) { return kInfos[static_cast<size_t>(code)]; }

const char* LevelLetter(CheckLevel level) {
  if (level == CheckLevel::kFault) return "F";
  return level == CheckLevel::kOdd ? "W" : "N";
}

}  // namespace hivequarry
