// Searching the live registry.

#include <array>
#include <span>

#include "hive/timestamp.h"
#include "host/host.h"
#include "live/live_keys.h"
#include "words/value_text.h"

namespace hivequarry {
namespace {

// A search under way.
struct LiveSearch {
  const SearchPattern& pattern;
  OutputList& list;
  LiveProgress progress;
};

// A number is searched for in data alone.
bool MatchesName(const SearchPattern& pattern, bool wanted, const std::string& name) {
  return wanted && !pattern.settings.dword && !name.empty() && MatchName(pattern, name);
}

bool MatchesValue(const SearchPattern& pattern, const SourceValue& value) {
  if (MatchesName(pattern, pattern.settings.value_names, value.name)) return true;
  return pattern.settings.value_data && value.read && MatchData(pattern, value.type, value.data);
}

// Null for a hit in the key's name. The columns are those of a search in a hive, with the date in
// the place of the position.
void AddHit(OutputList& list, const SourceKey& key, const SourceValue* value) {
  std::string name, data, type;
  int icon = 0;
  if (value != nullptr) {
    ValueKey shown;
    shown.status = ValueStatus::kRead;
    shown.type = value->type;
    shown.name = value->name;
    shown.name_length = value->name.empty() ? 0 : 1;
    shown.data_length = static_cast<uint32_t>(value->data.size());
    name = ValueDisplayName(shown);
    data = value->text;
    type = TypeName(value->type);
    icon = IconOfValue(shown);
  }
  const std::string date = FormatTimestamp(key.last_write, false);
  AddLiveRow(list, {key.path, name, data, type, {date, DateValue(key.last_write)}}, key, value,
             icon);
}

// Values are read only where their names or data are looked for, which is most of the time a search
// takes.
void SearchKey(LiveSearch& search, KeySource& keys, const SourceKey& key) {
  const SearchSettings& settings = search.pattern.settings;
  search.progress.Count(key.path, search.list);
  if (MatchesName(search.pattern, settings.key_names, key.name)) AddHit(search.list, key, nullptr);
  if (!settings.value_names && !settings.value_data) return;
  for (SourceValue value; keys.NextValue(value);) {
    if (MatchesValue(search.pattern, value)) AddHit(search.list, key, &value);
  }
}

}  // namespace

void SearchRegistry(uint32_t roots, const SearchPattern& pattern, OutputList& list) {
  LiveSearch search{pattern, list, {}};
  for (const std::string& path : PathsOfRoots(roots)) {
    const std::unique_ptr<KeySource> keys = KeysOfRegistry(path);
    for (SourceKey key; keys->NextKey(key);) {
      // As deep as in a hive, so that both find the same.
      if (key.level < kMaxSearchDepth) {
        SearchKey(search, *keys, key);
      } else {
        keys->SkipChildren();
      }
    }
  }
  ShowStatus("");
}

}  // namespace hivequarry
