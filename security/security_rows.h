// What the lists of security records share. Not for use outside this folder.
#pragma once

#include <cstdint>
#include <cstdio>
#include <span>
#include <string>
#include <string_view>

#include "lists/output_list.h"

namespace hivequarry {

inline std::string PositionText(uint32_t position) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%08X", position);
  return text;
}

inline void AddTexts(OutputList& list, std::span<const std::string_view> texts, uint32_t datum,
                     const RowFacts& facts = {}) {
  NewRow row;
  row.texts = texts;
  row.datum = datum;
  row.facts = facts;
  AddRow(list, row);
}

// Entries that one walk over many records reads at most. Sound ones take 16 bytes and more each and
// belong to one record alone; damaged records that lie over one another, or all name one list,
// would make a walk as long as the square of the image.
inline uint32_t AceBudget(uint32_t image_length) { return image_length / 8; }

}  // namespace hivequarry
