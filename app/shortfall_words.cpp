#include "app/shortfall_words.h"

#include <array>

#include "host/shortfalls.h"

namespace hivequarry {
namespace {

// By Shortfall; each follows a number.
constexpr std::array<const char*, kShortfallKinds> kWords = {
    "subkey list(s) not read to the end",
    "value list(s) not read to the end",
    "value(s) whose data were not read",
    "stretch(es) of free space not searched whole",
    "byte(s) of the file could not be read",
    "row(s) left out",
    "key(s) left out of the script, with all below",
    "entries of logs whose changes are shown together",
    "key(s) or value(s) whose names become one with another's in the script",
    "name(s) and text(s) with \"?\" for characters that the script cannot hold",
    "text(s) that had no room in a cell which joins several"};

}  // namespace

std::string ShortfallWords() {
  std::string words;
  for (size_t kind = 0; kind < kShortfallKinds; ++kind) {
    const uint64_t count = ShortfallCount(static_cast<Shortfall>(kind));
    if (count == 0) continue;
    words += words.empty() ? "Cut short: " : "; ";
    words += std::to_string(count) + " " + kWords[kind];
  }
  return words;
}

}  // namespace hivequarry
