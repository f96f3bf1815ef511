// Any text as a command line.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "app/command_line.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view line(reinterpret_cast<const char*>(data), size);
  const hivequarry::CommandLine parsed = hivequarry::ParseCommandLine(line);
  const bool backup = !parsed.backup_hives.empty();
  if (parsed.file.size() > size || backup == parsed.backup_folder.empty()) std::abort();
  return 0;
}
