// Opening a hive file: finds where the hive begins, reads it into memory, closes the file, and sets
// flags and bounds. Nothing is shown to the user; what went wrong is a value.
#pragma once

#include <string>

#include "hive/hive_table.h"

namespace hivequarry {

// Why a file was not opened, for whoever tells the user.
enum class OpenFault : uint8_t {
  kNone,
  kTableFull,   // all slots are taken
  kCannotOpen,  // `error` says why
  kNoMemory,    // or the hive is longer than positions reach
  kStopped,     // by the user
  kNoHive,      // the strict check
};
struct OpenFailure {
  OpenFault fault = OpenFault::kNone;
  int error = 0;  // errno value
};

// The slot, -1 when `failure` says why there is none. What could not be read of the file, and is
// zeros, is in the hive's `unread`. Runs on any one thread at a time.
// `file_name` is UTF-8. Reads what the table says is to be opened (range, logs) and clears that
// again, whether it succeeds or not; makes the slot the current one. The file is closed when this
// returns, and its name is kept as one that no output may be written to until the slot is freed.
int OpenHive(const std::string& file_name, OpenFailure& failure);
// For callers to whom all reasons are the same.
int OpenHive(const std::string& file_name);

// The strict check, for an image in which nothing at all was found, so that its user learns why:
// the first four bytes of its file, which is opened for that once more, must be "regf" or "snap",
// else false and kNoHive. Sets last_valid and root_position from the file's own size and header.
bool ValidateHiveFile(HiveImage& hive, OpenFailure& failure);

}  // namespace hivequarry
