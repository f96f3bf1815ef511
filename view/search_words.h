// What a search asked for, in the words that the head of its list has.
#pragma once

#include <string>

#include "reports/search.h"

namespace hivequarry {

// "text "Run" in names of keys and values, match case"
std::string SearchWords(const SearchSettings& settings);

}  // namespace hivequarry
