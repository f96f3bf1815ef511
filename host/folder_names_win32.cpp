#include <windows.h>

#include "host/files.h"
#include "host/folder_names.h"
#include "host/text.h"

namespace hivequarry {

// The standard library's way ends at 260 characters.
std::vector<std::string> NamesInFolder(const std::string& folder) {
  std::u16string pattern = WideOfText(folder.empty() ? "." : folder);
  while (pattern.ends_with(u'\\') || pattern.ends_with(u'/')) pattern.pop_back();
  pattern = UnlimitedName(pattern + u"\\*");
  std::vector<std::string> names;
  WIN32_FIND_DATAW found{};
  const HANDLE search = FindFirstFileW(reinterpret_cast<const wchar_t*>(pattern.c_str()), &found);
  if (search == INVALID_HANDLE_VALUE) return names;
  do {
    const std::u16string_view name(reinterpret_cast<const char16_t*>(found.cFileName));
    if (name != u"." && name != u"..") names.push_back(TextOfWide(name));
  } while (FindNextFileW(search, &found) != FALSE);
  FindClose(search);
  return names;
}

}  // namespace hivequarry
