// Folders that have a GUID instead of a place.
#include "reports/shell_items.h"
#include "words/known_guids.h"

namespace hivequarry {

std::string GuidText(std::span<const uint8_t, 16> guid) { return GuidText(GuidOfBytes(guid)); }

std::string FolderName(std::span<const uint8_t, 16> guid) {
  const Guid folder = GuidOfBytes(guid);
  if (const std::string_view name = ClassIdName(folder); !name.empty()) return std::string(name);
  if (const std::string_view name = KnownFolderName(folder); !name.empty()) {
    return std::string(name);
  }
  return GuidText(folder);
}

}  // namespace hivequarry
