// Words of menus that are made while the program runs.
#pragma once

#include <cstddef>
#include <string>

namespace hivequarry {

// The menu item of a hive opened before: its number from 1 on as the mnemonic, then its file name
// (UTF-8), of which a long one lacks its middle.
std::u16string RecentHiveText(size_t index, const std::string& file);

}  // namespace hivequarry
