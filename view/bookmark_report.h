// A report of the bookmarks of the hives shown: what each leads to, where it is, why it is there,
// and the user's note and tags.
#pragma once

#include <cstdint>
#include <span>

#include "app/bookmarks.h"
#include "cases/html_report.h"
#include "view/bookmark_places.h"

namespace hivequarry {

// How many bytes of a value are told; what more there is is said.
inline constexpr uint32_t kMostReportedData = 65536;

// In the order of the bookmarks, each looked for in its hive (HiveOfBookmark; the first hive is
// preferred). Hashes, state and file of each hive come first; then keys, values and rows, or with
// `by_tag` what has each tag; then the values of the keys, with their bytes, and the bookmarks that
// no hive holds. Ends early when the user stops. There is at least one hive.
HtmlReport ReportBookmarks(std::span<const BookmarkedHive> hives,
                           std::span<const Bookmark> bookmarks, bool by_tag);

}  // namespace hivequarry
