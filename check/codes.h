// The faults that a check of a hive's structure knows, each with its code, level and words.
#pragma once

#include <cstdint>
#include <string_view>

namespace hivequarry {

enum class CheckLevel : uint8_t {
  kNote,   // normal in files that are copied from a running system
  kOdd,    // no system writes it, and any system reads it
  kFault,  // the system refuses or repairs it, or data are lost or misread
};
inline constexpr size_t kCheckLevels = 3;

// In the order in which a hive is read: base block, blocks, cells, root, keys, lists of subkeys,
// values, their data, class names, security records, high-water marks, what nobody names, layers.
enum class CheckCode : uint8_t {
  // Base block, and what is after the blocks.
  kH1,
  kH2,
  kH3,
  kH4,
  kH5,
  kH6,
  kH7,
  kH8,
  kH9,
  kH10,
  kH11,
  kH12,
  // Blocks ("hbin"), then their cells.
  kB1,
  kB2,
  kB3,
  kC1,
  kC2,
  // The root key.
  kR1,
  kR2,
  // Keys. Kx and Kf, and those that end alike further on, are about the offset that leads there: no
  // cell, or a free one.
  kKx,
  kKf,
  kK2,
  kK3,
  kK4,
  kK5,
  kK6,
  kK7,
  kK8,
  kK9,
  kK10,
  kK11,
  kK12,
  kK13,
  kK14,
  kK15,
  // Lists of subkeys.
  kLx,
  kLf,
  kL1,
  kL2,
  kL3,
  kL4,
  kL5,
  kL6,
  kL7,
  kL8,
  kL9,
  kL10,
  kL11,
  kL12,
  kL13,
  // Values and their lists.
  kVx,
  kVf,
  kV1,
  kV2,
  kV3,
  kV4,
  kV5,
  kV6,
  kV7,
  kV13,
  // Data of values.
  kDx,
  kDf,
  kV8,
  kV12,
  kV9,
  kV10,
  kV11,
  // Class names.
  kNx,
  kN1,
  kN2,
  // Security records.
  kS1,
  kSx,
  kS2,
  kS3,
  kS4,
  kS5,
  kS6,
  kS7,
  kS8,
  // High-water marks.
  kM1,
  kM2,
  kM3,
  // What nothing names, and what two name.
  kX1,
  kX2,
  // Layers.
  kT1,
  kT2,
  kT3,
  kT4,
  kT5,
  kCount
};
inline constexpr size_t kCheckCodes = static_cast<size_t>(CheckCode::kCount);

// Codes are printed in lists and go into files that others read: a name never gets another meaning.
struct CheckCodeInfo {
  CheckCode code;
  const char* name;  // "H2"
  CheckLevel level;  // as a rule; a finding has its own
  const char* text;
};
// For every code there is a record; it lives as long as the program.
const CheckCodeInfo& InfoOf(CheckCode code);

// "F", "W", "N".
const char* LevelLetter(CheckLevel level);

}  // namespace hivequarry
