// What the operation under way could not do in full: lists that were cut, data that were too much,
// ranges that could not be read. Whoever cuts something short notes it here; the front ends put it
// into words when the operation ends (app/shortfall_words.h), and the console's exit status is 1.
//
// A shortfall is of the program's reading: a bound that was hit. Damage that is shown as damage is
// none.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace hivequarry {

// Each needs its words in app/shortfall_words.cpp.
enum class Shortfall : uint8_t {
  kSubkeyLists,   // subkey lists that were not read to their end
  kValueLists,    // value lists that were not read to their end
  kValueData,     // values whose data were not read, as data shared by many had been read too often
  kFreedRecords,  // stretches of free space that were not searched whole
  kUnreadBytes,   // bytes of the file that could not be read
  kRows,          // rows that were not read or not made
  kScriptKeys,    // keys, with all below them, that a script cannot hold
  kLogEntries,    // entries of logs whose changes were taken together
  kScriptNames,   // keys and values of a script that become one with another
  kScriptTexts,   // names and texts of which a script could not hold all characters
  kCellTexts,     // texts for which a cell that joins several had no room, and does not say so
  kCount
};
inline constexpr size_t kShortfallKinds = static_cast<size_t>(Shortfall::kCount);

// Counts since the operation began; any thread may add to them.
struct Shortfalls {
  std::array<std::atomic<uint64_t>, kShortfallKinds> counts{};
};
inline constinit Shortfalls shortfalls_instance;
inline Shortfalls& TheShortfalls() { return shortfalls_instance; }

// From any thread; a count of 0 is no shortfall. In the background it is counted there
// (host/long_operation.h).
void NoteShortfall(Shortfall kind, uint64_t count = 1);
// Of the operation that began last, whether or not it has ended.
inline uint64_t ShortfallCount(Shortfall kind) {
  return TheShortfalls().counts[static_cast<size_t>(kind)].load(std::memory_order_relaxed);
}
// A list got no memory for a row; kept is the first cell of the first one.
void NoteRefusedRow(std::string_view first_cell);
// Nothing where no row was refused since the operation began.
std::optional<std::string> RefusedRow();
// All of it. BeginOperation does so.
void ForgetShortfalls();

}  // namespace hivequarry
