#include "view/search_words.h"

#include <utility>

namespace hivequarry {

std::string SearchWords(const SearchSettings& settings) {
  std::string words = settings.hex_mode ? "bytes " + settings.hex : "text \"" + settings.text + '"';
  const std::pair<bool, const char*> places[] = {{settings.key_names, "names of keys"},
                                                 {settings.value_names, "names of values"},
                                                 {settings.value_data, "data"}};
  const char* before = " in ";
  for (const auto& [chosen, name] : places) {
    if (!chosen) continue;
    words += before;
    words += name;
    before = ", ";
  }
  const std::pair<bool, const char*> choices[] = {{settings.match_case, "match case"},
                                                  {settings.match_length, "match length"},
                                                  {settings.hex_mode && settings.dword, "dword"},
                                                  {!settings.hex_mode && settings.wide, "wide"},
                                                  {settings.freed, "freed records too"}};
  before = "; ";
  for (const auto& [chosen, name] : choices) {
    if (!chosen) continue;
    words += before;
    words += name;
    before = ", ";
  }
  return words;
}

}  // namespace hivequarry
