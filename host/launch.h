// Starting further copies of the program.
#pragma once

#include <cstdint>
#include <string>

#include "host/host.h"

namespace hivequarry {

// How the copy is to take its argument: the switch before it. kLaunchPlain has none; any other
// number gives "/C".
inline constexpr int kLaunchCopy = 0;
inline constexpr int kLaunchUser = 13;     // "/U"
inline constexpr int kLaunchReplace = 16;  // "/R"
inline constexpr int kLaunchSystem = 17;   // "/S"
inline constexpr int kLaunchPlain = 18;

// Starts a copy with `arguments` after the switch. Not waited for; false when the process could
// not be made, which is not reported.
bool LaunchSelf(const std::string& arguments, int mode);

// The arguments that make a copy open a range of a file (UTF-8 name): end after the last byte.
std::string RangeArguments(const std::string& file, uint32_t start, uint32_t end);

// The same, with the key at an image position of that range selected.
std::string KeyArguments(const std::string& file, uint32_t start, uint32_t end, uint32_t key);

}  // namespace hivequarry
