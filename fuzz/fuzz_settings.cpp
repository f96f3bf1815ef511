// Any bytes as a settings file.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "app/settings.h"
#include "host/profile.h"

namespace {

using namespace hivequarry;

constexpr size_t kMostBytes = 16384;  // every key is looked up in all of them

void Demand(bool holds) {
  if (!holds) std::abort();
}

void CheckHistory(const History& history) {
  Demand(history.size() <= kHistoryLength);
  for (const std::string& text : history) {
    Demand(!text.empty() && std::ranges::count(history, text) == 1);
  }
}

void CheckPlace(const WindowPlace& place) {
  const bool built_in = place.left == 0 && place.top == 0 && place.right == 0 && place.bottom == 0;
  Demand(built_in || IsPlaced(place));
  Demand(place.columns.size() <= kPlaceColumns);
  for (const int width : place.columns) Demand(width >= 0 && width <= 10000);
}

// A key set in the text is read back, and every other one reads as before.
void CheckSetting(std::string text) {
  const std::string other = ProfileValue(text, "KAS", "DI", "missing", 99);
  SetProfileValue(text, "KAS", "KGP1", " 01'");
  Demand(ProfileValue(text, "KAS", "KGP1", "", 99) == " 01'");
  Demand(ProfileValue(text, "KAS", "DI", "missing", 99) == other);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size > kMostBytes) return 0;
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  Settings settings;
  ReadSettings([text](const char* section, const char* key, const char* missing,
                      size_t limit) { return ProfileValue(text, section, key, missing, limit); },
               settings);
  CheckHistory(settings.histories.search_texts);
  CheckHistory(settings.histories.sids);
  CheckHistory(settings.histories.recent_files);
  CheckPlace(settings.main);
  for (const WindowPlace& place : settings.places) CheckPlace(place);
  Demand(settings.range_start <= settings.range_end);
  CheckSetting(std::string(text));
  return 0;
}
