#include "view/recent_text.h"

#include <algorithm>

#include "host/host.h"

namespace hivequarry {
namespace {

constexpr size_t kLongestPath = 60;  // of a menu item, in characters

// The middle of a long path is left out: its end says most. The first folder stays too, where that
// takes no more than a third; what comes out has kLongestPath characters.
std::u16string ShortPath(const std::u16string& path) {
  if (path.size() <= kLongestPath) return path;
  const size_t start = std::min(path.find(u'\\', 3), kLongestPath / 3);
  return path.substr(0, start + 1) + u"..." + path.substr(path.size() - (kLongestPath - start - 4));
}

}  // namespace

std::u16string RecentHiveText(size_t index, const std::string& file) {
  std::u16string text = ShortPath(WideOfText(file));
  for (size_t at = 0; (at = text.find(u'&', at)) != std::u16string::npos; at += 2) {
    text.insert(at, 1, u'&');  // shown as it is, no mnemonic
  }
  return u"&" + WideOfText(std::to_string(index + 1)) + u" " + text;
}

}  // namespace hivequarry
