#include "view/search_words.h"

#include <span>
#include <utility>

#include "host/number_text.h"
#include "reports/key_dates.h"

namespace hivequarry {
namespace {

using Choice = std::pair<bool, const char*>;

// The names of what is chosen, with `before` ahead of the first.
void AppendChosen(std::span<const Choice> choices, const char* before, std::string& words) {
  for (const auto& [chosen, name] : choices) {
    if (!chosen) continue;
    words += before;
    words += name;
    before = ", ";
  }
}

std::string PatternWords(const SearchSettings& settings) {
  if ((settings.hex_mode ? settings.hex : settings.text).empty()) return "anything";
  if (settings.hex_mode) return "bytes " + settings.hex;
  return Concat({settings.regular ? "regular expression \"" : "text \"", settings.text, "\""});
}

// " from A to B", " from A" or " up to B".
std::string RangeWords(const std::string& from, const std::string& to) {
  if (from.empty()) return " up to " + to;
  return Concat({" from ", from, to.empty() ? "" : " to ", to});
}

std::string TimeWords(uint64_t time, uint64_t none) {
  return time == none ? std::string() : KeyDateText(KeyDateTimeOf(time));
}

// Limits that let all pass are not said.
void AppendLimits(const SearchLimits& limits, std::string& words) {
  if (limits.sized()) {
    const std::string least = limits.least == 0 ? "" : std::to_string(limits.least);
    const std::string most = limits.most == UINT32_MAX ? "" : std::to_string(limits.most);
    words += Concat({"; bytes of data", RangeWords(least, most)});
  }
  if (limits.timed()) {
    words +=
        Concat({"; key written",
                RangeWords(TimeWords(limits.from, 0), TimeWords(limits.to, UINT64_MAX)), " (UTC)"});
  }
}

}  // namespace

std::string SearchWords(const SearchSettings& settings) {
  std::string words = PatternWords(settings);
  const Choice places[] = {{settings.key_names, "names of keys"},
                           {settings.value_names, "names of values"},
                           {settings.value_data, "data"}};
  AppendChosen(places, " in ", words);
  // What the kind of pattern leaves out of account is not said.
  const Choice choices[] = {{settings.match_case, "match case"},
                            {settings.match_length, "match length"},
                            {!settings.hex_mode && settings.whole_words, "whole words"},
                            {settings.hex_mode && settings.dword, "dword"},
                            {!settings.hex_mode && settings.wide, "wide"},
                            {settings.freed, "freed records too"}};
  AppendChosen(choices, "; ", words);
  AppendLimits(settings.limits, words);
  return words;
}

}  // namespace hivequarry
