// Opening a hive for a front end: the same words in the window and on the console.
#pragma once

#include <span>
#include <string>

#include "hive/bins.h"
#include "hive/opening.h"

namespace hivequarry {

// OpenHive, and a message of why it failed or of what could not be read; nothing is said of a stop.
// The slot, -1 when the hive could not be opened.
int OpenHiveAndTell(const std::string& file_name);

// ValidateHiveFile, and a message when the file is no hive or can't be read. False with the running
// operation stopped then.
bool ValidateAndTell(HiveImage& hive);

// The message "Block size error !" when a block of the walk gives itself two sizes.
void TellOfBlocks(std::span<const BinRow> rows);

}  // namespace hivequarry
