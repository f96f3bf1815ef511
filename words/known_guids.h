// GUIDs that Windows itself gives out, in words: folders, classes of the shell's name space, and
// properties of devices. Facts: the platform's public headers <KnownFolders.h> and <devpkey.h>, its
// documentation of the folders' default places, and what HKCR\CLSID of Windows XP to 11 calls the
// classes.
#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace hivequarry {

// Ordered by its groups, so that tables of them can be searched by halves.
struct Guid {
  uint32_t first = 0;
  uint16_t second = 0;
  uint16_t third = 0;
  std::array<uint8_t, 8> rest{};

  friend constexpr auto operator<=>(const Guid&, const Guid&) = default;
};
// As they are stored: the first three groups are little-endian numbers.
Guid GuidOfBytes(std::span<const uint8_t, 16> bytes);
// "{20D04FE0-3AEA-1069-A2D8-08002B30309D}", in either case, with or without the braces; nothing for
// any other text.
std::optional<Guid> ParseGuid(std::string_view text);
// In capitals and braces.
std::string GuidText(const Guid& guid);

// All of these are empty for a GUID that they do not know. The texts live as long as the program.

// What programs call the folder: "Desktop", "ProgramFilesX86", "System32".
std::string_view KnownFolderName(const Guid& guid);
// Where it lies unless somebody moved it, "%windir%\system32"; empty for folders that have no place
// in the file system.
std::string_view KnownFolderPlace(const Guid& guid);
// What users call a class of the shell's name space, or one of its libraries: "My Computer".
std::string_view ClassIdName(const Guid& guid);
// A property below a device's key "Properties\{GUID}\NNNN": "InstallDate". The number is the
// key's name, which is hexadecimal.
std::string_view DevicePropertyName(const Guid& guid, uint32_t number);

}  // namespace hivequarry
