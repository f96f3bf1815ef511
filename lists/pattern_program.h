// What a pattern is made into: steps of an automaton over bytes. Not for use outside this folder.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "lists/text_pattern.h"

namespace hivequarry {

// What a step asks for, and where it leads.
enum class PatternStep : uint8_t {
  kByte,          // a byte from `low` to `high`, then `next`
  kFork,          // `next` and `other`
  kAtStart,       // the text's start, then `next`
  kAtEnd,         // its end
  kWordEdge,      // a word begins or ends here
  kNoWordEdge,    // neither
  kNoWordBefore,  // what is before it is of no word
  kNoWordAfter,   // nor what is after it
  kFound,
};

// Steps name each other by number; 16 bits are enough for kMostSteps.
struct ProgramStep {
  PatternStep kind = PatternStep::kFork;
  uint8_t low = 0;   // first byte of kByte
  uint8_t high = 0;  // last one, included
  uint16_t next = 0;
  uint16_t other = 0;  // of kFork alone: tried at the same place
};

inline constexpr size_t kMostSteps = 4000;

// It begins with its first step. Empty after a fault.
using PatternProgram = std::vector<ProgramStep>;
// Linear in the pattern but for counted repeats, whose steps are written out: a pattern of more
// than kMostSteps is a fault.
PatternProgram MakeProgram(std::string_view text, const PatternForm& form, std::string& fault);

}  // namespace hivequarry
