// Documents opened last, and texts that were typed: commands, paths, words looked for, addresses.
#include <algorithm>

#include "evidence/decode.h"
#include "evidence/mru.h"
#include "host/case.h"
#include "reports/shell_items.h"

namespace hivequarry {
namespace {

// --- documents
// ------------------------------------------------------------------------------------

// Its name in UTF-16, a zero, then the item of the link to it.
void AddDocuments(EvidenceRun& run, EvidenceKey key, const std::string& ending) {
  std::vector<EvidenceValue> values = run.keys.ValuesOf(key);
  const MruOrder order = OrderOf(values);
  SortByOrder(order, values);
  for (const EvidenceValue& value : values) {
    if (!IsDecimal(value.name)) continue;
    EvidenceRow row;
    std::string link;
    if (HasData(value, 2, row)) {
      size_t end = 0;
      const ByteView data = value.data;
      while (end + 1 < data.size() && LoadU16(data.data() + end) != 0) end += 2;
      if (end + 2 < data.size()) {
        const ItemList list = ReadItemList(data.subspan(end + 2));
        link = list.path;
        if (list.cut) row.Note("an item leads beyond the data");
      }
      row.Text(WideText(data.first(end)));
    } else {
      row.Empty();
    }
    row.Text(link).Text(ending);
    AddOrder(run, key, order, value, row);
    AddEvidence(run, std::move(row), key, &value);
  }
}

// --- typed texts
// ----------------------------------------------------------------------------------

struct TypedList {
  const char* key;
  const char* word;
  const char* numbered;  // what names begin with that have their order in a number; null: none
};
constexpr TypedList kTyped[] = {
    {"RunMRU", "command", nullptr},
    {"TypedPaths", "path", "url"},
    {"WordWheelQuery", "word", nullptr},
    {"TypedURLs", "address", "url"},
    {"Map Network Drive MRU", "network drive", nullptr},
};
// Words looked for in XP: "ACMru\NUMBER", names being three digits.
constexpr TypedList kOldWords = {"", "word", ""};

const TypedList& ListOf(std::string_view name) {
  const auto* found = std::ranges::find_if(
      kTyped, [name](const TypedList& list) { return EqualIgnoringCase(list.key, name); });
  return found == std::end(kTyped) ? kOldWords : *found;
}

// The place in the order that the name tells, 0 the first. Addresses count from 1, words of the
// oldest form from 0.
size_t RankOfName(const TypedList& list, std::string_view name) {
  const std::string_view start = list.numbered;
  if (!StartsIgnoringCase(name, start)) return SIZE_MAX;
  name.remove_prefix(start.size());
  if (!IsDecimal(name)) return SIZE_MAX;
  size_t number = 0;
  for (const char digit : name) number = 10 * number + static_cast<size_t>(digit - '0');
  if (start.empty()) return number;
  return number == 0 ? SIZE_MAX : number - 1;
}

std::string TypedText(const EvidenceValue& value) {
  std::string text = WideText(value.data);
  // A command has a mark of how its window was to be shown.
  if (text.ends_with("\\1")) text.resize(text.size() - 2);
  return text;
}

void AddTyped(EvidenceRun& run, EvidenceKey key) {
  const TypedList& list = ListOf(run.keys.NameOf(key));
  std::vector<EvidenceValue> values = run.keys.ValuesOf(key);
  const MruOrder order = OrderOf(values);
  const auto rank = [&](const EvidenceValue& value) {
    if (value.freed) return SIZE_MAX;
    return list.numbered != nullptr ? RankOfName(list, value.name) : RankOf(order, value.name);
  };
  std::ranges::stable_sort(values, {}, rank);
  const EvidenceKey parent = run.keys.ParentOf(key);
  const EvidenceKey time_key = parent == kNoEvidenceKey || !EqualIgnoringCase(list.key, "TypedURLs")
                                   ? kNoEvidenceKey
                                   : run.keys.ChildNamed(parent, "TypedURLsTime");
  std::vector<EvidenceValue> times;
  if (time_key != kNoEvidenceKey) times = run.keys.ValuesOf(time_key);
  std::unordered_map<std::string, uint64_t> time_of;
  for (const EvidenceValue& time : times) {
    if (time.data.size() == 8) {
      time_of.emplace(CapitalsOfText(time.name), LoadU64(time.data.data()));
    }
  }
  for (const EvidenceValue& value : values) {
    if (IsOrderList(value) || value.name.empty()) continue;
    EvidenceRow row;
    row.Text(list.word);
    row.Text(HasData(value, 1, row) ? TypedText(value) : std::string());
    AddRank(run, key, rank(value), value, row);
    const auto time = time_of.find(CapitalsOfText(value.name));
    row.Time(time == time_of.end() || value.freed ? 0 : time->second);
    NoteTail(value, row);
    AddEvidence(run, std::move(row), key, &value);
  }
}

}  // namespace

void DecodeRecentDocs(EvidenceRun& run, Places places) {
  for (const EvidencePlace& place : places) {
    AddDocuments(run, place.key, {});
    for (const EvidenceKey ending : run.keys.ChildrenOf(place.key)) {
      AddDocuments(run, ending, run.keys.NameOf(ending));
    }
  }
}

void DecodeTypedTexts(EvidenceRun& run, Places places) {
  for (const EvidencePlace& place : places) AddTyped(run, place.key);
}

}  // namespace hivequarry
