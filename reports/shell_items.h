// Item lists, the form in which the shell stores where a file or folder is: one item a step, from
// the desktop down. Any bytes may be given.
//
// An item is its size in two bytes, a byte that tells its kind, and what that kind needs. A list
// ends with a size of 0. Files and folders carry a short name, the time of their last change, and,
// since their names may be long, an extension with the long name and two times more.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace hivequarry {

// Times are packed DOS dates and times, UTC, as FormatDosTimestamp takes them; 0 for none.
struct ShellItem {
  std::string name;      // "{type 0x..}" for an item of no known kind
  std::string dos_name;  // the short name; may be empty
  uint32_t modified = 0;
  uint32_t created = 0;
  uint32_t accessed = 0;
  uint32_t size = 0;     // of a file
  bool is_file = false;  // not a folder; `size` holds then
  // Of the file or folder in its volume's table of files, as the extension keeps it: the number of
  // its entry in the low 48 bits, of that entry's use in the high ones; 0 for none.
  uint64_t file_reference = 0;
  uint16_t extension_version = 0;  // 0: no extension
  std::string guid;                // of a folder that has one, in braces
  const char* kind = "unknown";    // a word
};
// `item` is the whole item with its size field.
// Fields that the bytes lack are empty or 0.
ShellItem ReadShellItem(std::span<const uint8_t> item);

struct ItemList {
  std::string path;  // names with backslashes between
  ShellItem last;
  uint32_t count = 0;  // of items that were read
  // A size field leads beyond the bytes, or there are more items than the 256 that are read; the
  // path ends in "...".
  bool cut = false;
};
// `parent` is the path that the list goes on from, empty for one that begins at the desktop.
// Ends at a size of 0, at one that leads beyond the bytes, at the end of the bytes, and after 256
// items. Linear.
ItemList ReadItemList(std::span<const uint8_t> data, std::string_view parent = {});

// The path of an item below another; a drive or a server begins anew. One that becomes longer than
// the shell's own paths, 520 characters, keeps its last folders, after "...".
std::string JoinItemPath(std::string_view parent, std::string_view name);

// "{20D04FE0-3AEA-1069-A2D8-08002B30309D}" from the 16 bytes as they are stored.
std::string GuidText(std::span<const uint8_t, 16> guid);
// What users call a folder of the system, or its GUID in braces.
std::string FolderName(std::span<const uint8_t, 16> guid);

}  // namespace hivequarry
