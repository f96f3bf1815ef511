// A report of the bookmarked keys of the hive shown: what each holds, where it is, why it is there,
// and the user's note.
#pragma once

#include <span>

#include "app/bookmarks.h"
#include "cases/html_report.h"
#include "hive/image.h"
#include "hive/key_tree.h"
#include "reports/hive_state.h"

namespace hivequarry {

// In the order of the bookmarks. Hashes, state and file of the hive come first; then the keys,
// their values with all of their bytes up to kMostReportedData, and the bookmarks whose key the
// hive does not hold. Ends early when the user stops.
inline constexpr uint32_t kMostReportedData =
    65536;  // bytes of a value; what more there is is said
HtmlReport ReportBookmarks(const HiveImage& hive, const KeyTree& tree,
                           std::span<const Bookmark> bookmarks, const HiveHashes& hashes);

}  // namespace hivequarry
