// Keys and values of a hive as a registry script, the text file that the registry editors of
// Windows import, with "\r\n" line ends. There are two forms of it. "REGEDIT4" is single-byte text
// of the code page in force: what that lacks is "?" there, and is told. "Windows Registry Editor
// Version 5.00" is UTF-16 with a mark at the beginning and holds every text; string data that its
// quoted form could not give back byte for byte are hexadecimal.
//
// Importing a script must set in a registry what the hive's keys hold, and nothing else. The form
// has no escapes for key names, so a line end or a zero byte in one is written as '?', and a key
// whose path would not fit is left out rather than written under the key above it.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "hive/key_tree.h"
#include "lists/list_writers.h"

namespace hivequarry {

// "REGEDIT4", and "Windows Registry Editor Version 5.00".
enum class ScriptForm : uint8_t { kFour, kFive };
// How a form's file begins, as text.
std::string_view ScriptHead(ScriptForm form);
// Appends a piece of a script's text as the form's bytes.
// Pieces may end anywhere but within a character.
void EncodeScript(ScriptForm form, std::string_view text, std::string& bytes);
// The mark that comes before all others, empty for the single-byte form.
std::string_view ScriptMark(ScriptForm form);

inline constexpr char kScriptLineEnd[] = "\r\n";
// In place of what a line cannot hold: what the code page has for a character that it lacks, too.
inline constexpr char kUnwritable = '?';
inline constexpr size_t kMaxScriptName = 16383;  // characters of a value name
inline constexpr size_t kMaxScriptKeyName = 255;
inline constexpr size_t kMaxScriptPath = 1039;    // of a key's path, without the root's
inline constexpr uint32_t kMaxScriptDepth = 383;  // levels below the branch's first key

// Appends a value's line to `out`, as text. Name and data as ReadValueKey gives them. False, and
// nothing appended, for a name longer than kMaxScriptName. `lost` is set when the form holds the
// name or the data's text only with "?" in it.
bool FormatScriptValue(std::string_view name, uint32_t type, std::span<const uint8_t> data,
                       ScriptForm form, std::string& out, bool& lost);
// Appends a value's line with its data as bytes, whatever its type, in one piece. False as above.
bool FormatScriptBytes(std::string_view name, uint32_t type, std::span<const uint8_t> data,
                       std::string& out);
// Appends the line that makes an import delete the value of that name. False as above.
bool FormatScriptDeletion(std::string_view name, std::string& out);
// True for a name of a value that the form holds only with "?" in it: a line end has a form of its
// own there, a zero has none.
bool LosesValueName(ScriptForm form, std::string_view name);
// True for the name of a key that the form's lines hold as it is.
bool HoldsScriptName(ScriptForm form, std::string_view name);

// True when the hive has a root path for key lines to begin with. One that begins with '-' is none:
// such a line would make the importing program delete keys.
bool HasScriptRoot(const HiveImage& hive);
// That path, without a backslash at its end.
std::string ScriptRoot(const HiveImage& hive);

// A value by its record and the key that lists it.
struct SkippedValue {
  uint32_t item;      // of its key
  uint32_t position;  // image position
  bool operator==(const SkippedValue&) const = default;
};
// What became of an export. Lists are in the order in which keys were written.
struct ScriptExport {
  uint32_t keys = 0;                  // written
  uint32_t values = 0;                // written
  std::vector<SkippedValue> skipped;  // values that could not be read or written
  std::vector<uint32_t> left_out;     // keys that do not fit, with all below them
  // Keys and values, the latter with their positions, whose names are another's in the script: what
  // an import makes of the two is one.
  std::vector<SkippedValue> merged;
  // Keys and values, the latter with their positions, of whose names or texts the form has lost
  // characters.
  std::vector<SkippedValue> lossy;
  uint32_t recovered_left_out = 0;  // keys
  uint32_t tombstone_keys = 0;      // written as the export was asked to
  uint32_t tombstone_values = 0;    // likewise
  uint32_t superseding_keys = 0;    // written, with a comment line that says so
  bool refused = false;             // by the sink
};

// How much of a branch is exported.
enum class ScriptScope : uint8_t {
  kBranch,  // with all keys below
  kKey,     // the key and its values alone
};

// Keys that no list leads to, and made ones, in the branches of keys that are no such keys
// (IsRecovered). Under "Disconnected Keys", below a recovered key that was asked for, and among
// keys asked for one by one, they are written in any case.
enum class RecoveredKeys : uint8_t {
  kLeftOut,  // with all below them
  kWritten,  // with a comment line before each branch of them
};

// Keys and values that only hide others (hive/layers.h), in a hive that is shown without the one
// below it. They are never written as empty keys and values. Below a tombstone there are no keys.
enum class Tombstones : uint8_t {
  kComments,
  kDeletions,  // lines that make an import delete the key, or the value
};

// Writes the header and then, for each item in turn, its key or branch, keys before their children,
// as displayed: hidden keys are left out, edited values written as they are now.
// Keys under the virtual folders are written without the root's path, so that an import passes them
// over. Ends early when the user stops. Lists and data that many keys share are written within the
// bounds of a walk (hive/values.h); what is left out is noted as a shortfall.
ScriptExport ExportKeys(const HiveImage& hive, const KeyTree& tree, std::span<const uint32_t> items,
                        ScriptScope scope, const TextSink& sink,
                        RecoveredKeys recovered = RecoveredKeys::kLeftOut,
                        ScriptForm form = ScriptForm::kFour,
                        Tombstones tombstones = Tombstones::kComments);
inline ScriptExport ExportBranch(const HiveImage& hive, const KeyTree& tree, uint32_t item,
                                 const TextSink& sink,
                                 RecoveredKeys recovered = RecoveredKeys::kLeftOut,
                                 ScriptForm form = ScriptForm::kFour,
                                 Tombstones tombstones = Tombstones::kComments) {
  return ExportKeys(hive, tree, std::span(&item, 1), ScriptScope::kBranch, sink, recovered, form,
                    tombstones);
}

// The keys at these positions, and those that list the values at them, each once and in display
// order. Hidden ones are left out.
// Items. Costs a walk over all values where a position is no key's.
std::vector<uint32_t> KeysOfPositions(const HiveImage& hive, const KeyTree& tree,
                                      std::span<const uint32_t> positions);

// What a script lacks, a row each; null for one that lacks nothing. Datum: position of the value or
// key.
OutputListPtr ListScriptGaps(const HiveImage& hive, const KeyTree& tree,
                             const ScriptExport& written);

}  // namespace hivequarry
