#include "reports/freed_script.h"

#include <algorithm>
#include <string>

#include "hive/keys.h"
#include "hive/timestamp.h"
#include "host/host.h"
#include "host/long_operation.h"
#include "host/shortfalls.h"
#include "host/text.h"
#include "lists/list_rows.h"
#include "words/value_text.h"

namespace hivequarry {
namespace {

// Bytes of UTF-8 that are gathered before the sink gets them.
constexpr size_t kFlushSize = 64 * 1024;

// Makes each line from `start` on a comment.
void CommentOut(std::string& out, size_t start) {
  std::string lines = "; ";
  for (const char c : std::string_view(out).substr(start)) {
    lines += c;
    if (c == '\n') lines += "; ";
  }
  if (lines.ends_with("\n; ")) lines.resize(lines.size() - 2);
  out.replace(start, std::string::npos, lines);
}

// By key: whether it or a freed key above it has a backslash in its name, which would part it.
std::vector<bool> FindParted(const HiveImage& hive, const FreedRecords& records) {
  std::vector<bool> parted(records.keys.size());
  std::vector<bool> known(records.keys.size());
  std::vector<uint32_t> way;
  for (uint32_t start = 0; start < parted.size(); ++start) {
    if (start % 256 == 0 && StopRequested()) break;
    uint32_t row = start;
    for (; row != kNoItem && !known[row]; row = records.keys[row].parent_row) {
      known[row] = true;
      way.push_back(row);
    }
    bool above = row != kNoItem && parted[row];
    for (; !way.empty(); way.pop_back()) {
      const std::string name = FreedKeyName(hive, records.keys[way.back()]);
      above = above || name.find('\\') != std::string::npos;
      parted[way.back()] = above;
    }
  }
  return parted;
}

// Values are sorted by their keys once; each key's are found by a search in them.
class FreedWriter {
 public:
  // Values of one key follow one another, so that each key has one section; within it in the order
  // of the choice.
  FreedWriter(FreedSource& from, const FreedChoice& choice, const TextSink& sink, ScriptForm form)
      : from_(from),
        sink_(sink),
        form_(form),
        values_(choice.values),
        parted_(FindParted(from.hive, from.records)) {
    const std::vector<FreedValue>& all = from.records.values;
    std::ranges::stable_sort(values_, {}, [&all](uint32_t row) { return all[row].key; });
  }

  // Chosen keys come in ascending order of position (their rows are), which the search in `written`
  // needs.
  FreedExport Write(const FreedChoice& choice) {
    bytes_ = ScriptMark(form_);
    out_ += ScriptHead(form_);
    out_ += "; Keys and values that were deleted, from the free space of a hive.\r\n";
    std::vector<uint32_t> written;  // positions of keys
    for (const uint32_t row : choice.keys) {
      if (Ended()) break;
      const FreedKey& key = from_.records.keys[row];
      written.push_back(key.position);
      WriteKey(key);
    }
    for (size_t at = 0; at < values_.size() && !Ended();) {
      const uint32_t key = from_.records.values[values_[at]].key;
      const bool done = std::ranges::binary_search(written, key);
      if (!done) WriteOtherKey(key);
      at += WriteValuesOf(key, !done);
    }
    Flush();
    return result_;
  }

 private:
  bool Ended() const { return result_.refused || StopRequested(); }

  void WriteKey(const FreedKey& key) {
    const uint64_t time = ReadU64(from_.hive, key.position + kKeyLastWrite);
    // UTC, in whatever zone dates are shown.
    const bool dated = !FormatTimestampChecked(time).empty();
    const std::string date = dated ? FormatCalendar(CalendarOfFileTime(time)) : std::string();
    Comment("Deleted key at " + PlaceText(from_.hive, key.position) + ", " + FreedPlaceWords(key) +
            ", last written " + date + " UTC");
    if (WriteKeyLine(key.position)) ++result_.keys;
    WriteValuesOf(key.position, true);
    if (out_.size() >= kFlushSize) Flush();
  }

  // Of a key in use, or of one that was not chosen or is not known.
  void WriteOtherKey(uint32_t key) {
    Comment(key == kNoOffset ? "Deleted values whose key is not known"
                             : "Deleted values of the key at " + PlaceText(from_.hive, key));
    WriteKeyLine(key);
  }

  // What a key line cannot hold is a comment, and so are its values.
  bool WriteKeyLine(uint32_t key) {
    const std::string line = "[" + ScriptPath(key) + "]";
    const std::string_view shown = FirstUnits(line, kMaxScriptPath);
    fits_ = shown.size() == line.size() && HoldsNames(key, line);
    const size_t start = out_.size();
    out_.append(shown).append(kScriptLineEnd);
    if (fits_) return true;
    ++result_.skipped;
    CommentOut(out_, start);
    Comment("Left out, as a script cannot hold its path");
    return false;
  }

  // Names keep all their characters, and have no backslash that would part them.
  bool HoldsNames(uint32_t key, std::string_view line) {
    if (!FreedPathTextsOf(from_, key).stored.empty() || !HoldsScriptName(form_, line)) return false;
    const uint32_t row = FreedKeyRow(from_.records, key);
    return row == kNoItem || !parted_[row];
  }

  // The tree's paths begin with its root's text. A script names the root in full, and nothing
  // before the folder of what is not connected, nor before what has no known parent.
  std::string ScriptPath(uint32_t key) {
    std::string path = key == kNoOffset ? "?" : from_.paths.PathOf(key);
    for (char& c : path) {
      if (c == '\r' || c == '\n' || c == '\0') c = '?';
    }
    const KeyTree& tree = from_.tree;
    const std::string root = ItemName(from_.hive, tree, 0);
    const uint32_t folder = tree.disconnected_keys;
    const bool apart = folder != kNoItem && IsFreedBelow(tree, from_.records, key, folder);
    if (path.starts_with("?") || !path.starts_with(root)) return path;
    path.erase(0, root.size());
    return apart ? path.substr(std::min<size_t>(1, path.size())) : ScriptRoot(from_.hive) + path;
  }

  // How many values the key has among the chosen ones.
  size_t WriteValuesOf(uint32_t key, bool write) {
    const std::vector<FreedValue>& all = from_.records.values;
    const auto key_of = [&all](uint32_t row) { return all[row].key; };
    const auto first = std::ranges::lower_bound(values_, key, {}, key_of);
    const auto end = std::ranges::upper_bound(values_, key, {}, key_of);
    for (auto row = first; row != end && write && !Ended(); ++row) WriteValue(all[*row]);
    if (write) out_ += kScriptLineEnd;
    return static_cast<size_t>(end - first);
  }

  // What is doubtful is written as comments: whoever imports the script gets what was deleted, and
  // nothing that may be another record's.
  void WriteValue(const FreedValue& freed) {
    const FreedContent content = ReadFreedContent(from_, freed, FreedData::kAll);
    const ValueKey& value = content.value;
    const std::string where = "Deleted value at " + PlaceText(from_.hive, freed.position) + ", " +
                              FreedPlaceText(from_.hive, from_.records, freed, content);
    if (value.status == ValueStatus::kReadBefore) {
      return Skip(where, "its data were written too often");
    }
    if (value.status != ValueStatus::kRead) return Skip(where, "its data are not there");
    Comment(where + (content.in_use ? ": what follows may be another record's" : ""));
    const size_t start = out_.size();
    bool lost = false;
    if (!FormatScriptValue(value.name, content.type, content.data, form_, out_, lost)) {
      return Skip(where, "its name is too long");
    }
    const bool named = HoldsScriptName(form_, value.name);
    if (lost || LosesValueName(form_, value.name)) NoteShortfall(Shortfall::kScriptTexts);
    if (content.in_use || !named || !fits_) CommentOut(out_, start);
    ++result_.values;
    result_.doubted += content.in_use;
    if (out_.size() >= kFlushSize) Flush();
  }

  void Skip(const std::string& where, const char* why) {
    ++result_.skipped;
    Comment(where + ": left out, as " + why);
  }

  void Comment(const std::string& text) { out_.append("; ").append(text).append(kScriptLineEnd); }

  void Flush() {
    EncodeScript(form_, out_, bytes_);
    if (!result_.refused && !bytes_.empty()) result_.refused = !sink_(bytes_);
    out_.clear();
    bytes_.clear();
  }

  FreedSource& from_;
  const TextSink& sink_;
  const ScriptForm form_;
  std::vector<uint32_t> values_;  // rows, by key
  std::vector<bool> parted_;      // by key
  FreedExport result_;
  std::string out_;    // text that is not yet written
  std::string bytes_;  // of it
  bool fits_ = true;   // the key line could be written
};

// A chosen freed key, or one below it.
// At most kDeepest levels up: freed keys may name each other in a circle.
std::vector<bool> WithThoseBelow(const FreedRecords& records, const std::vector<bool>& chosen) {
  constexpr uint32_t kDeepest = 512;
  std::vector<bool> all = chosen;
  for (size_t row = 0; row < chosen.size(); ++row) {
    if (row % 256 == 0 && StopRequested()) break;
    uint32_t above = records.keys[row].parent_row;
    for (uint32_t level = 0; above != kNoItem && level < kDeepest && !all[row]; ++level) {
      all[row] = chosen[above];
      above = records.keys[above].parent_row;
    }
  }
  return all;
}

}  // namespace

FreedChoice ChooseFreed(const FreedRecords& records, std::span<const uint32_t> positions,
                        FreedScope scope) {
  std::vector<bool> keys(records.keys.size());
  std::vector<bool> values(records.values.size());
  for (const uint32_t position : positions) {
    const uint32_t row = FreedKeyRow(records, position);
    const FreedValue* value = FreedValueAt(records, position);
    if (row != kNoItem) keys[row] = true;
    if (value != nullptr) values[static_cast<size_t>(value - records.values.data())] = true;
  }
  if (scope == FreedScope::kBranches) keys = WithThoseBelow(records, keys);
  FreedChoice choice;
  for (uint32_t row = 0; row < keys.size(); ++row) {
    if (keys[row]) choice.keys.push_back(row);
  }
  for (uint32_t row = 0; row < values.size(); ++row) {
    const uint32_t key = FreedKeyRow(records, records.values[row].key);
    if (values[row] || (key != kNoItem && keys[key])) choice.values.push_back(row);
  }
  return choice;
}

FreedChoice ChooseFreedBelow(const KeyTree& tree, const FreedRecords& records, uint32_t item) {
  FreedChoice choice;
  for (uint32_t row = 0; row < records.keys.size(); ++row) {
    if (IsFreedBelow(tree, records, records.keys[row].position, item)) choice.keys.push_back(row);
  }
  for (uint32_t row = 0; row < records.values.size(); ++row) {
    if (IsFreedBelow(tree, records, records.values[row].key, item)) choice.values.push_back(row);
  }
  return choice;
}

FreedExport ExportFreed(FreedSource& from, const FreedChoice& choice, const TextSink& sink,
                        ScriptForm form) {
  const WholeReading whole;
  ShowStatus("Exporting ...");
  FreedWriter writer(from, choice, sink, form);
  const FreedExport written = writer.Write(choice);
  ShowStatus("Done.");
  return written;
}

}  // namespace hivequarry
