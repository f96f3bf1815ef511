// Files and folders that a text names by path: commands with arguments, search paths, icon
// references, prose.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace hivequarry {

// The paths in a text, in order, at most 64 of them, each below 1040 characters and else ending in
// "...":
// - of a drive ("C:\..."), of a server ("\\server\share\..."), relative to a variable
//   ("%SystemRoot%\..."), to "\SystemRoot", to a device ("\Device\HarddiskVolume1\..."), and at the
//   text's beginning "System32\..." and "SysWOW64\...";
// - without what leads the system to them ("\??\", "\\?\", "@") or follows them: arguments, icon
//   numbers (",-12"), the function that rundll32 calls, quotation marks.
// A zero character ends a path, so that a multi-string may be given as it is stored.
// `left_out` (may be null) is the number of further paths.
std::vector<std::string> PathsInText(std::string_view text, uint64_t* left_out = nullptr);

}  // namespace hivequarry
