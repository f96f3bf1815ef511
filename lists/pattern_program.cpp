// Regular expressions are read into a tree of parts first, as a part that is repeated is written
// several times; the parts then become steps.
#include "lists/pattern_program.h"

#include <algorithm>
#include <utility>

#include "host/case.h"
#include "host/number_text.h"
#include "host/text.h"

namespace hivequarry {
namespace {

// The last character there is; then what a pattern may ask for, since users type what nests and
// repeats: groups inside of groups, and how often a count may repeat.
constexpr uint32_t kLastCode = 0x10FFFF;
constexpr int kDeepestGroup = 50;
constexpr uint32_t kMostRepeats = 1000;
constexpr uint32_t kNoLimit = UINT32_MAX;
constexpr size_t kMostParts = 20'000;  // that are written, those of repeats each time

// --- sets of characters --------------------------------------------------------------------------

struct CodeRange {
  uint32_t first;
  uint32_t last;
};
using CodeSet = std::vector<CodeRange>;

// Ascending, without any that touch.
// So that HasCode and Others may search and walk it.
void Tidy(CodeSet& set) {
  std::ranges::sort(set, {}, &CodeRange::first);
  CodeSet tidy;
  for (const CodeRange& range : set) {
    if (!tidy.empty() && range.first <= tidy.back().last + 1) {
      tidy.back().last = std::max(tidy.back().last, range.last);
    } else {
      tidy.push_back(range);
    }
  }
  set = std::move(tidy);
}

bool HasCode(const CodeSet& tidy, uint32_t code) {
  const auto after = std::ranges::upper_bound(tidy, code, {}, &CodeRange::first);
  return after != tidy.begin() && code <= std::prev(after)->last;
}

// All characters that the set lacks, in order and without overlap.
CodeSet Others(CodeSet set) {
  Tidy(set);
  CodeSet others;
  uint32_t from = 0;
  for (const CodeRange& range : set) {
    if (range.first > from) others.push_back({from, range.first - 1});
    from = range.last + 1;
  }
  if (from <= kLastCode) others.push_back({from, kLastCode});
  return others;
}

// A unit and the one that it is compared as when letters are alike.
struct LetterPair {
  char16_t small;
  char16_t capital;
};

// Made once, of the 65,536 units of UTF-16: capitals are known for these alone.
const std::vector<LetterPair>& LetterPairs() {
  static const std::vector<LetterPair> pairs = [] {
    std::vector<LetterPair> made;
    for (uint32_t unit = 0; unit < 0x10000; ++unit) {
      const auto small = static_cast<char16_t>(unit);
      if (CapitalOf(small) != small) made.push_back({small, CapitalOf(small)});
    }
    return made;
  }();
  return pairs;
}

// Adds whatever has the same capital as a character of the set.
void AddOtherCase(CodeSet& set) {
  Tidy(set);
  CodeSet capitals = set;
  for (const LetterPair& pair : LetterPairs()) {
    if (HasCode(set, pair.small)) capitals.push_back({pair.capital, pair.capital});
  }
  Tidy(capitals);
  set = capitals;
  for (const LetterPair& pair : LetterPairs()) {
    if (HasCode(capitals, pair.capital)) set.push_back({pair.small, pair.small});
  }
  Tidy(set);
}

const CodeSet& Digits() {
  static const CodeSet set = {{'0', '9'}};
  return set;
}
// As whole words are told: whatever is beyond ASCII is a letter.
const CodeSet& WordCodes() {
  static const CodeSet set = {{'0', '9'}, {'A', 'Z'}, {'_', '_'}, {'a', 'z'}, {0x80, kLastCode}};
  return set;
}
const CodeSet& Blanks() {
  static const CodeSet set = {{'\t', '\r'},     {' ', ' '},       {0xA0, 0xA0},
                              {0x2000, 0x200A}, {0x2028, 0x2029}, {0x3000, 0x3000}};
  return set;
}

// --- parts ---------------------------------------------------------------------------------------

enum class PartKind : uint8_t { kSet, kAll, kOneOf, kRepeat, kPlace };

// A node of the tree; `parts` are numbers in Reader::parts.
//    kSet      one of the characters of `set`
//    kAll      its parts, one after another
//    kOneOf    one of its parts
//    kRepeat   its one part, `least` to `most` times
//    kPlace    no character: a condition of the place
struct Part {
  PartKind kind = PartKind::kAll;
  CodeSet set;
  std::vector<size_t> parts;  // one after another, or one of them; what is repeated
  uint32_t least = 0;
  uint32_t most = 0;
  PatternStep place = PatternStep::kAtStart;
};

// Reads a pattern's text into parts. After a fault nothing more is read.
struct Reader {
  std::string_view text;
  const PatternForm& form;
  size_t at = 0;
  std::vector<Part> parts;
  std::string fault;

  bool ended() const { return at >= text.size(); }
  bool failed() const { return !fault.empty(); }
};

// The first fault counts. Reading ends, as the rest of the text is passed.
size_t Fail(Reader& reader, std::string words) {
  if (!reader.failed()) reader.fault = std::move(words);
  reader.at = reader.text.size();
  return 0;
}

size_t AddPart(Reader& reader, Part part) {
  reader.parts.push_back(std::move(part));
  return reader.parts.size() - 1;
}

// Cases are added before the set is turned round, so that "[^a]" is neither of the two.
size_t AddSet(Reader& reader, CodeSet set, bool others = false) {
  if (!reader.form.match_case) AddOtherCase(set);
  if (others) set = Others(std::move(set));
  Tidy(set);
  Part part;
  part.kind = PartKind::kSet;
  part.set = std::move(set);
  return AddPart(reader, std::move(part));
}

size_t AddPlace(Reader& reader, PatternStep place) {
  Part part;
  part.kind = PartKind::kPlace;
  part.place = place;
  return AddPart(reader, std::move(part));
}

bool TakeIf(Reader& reader, char wanted) {
  if (reader.ended() || reader.text[reader.at] != wanted) return false;
  ++reader.at;
  return true;
}

uint32_t TakeCode(Reader& reader) {
  const Character character = CharacterAt(reader.text, reader.at);
  reader.at += character.length;
  return character.code;
}

int HexDigit(char digit) {
  if (digit >= '0' && digit <= '9') return digit - '0';
  const char capital = PlainCapital(digit);
  return capital >= 'A' && capital <= 'F' ? capital - 'A' + 10 : -1;
}

// The number of an "\xHH" or "\uHHHH".
uint32_t TakeNumber(Reader& reader, int digits) {
  uint32_t code = 0;
  for (int i = 0; i < digits; ++i) {
    const int digit = reader.ended() ? -1 : HexDigit(reader.text[reader.at]);
    if (digit < 0) {
      Fail(reader, "\\x wants two and \\u four hexadecimal digits after it.");
      return 0;
    }
    code = code * 16 + static_cast<uint32_t>(digit);
    ++reader.at;
  }
  return code;
}

// Where an escape stands for several characters.
bool SetOfEscape(char letter, CodeSet& set) {
  switch (letter) {
    case 'd':
      set = Digits();
      return true;
    case 'D':
      set = Others(Digits());
      return true;
    case 'w':
      set = WordCodes();
      return true;
    case 'W':
      set = Others(WordCodes());
      return true;
    case 's':
      set = Blanks();
      return true;
    case 'S':
      set = Others(Blanks());
      return true;
    default:
      return false;
  }
}

// The character that an escape stands for; the backslash was taken.
uint32_t TakeEscapedCode(Reader& reader) {
  const char letter = reader.text[reader.at];
  const bool word = HasCode(WordCodes(), static_cast<uint8_t>(letter)) && (letter & 0x80) == 0;
  if (!word) return TakeCode(reader);
  ++reader.at;
  constexpr std::string_view kLetters = "tnrfv0";
  constexpr std::string_view kCodes = std::string_view("\t\n\r\f\v\0", 6);
  const size_t named = kLetters.find(letter);
  if (named != kLetters.npos) return static_cast<uint8_t>(kCodes[named]);
  if (letter == 'x') return TakeNumber(reader, 2);
  if (letter == 'u') return TakeNumber(reader, 4);
  const bool digit = letter >= '1' && letter <= '9';
  Fail(reader, digit ? Concat({"What a group held (\\", std::string(1, letter),
                               ") can't be asked for: rows are found in one pass."})
                     : Concat({"\\", std::string(1, letter), " means nothing."}));
  return 0;
}

constexpr const char* kLoneBackslash = "The expression ends with a single \\.";

// After the backslash: a class ("\d"), an edge of words, or a character. Functions that read a part
// return its number.
size_t ReadEscape(Reader& reader) {
  if (reader.ended()) return Fail(reader, kLoneBackslash);
  const char letter = reader.text[reader.at];
  CodeSet set;
  if (SetOfEscape(letter, set)) {
    ++reader.at;
    return AddSet(reader, std::move(set));
  }
  if (letter == 'b' || letter == 'B') {
    ++reader.at;
    return AddPlace(reader, letter == 'b' ? PatternStep::kWordEdge : PatternStep::kNoWordEdge);
  }
  const uint32_t code = TakeEscapedCode(reader);
  return AddSet(reader, {{code, code}});
}

// One end of a range in brackets; false where an escape stood for a set, which was added.
bool TakeClassCode(Reader& reader, CodeSet& set, uint32_t& code) {
  if (!TakeIf(reader, '\\')) {
    code = TakeCode(reader);
    return true;
  }
  if (reader.ended()) {
    Fail(reader, kLoneBackslash);
    return false;
  }
  CodeSet escaped;
  if (SetOfEscape(reader.text[reader.at], escaped)) {
    ++reader.at;
    set.insert(set.end(), escaped.begin(), escaped.end());
    return false;
  }
  code = TakeEscapedCode(reader);
  return !reader.failed();
}

// One character, a range, or a class. A "-" before "]" or before a class is a character.
void ReadRange(Reader& reader, CodeSet& set) {
  uint32_t first = 0;
  if (!TakeClassCode(reader, set, first)) return;
  uint32_t last = first;
  const std::string_view rest = reader.text.substr(reader.at);
  if (rest.size() >= 2 && rest[0] == '-' && rest[1] != ']') {
    ++reader.at;
    if (!TakeClassCode(reader, set, last)) {
      set.push_back({first, first});
      set.push_back({'-', '-'});
      return;
    }
  }
  if (last < first) {
    Fail(reader, "A range in [ ] ends before it begins.");
    return;
  }
  set.push_back({first, last});
}

// The bracket was taken. A "]" right after it is one of the characters.
size_t ReadClass(Reader& reader) {
  const bool others = TakeIf(reader, '^');
  CodeSet set;
  bool first = true;
  while (!reader.ended() && (first || reader.text[reader.at] != ']')) {
    first = false;
    ReadRange(reader, set);
  }
  if (reader.failed()) return 0;
  if (!TakeIf(reader, ']')) return Fail(reader, "A [ has no ].");
  return AddSet(reader, std::move(set), others);
}

size_t ReadChoices(Reader& reader, int depth);

// After the "(". `depth` bounds the recursion, which the pattern drives.
size_t ReadGroup(Reader& reader, int depth) {
  if (depth >= kDeepestGroup) return Fail(reader, "Groups are nested too deep.");
  if (TakeIf(reader, '?') && !TakeIf(reader, ':')) {
    return Fail(reader, "Of groups that begin with (? only (?: is known.");
  }
  const size_t inside = ReadChoices(reader, depth + 1);
  if (!reader.failed() && !TakeIf(reader, ')')) return Fail(reader, "A ( has no ).");
  return inside;
}

size_t ReadOne(Reader& reader, int depth) {
  switch (reader.text[reader.at]) {
    case '.':
      ++reader.at;
      return AddSet(reader, {{0, kLastCode}});
    case '^':
      ++reader.at;
      return AddPlace(reader, PatternStep::kAtStart);
    case '$':
      ++reader.at;
      return AddPlace(reader, PatternStep::kAtEnd);
    case '[':
      ++reader.at;
      return ReadClass(reader);
    case '(':
      ++reader.at;
      return ReadGroup(reader, depth);
    case '\\':
      ++reader.at;
      return ReadEscape(reader);
    case '*':
    case '+':
    case '?':
      return Fail(reader, Concat({"Nothing is before the ", std::string(1, reader.text[reader.at]),
                                  " to be repeated."}));
    default: {
      const uint32_t code = TakeCode(reader);
      return AddSet(reader, {{code, code}});
    }
  }
}

// Numbers that are too large stay just above what is allowed, so that they cannot wrap to something
// small.
bool TakeDecimal(std::string_view text, size_t& at, uint32_t& number) {
  const size_t start = at;
  number = 0;
  for (; at < text.size() && text[at] >= '0' && text[at] <= '9'; ++at) {
    number = std::min(number * 10 + static_cast<uint32_t>(text[at] - '0'), kMostRepeats + 1);
  }
  return at > start;
}

// "{2}", "{2,}" or "{2,5}"; braces with anything else in them are themselves.
bool TakeCounts(Reader& reader, uint32_t& least, uint32_t& most) {
  const std::string_view text = reader.text;
  size_t at = reader.at;
  if (at >= text.size() || text[at] != '{') return false;
  ++at;
  if (!TakeDecimal(text, at, least)) return false;
  most = least;
  if (at < text.size() && text[at] == ',') {
    ++at;
    if (!TakeDecimal(text, at, most)) most = kNoLimit;
  }
  if (at >= text.size() || text[at] != '}') return false;
  reader.at = at + 1;
  return true;
}

bool TakeRepeat(Reader& reader, uint32_t& least, uint32_t& most) {
  if (TakeIf(reader, '*')) {
    least = 0;
    most = kNoLimit;
    return true;
  }
  if (TakeIf(reader, '+')) {
    least = 1;
    most = kNoLimit;
    return true;
  }
  if (TakeIf(reader, '?')) {
    least = 0;
    most = 1;
    return true;
  }
  return TakeCounts(reader, least, most);
}

size_t ReadRepeated(Reader& reader, int depth) {
  const size_t one = ReadOne(reader, depth);
  Part part;
  part.kind = PartKind::kRepeat;
  if (reader.failed() || !TakeRepeat(reader, part.least, part.most)) return one;
  TakeIf(reader, '?');  // fewest first: the same texts hold it
  // TakeDecimal stops counting just above.
  if (part.least > kMostRepeats || (part.most != kNoLimit && part.most > kMostRepeats)) {
    return Fail(reader, "A repeat is of at most 1000 times.");
  }
  if (part.most < part.least)
    return Fail(reader, "A repeat { } has its numbers the wrong way round.");
  part.parts = {one};
  const size_t repeated = AddPart(reader, std::move(part));
  uint32_t least = 0;
  if (TakeRepeat(reader, least, least)) return Fail(reader, "Two repeats follow each other.");
  return repeated;
}

// Up to the group's end or the text's: "a|b|" has an empty last choice, which holds everywhere.
size_t ReadChoices(Reader& reader, int depth) {
  Part choices;
  choices.kind = PartKind::kOneOf;
  Part all;
  while (!reader.ended() && reader.text[reader.at] != ')') {
    if (TakeIf(reader, '|')) {
      choices.parts.push_back(AddPart(reader, std::exchange(all, Part())));
      continue;
    }
    all.parts.push_back(ReadRepeated(reader, depth));
  }
  choices.parts.push_back(AddPart(reader, std::move(all)));
  return AddPart(reader, std::move(choices));
}

size_t ReadExpression(Reader& reader) {
  const size_t whole = ReadChoices(reader, 0);
  if (!reader.failed() && !reader.ended()) return Fail(reader, "A ) has no (.");
  return whole;
}

// The text itself, every character of it: for a search that is no pattern.
size_t ReadPlain(Reader& reader) {
  Part all;
  while (!reader.ended()) {
    const uint32_t code = TakeCode(reader);
    all.parts.push_back(AddSet(reader, {{code, code}}));
  }
  return AddPart(reader, std::move(all));
}

// --- steps ---------------------------------------------------------------------------------------

// `written` bounds the time that nested repeats take: (a{1000}){1000} would be a million parts.
struct Writer {
  const std::vector<Part>& parts;
  PatternProgram program;
  size_t written = 0;  // parts
  bool full = false;
};

uint16_t Here(const Writer& writer) { return static_cast<uint16_t>(writer.program.size()); }

// A step that goes on with the one after it.
size_t AddStep(Writer& writer, PatternStep kind) {
  writer.full = writer.full || writer.program.size() >= kMostSteps;
  if (writer.full) return writer.program.size() - 1;
  ProgramStep step;
  step.kind = kind;
  step.next = static_cast<uint16_t>(writer.program.size() + 1);
  step.other = step.next;
  writer.program.push_back(step);
  return writer.program.size() - 1;
}

// A step that takes one byte of [low, high].
void AddByte(Writer& writer, uint32_t low, uint32_t high) {
  ProgramStep& step = writer.program[AddStep(writer, PatternStep::kByte)];
  if (writer.full) return;
  step.low = static_cast<uint8_t>(low);
  step.high = static_cast<uint8_t>(high);
}

// The bytes of a run of characters whose encodings differ in ways that a range each says.
struct ByteRun {
  int length = 0;
  uint8_t low[4] = {};
  uint8_t high[4] = {};
};

int EncodedLength(uint32_t code) {
  return code < 0x80 ? 1 : code < 0x800 ? 2 : code < 0x10000 ? 3 : 4;
}

// The UTF-8 bytes of a code in `length` bytes, also of a lone surrogate.
void Encode(uint32_t code, int length, uint8_t* bytes) {
  constexpr uint8_t kFirst[] = {0, 0, 0xC0, 0xE0, 0xF0};
  for (int i = length - 1; i > 0; --i) {
    bytes[i] = static_cast<uint8_t>(0x80 | (code & 0x3F));
    code >>= 6;
  }
  bytes[0] = static_cast<uint8_t>(kFirst[length] | code);
}

// Cut where the encoding becomes longer, and where a byte would not be free over its whole range.
// Surrogates are left in: text here may have them, encoded as three bytes.
std::vector<ByteRun> RunsOf(const CodeSet& set) {
  constexpr uint32_t kLongest[] = {0x7F, 0x7FF, 0xFFFF};
  // A stack with the lowest range on top: runs come out in ascending order.
  std::vector<CodeRange> open(set.rbegin(), set.rend());
  std::vector<ByteRun> runs;
  const auto cut = [&open](const CodeRange& range, uint32_t end) {
    open.push_back({end + 1, range.last});
    open.push_back({range.first, end});
  };
  while (!open.empty()) {
    const CodeRange range = open.back();
    open.pop_back();
    const int length = EncodedLength(range.first);
    if (length < EncodedLength(range.last)) {
      cut(range, kLongest[length - 1]);
      continue;
    }
    bool whole = true;
    for (int i = 1; i < length && whole; ++i) {
      const uint32_t rest = (1U << (6 * i)) - 1;
      if ((range.first & ~rest) == (range.last & ~rest)) break;
      whole = (range.first & rest) == 0 && (range.last & rest) == rest;
      if ((range.first & rest) != 0) {
        cut(range, range.first | rest);
      } else if (!whole) {
        cut(range, (range.last & ~rest) - 1);
      }
    }
    if (!whole) continue;
    ByteRun run;
    run.length = length;
    Encode(range.first, length, run.low);
    Encode(range.last, length, run.high);
    runs.push_back(run);
  }
  return runs;
}

// Forks to each of them, and all meet after the last.
void WriteSet(Writer& writer, const CodeSet& set) {
  const std::vector<ByteRun> runs = RunsOf(set);
  if (runs.empty()) {
    AddByte(writer, 1, 0);  // no byte at all
    return;
  }
  std::vector<size_t> ends;
  for (size_t i = 0; i < runs.size() && !writer.full; ++i) {
    const bool more = i + 1 < runs.size();
    const size_t fork = more ? AddStep(writer, PatternStep::kFork) : 0;
    for (int byte = 0; byte < runs[i].length; ++byte) {
      AddByte(writer, runs[i].low[byte], runs[i].high[byte]);
    }
    ends.push_back(writer.program.size() - 1);
    if (more && !writer.full) writer.program[fork].other = Here(writer);
  }
  for (const size_t end : ends) writer.program[end].next = Here(writer);
}

void WritePart(Writer& writer, size_t number);

// A fork before each choice but the last leads to the next one; a step after each of these leads to
// where all end, which is known only then.
void WriteChoices(Writer& writer, const Part& part) {
  std::vector<size_t> ends;
  for (size_t i = 0; i < part.parts.size() && !writer.full; ++i) {
    const bool more = i + 1 < part.parts.size();
    const size_t fork = more ? AddStep(writer, PatternStep::kFork) : 0;
    WritePart(writer, part.parts[i]);
    if (!more || writer.full) continue;
    ends.push_back(AddStep(writer, PatternStep::kFork));
    writer.program[fork].other = Here(writer);
  }
  for (const size_t end : ends) {
    writer.program[end].next = Here(writer);
    writer.program[end].other = Here(writer);
  }
}

// Without a limit: a fork into the part, which leads back to the fork. With one: the part again and
// again, with a fork past the rest before each that may be left out.
void WriteRepeat(Writer& writer, const Part& part) {
  for (uint32_t i = 0; i < part.least && !writer.full; ++i) WritePart(writer, part.parts[0]);
  if (part.most == kNoLimit) {
    const size_t fork = AddStep(writer, PatternStep::kFork);
    WritePart(writer, part.parts[0]);
    const size_t back = AddStep(writer, PatternStep::kFork);
    if (writer.full) return;
    writer.program[back].next = static_cast<uint16_t>(fork);
    writer.program[back].other = static_cast<uint16_t>(fork);
    writer.program[fork].other = Here(writer);
    return;
  }
  std::vector<size_t> forks;
  for (uint32_t i = part.least; i < part.most && !writer.full; ++i) {
    forks.push_back(AddStep(writer, PatternStep::kFork));
    WritePart(writer, part.parts[0]);
  }
  for (const size_t fork : forks) writer.program[fork].other = Here(writer);
}

// Repeats are written as often as they say, so that a short pattern may make a long program: what
// is written is counted, and `full` ends it.
void WritePart(Writer& writer, size_t number) {
  if (++writer.written > kMostParts) writer.full = true;
  if (writer.full) return;
  const Part& part = writer.parts[number];
  switch (part.kind) {
    case PartKind::kSet:
      WriteSet(writer, part.set);
      return;
    case PartKind::kAll:
      for (const size_t inner : part.parts) WritePart(writer, inner);
      return;
    case PartKind::kOneOf:
      WriteChoices(writer, part);
      return;
    case PartKind::kRepeat:
      WriteRepeat(writer, part);
      return;
    case PartKind::kPlace:
      AddStep(writer, part.place);
      return;
  }
}

}  // namespace

PatternProgram MakeProgram(std::string_view text, const PatternForm& form, std::string& fault) {
  Reader reader{text, form, 0, {}, {}};
  const size_t whole = form.regular ? ReadExpression(reader) : ReadPlain(reader);
  fault = reader.fault;
  if (reader.failed()) return {};
  Writer writer{reader.parts, {}, 0, false};
  if (form.whole_words) AddStep(writer, PatternStep::kNoWordBefore);
  WritePart(writer, whole);
  if (form.whole_words) AddStep(writer, PatternStep::kNoWordAfter);
  AddStep(writer, PatternStep::kFound);
  // What has become of a program that is too large is worth nothing.
  if (!writer.full) return std::move(writer.program);
  fault = form.regular ? "The expression is too large." : "The text is too long.";
  return {};
}

}  // namespace hivequarry
