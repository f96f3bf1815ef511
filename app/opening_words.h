// Opening a hive for a front end: the same words in the window and on the console.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "hive/bins.h"
#include "hive/opening.h"
#include "host/file_reading.h"
#include "replay/hive_log.h"

namespace hivequarry {

// OpenHive, and a message of why it failed or of what could not be read; nothing is said of a stop.
// The slot, -1 when the hive could not be opened, as a log can't.
int OpenHiveAndTell(const std::string& file_name);

// Notes the shortfall and shows a message with the file's name (UTF-8) and the ranges that could
// not be read. Nothing when all could.
void TellOfUnread(const std::string& file, const UnreadBytes& unread);

// For BuildOptions::on_cut: asks whether to open the other hive in a new copy of the program.
void OfferOtherHive(const HiveImage& hive, uint32_t root_position);
// Opens the hive of the root cell at an image position in a new copy of the program: the range that
// RangeStartForRoot gives, up to the end of the file.
void OpenRootInCopy(const HiveImage& hive, uint32_t root_position);

// True for a file that is no hive but a log of one, by its content; `log` has it then.
bool IsLogFile(const std::string& file_name, HiveLog& log);
// "... is a transaction log of FILE, entries N..M": with the file name that it has for its hive.
std::string LogFileWords(const HiveLog& log);

// ValidateHiveFile, and a message when the file is no hive or can't be read. False with the running
// operation stopped then.
bool ValidateAndTell(HiveImage& hive);

// What the user must be told of the hive's logs, UTF-8 (replay/log_words.h); empty where there is
// nothing to say.
std::string LogsWords(const HiveImage& hive);
// True for a dirty hive whose last changes are missing although the user did not leave them out.
bool LacksLogs(const HiveImage& hive);

// The message "Block size error !" when a block of the walk gives itself two sizes.
void TellOfBlocks(std::span<const BinRow> rows);

}  // namespace hivequarry
