// What the base block of a hive and its logs say of its state, as texts of one row.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "hive/image.h"
#include "replay/replay_plan.h"

namespace hivequarry {

// What the base block says, of a replayed hive that of its file; none where there is no base block.
std::optional<PlanInput> BaseBlockState(const HiveImage& hive);

// Bytes that the file lacks at its end, by a base block whose checksum is right: 0 without one, and
// for a hive that is whole. A replayed hive is judged as its file is; its logs may have had some.
uint64_t MissingAtEnd(const HiveImage& hive);
// That in a sentence; empty for a hive that lacks none.
std::string MissingWords(const HiveImage& hive);

// Empty where there is no base block. Of a replayed hive the base block is that of its file.
struct HiveStateTexts {
  std::string dirty;           // "1" or "0"
  std::string dirty_why;       // what makes it so, in words
  std::string checksum_valid;  // "1" or "0"
  std::string sequence;        // "256/255"
  std::string last_written;    // ISO 8601
  std::string version;         // "1.5"
  std::string flags;           // "0x00000000"
  std::string stored_name;     // UTF-8
  std::string reorganised;     // ISO 8601, and what was done
  std::string replay;          // UTF-8, as the opening says it
  std::string logs;            // UTF-8, one after the other
  std::string sha256;          // of the hive's file, hexadecimal
  std::string logs_sha256;     // UTF-8
};
// With `hashes` the last two too, of the files as they are on disk now.
HiveStateTexts StateTextsOf(const HiveImage& hive, bool hashes);

// The state in a few words, for where room is short: "Dirty, logs applied". Never empty.
std::string StateWords(const HiveImage& hive);

// SHA-256 of the files in hexadecimal; empty for what is not known.
struct HiveHashes {
  std::string hive;
  std::vector<std::string> logs;  // in the order of HiveLogs::logs; may be shorter
};
// The lines that begin a report made of the hive: file, state, checksum, the hashes that are known,
// and of a stack (layer_stack.h) the hives below with their states. UTF-8, without line ends; none
// is longer than kLongestHeadLine characters.
inline constexpr size_t kLongestHeadLine = 500;
inline constexpr std::string_view kHeadFileLine = "File: ";
inline constexpr std::string_view kHeadHashLine = "SHA-256: ";  // of a log: its name comes after it
// In lists of several hives: what the keys of one begin with.
inline constexpr std::string_view kHeadRootLine = "Root: ";
std::vector<std::string> HiveHeadLines(const HiveImage& hive, const HiveHashes& hashes);

// SHA-256 of a file in hexadecimal; empty when it can't be read whole, or `stopped` says so.
std::string HashOfFile(const std::string& name, const std::function<bool()>& stopped);

}  // namespace hivequarry
