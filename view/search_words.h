// What a search asked for, in the words that the head of its list has.
#pragma once

#include <string>

#include "reports/search.h"

namespace hivequarry {

// All that narrows it: "text "Run" in names of keys, data; match case; bytes of data from 4".
std::string SearchWords(const SearchSettings& settings);

}  // namespace hivequarry
