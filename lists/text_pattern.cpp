#include "lists/text_pattern.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <unordered_map>
#include <utility>
#include <vector>

#include "lists/pattern_program.h"

namespace hivequarry {
namespace {

constexpr size_t kSymbols = 257;  // the bytes, and the text's end
// The symbol after the last byte of a text.
constexpr size_t kEnd = 256;
constexpr size_t kMostStates = 1000;  // then all are forgotten

// States that are no rows of the table.
constexpr int32_t kUnknown = -1;
constexpr int32_t kFoundState = -2;
constexpr int32_t kNotFound = -3;  // at the end

bool IsWordByte(size_t symbol) {
  if (symbol >= 0x80) return symbol != kEnd;
  const auto letter = symbol | 0x20;
  return (letter >= 'a' && letter <= 'z') || (symbol >= '0' && symbol <= '9') || symbol == '_';
}

}  // namespace

// Where the automaton can be: the steps that the last byte led to, and what was before.
struct PatternPlace {
  std::vector<uint16_t> steps;  // ascending, the first step always among them
  bool at_start = false;
  bool after_word = false;
};

struct TextPattern {
  PatternProgram program;
  bool looks_around = false;         // what is before and after a place matters somewhere
  std::vector<PatternPlace> places;  // by state
  std::vector<int32_t> next;         // by state and symbol
  std::unordered_map<std::string, int32_t> states;
  std::array<bool, 256> moves{};  // bytes that lead from the first state to another
  int32_t first = 0;              // the state at a text's start
  // While a state is made: the steps seen, by the number of the turn.
  std::vector<uint32_t> seen;
  uint32_t turn = 0;
  std::vector<uint16_t> open;
};

namespace {

// Two places are one state where the same steps are open and what was before the place matters
// alike.
std::string KeyOf(const PatternPlace& place) {
  std::string key(reinterpret_cast<const char*>(place.steps.data()),
                  place.steps.size() * sizeof(uint16_t));
  key += static_cast<char>((place.at_start ? 1 : 0) + (place.after_word ? 2 : 0));
  return key;
}

// Whether a step that takes no character holds between the byte before and `symbol`, the one after
// (kEnd at the end of the text).
bool Holds(PatternStep kind, const PatternPlace& place, size_t symbol) {
  const bool before = place.after_word;
  const bool after = IsWordByte(symbol);
  switch (kind) {
    case PatternStep::kAtStart:
      return place.at_start;
    case PatternStep::kAtEnd:
      return symbol == kEnd;
    case PatternStep::kWordEdge:
      return before != after;
    case PatternStep::kNoWordEdge:
      return before == after;
    case PatternStep::kNoWordBefore:
      return !before;
    case PatternStep::kNoWordAfter:
      return !after;
    default:
      return false;
  }
}

bool LooksAround(PatternStep kind) {
  return kind != PatternStep::kByte && kind != PatternStep::kFork && kind != PatternStep::kFound;
}

int32_t StateOf(TextPattern& pattern, PatternPlace place) {
  std::string key = KeyOf(place);
  const auto known = pattern.states.find(key);
  if (known != pattern.states.end()) return known->second;
  const auto state = static_cast<int32_t>(pattern.places.size());
  pattern.places.push_back(std::move(place));
  pattern.next.resize(pattern.places.size() * kSymbols, kUnknown);
  pattern.states.emplace(std::move(key), state);
  return state;
}

// Marks what can be reached without a byte, and puts what the symbol leads to into `to`. True when
// the pattern is found.
bool Follow(TextPattern& pattern, const PatternPlace& from, size_t symbol, PatternPlace& to) {
  ++pattern.turn;
  pattern.open.assign(from.steps.begin(), from.steps.end());
  while (!pattern.open.empty()) {
    const uint16_t number = pattern.open.back();
    pattern.open.pop_back();
    // Each step once a turn, so repeats of what may be empty end.
    if (std::exchange(pattern.seen[number], pattern.turn) == pattern.turn) continue;
    const ProgramStep& step = pattern.program[number];
    if (step.kind == PatternStep::kFound) return true;
    if (step.kind == PatternStep::kByte) {
      if (symbol >= step.low && symbol <= step.high) to.steps.push_back(step.next);
      continue;
    }
    if (LooksAround(step.kind) && !Holds(step.kind, from, symbol)) continue;
    pattern.open.push_back(step.next);
    if (step.kind == PatternStep::kFork) pattern.open.push_back(step.other);
  }
  return false;
}

// What a symbol leads to from a state; whoever asks again finds it in the table.
// The first step is among those of each state: a match may begin anywhere, so a text is read once.
int32_t MakeNext(TextPattern& pattern, int32_t state, size_t symbol) {
  PatternPlace to;
  const auto row = static_cast<size_t>(state);
  int32_t next = kNotFound;
  if (Follow(pattern, pattern.places[row], symbol, to)) {
    next = kFoundState;
  } else if (symbol != kEnd) {
    to.steps.push_back(0);
    std::ranges::sort(to.steps);
    to.steps.erase(std::unique(to.steps.begin(), to.steps.end()), to.steps.end());
    to.after_word = pattern.looks_around && IsWordByte(symbol);
    next = StateOf(pattern, std::move(to));
  }
  pattern.next[row * kSymbols + symbol] = next;
  return next;
}

// The state of a text's start alone, and what leads away from it.
void StartStates(TextPattern& pattern) {
  pattern.states.clear();
  pattern.places.clear();
  pattern.next.clear();
  PatternPlace start;
  start.steps = {0};
  start.at_start = pattern.looks_around;
  pattern.first = StateOf(pattern, std::move(start));
  for (size_t byte = 0; byte < pattern.moves.size(); ++byte) {
    pattern.moves[byte] = MakeNext(pattern, pattern.first, byte) != pattern.first;
  }
}

// The state stays what it was; its number may be another one afterwards.
// A pattern may have more states than memory: they are made as texts need them, and all thrown away
// when there are many.
int32_t ForgetStates(TextPattern& pattern, int32_t state) {
  PatternPlace place = std::move(pattern.places[static_cast<size_t>(state)]);
  StartStates(pattern);
  return StateOf(pattern, std::move(place));
}

}  // namespace

void TextPatternDeleter::operator()(TextPattern* pattern) const { delete pattern; }

TextPatternPtr MakeTextPattern(std::string_view text, const PatternForm& form, std::string& fault) {
  TextPatternPtr pattern(new TextPattern);
  pattern->program = MakeProgram(text, form, fault);
  if (!fault.empty()) return nullptr;
  pattern->looks_around = std::ranges::any_of(
      pattern->program, [](const ProgramStep& step) { return LooksAround(step.kind); });
  pattern->seen.resize(pattern->program.size());
  StartStates(*pattern);
  return pattern;
}

bool HoldsPattern(TextPattern& pattern, std::string_view text, const std::atomic<bool>* stop) {
  int32_t state = pattern.first;
  for (size_t at = 0; at <= text.size();) {
    if (state == pattern.first) {
      // Nothing of the pattern has begun: bytes that begin nothing are passed without the table.
      while (at < text.size() && !pattern.moves[static_cast<uint8_t>(text[at])]) ++at;
    }
    const size_t symbol = at < text.size() ? static_cast<uint8_t>(text[at]) : kEnd;
    int32_t next = pattern.next[static_cast<size_t>(state) * kSymbols + symbol];
    if (next == kUnknown) {
      if (stop != nullptr && stop->load(std::memory_order_relaxed)) return false;
      // Bounds the memory that a text can make a pattern take.
      if (pattern.places.size() >= kMostStates) state = ForgetStates(pattern, state);
      next = MakeNext(pattern, state, symbol);
    }
    if (next < 0) return next == kFoundState;
    state = next;
    ++at;
  }
  return false;
}

}  // namespace hivequarry
