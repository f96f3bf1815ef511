#include "view/shown_text.h"

#include <algorithm>

#include "host/text.h"

namespace hivequarry {
namespace {

// A character of two units stays whole.
bool IsInside(const std::u16string& text, size_t at) {
  return at > 0 && at < text.size() && (text[at] & 0xFC00) == 0xDC00 &&
         (text[at - 1] & 0xFC00) == 0xD800;
}

}  // namespace

std::u16string ShownText(std::string_view shown) {
  std::u16string text = WideOfText(shown);
  std::replace(text.begin(), text.end(), u'\0', kZeroSymbol);
  return text;
}

std::u16string FitPath(const std::u16string& path, int room, std::span<const int> ends, int cut) {
  if (path.empty() || ends.back() <= room) return path;
  const auto to = [&](size_t units) { return units == 0 ? 0 : ends[units - 1]; };
  const auto start_end = std::ranges::upper_bound(ends, room / 3);
  auto start = static_cast<size_t>(start_end - ends.begin());
  if (IsInside(path, start)) --start;
  // From there on the rest is no wider than what the beginning and the cut leave.
  const int least = ends.back() - (room - to(start) - cut);
  const auto rest = std::ranges::lower_bound(ends.subspan(start), least);
  auto end = static_cast<size_t>(rest - ends.begin()) + 1;
  if (IsInside(path, end)) ++end;
  return end >= path.size() ? path : path.substr(0, start) + kPathCut + path.substr(end);
}

}  // namespace hivequarry
