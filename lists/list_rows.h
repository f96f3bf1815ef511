// What lists about a hive put into their rows.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>

#include "hive/key_tree.h"
#include "hive/values.h"
#include "lists/output_list.h"

namespace hivequarry {

// A position as a column shows it: "0x%08X".
std::string PositionText(uint32_t position);
// The same of an image position, as the file counts (hive/file_place.h).
std::string PlaceText(const HiveImage& hive, uint32_t position);
// Of a position that an offset leads to, or one a few bytes after it: a word when that is nowhere.
std::string TargetText(const HiveImage& hive, uint32_t position);

// Adds a row about the record at `datum`; kNoOffset for a row about none.
void AddListRow(OutputList& list, std::span<const Cell> cells, uint32_t datum,
                const RowFacts& facts = {}, int icon = 0);
void AddListRow(OutputList& list, std::initializer_list<Cell> cells, uint32_t datum,
                const RowFacts& facts = {}, int icon = 0);

// A data view as rows: "Header" for the first line of a text with "\r\n" line ends, "Data" for each
// one after it.
void AddDataLines(OutputList& list, std::string_view text, uint32_t datum);
// "Meaning" rows of data whose type is a device property's or an app setting's; else none.
void AddMeaningLines(OutputList& list, uint32_t type, std::span<const uint8_t> data,
                     uint32_t datum);

// Bytes as a row's facts hold them: hexadecimal, without anything between them.
std::string BytesText(std::span<const uint8_t> bytes);

// Where a walk over keys is, said in the status line every so many keys: "PATH  KEYS/ROWS".
inline constexpr uint32_t kKeysPerStatus = 256;
// Callers ask every kKeysPerStatus keys: status lines cost more than keys.
void ShowWalk(const std::string& path, uint32_t keys, size_t rows);

// The name of a value as a row's facts have it: as stored, empty where it is displayed so. Valid as
// long as the value.
std::string_view StoredNameFact(const ValueKey& value);

// Time of a key's last write, FILETIME; 0 for a key without a cell of its own.
uint64_t LastWriteOf(const HiveImage& hive, const KeyTree& tree, uint32_t item);

}  // namespace hivequarry
