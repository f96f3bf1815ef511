// Documents opened last, and texts that were typed: commands, paths, words looked for, addresses.
#include <algorithm>
#include <unordered_map>

#include "evidence/decode.h"
#include "evidence/mru.h"
#include "host/case.h"
#include "reports/shell_items.h"

namespace hivequarry {
namespace {

// --- documents ----------------------------------------------------------------------------------

// "RecentDocs": a value of the key itself for each document, and one more below the subkey that is
// named by the document's ending. Both have an order of their own. The data are the document's name
// in UTF-16, a zero, then a list with the item of the link to it.
void AddDocuments(EvidenceRun& run, EvidenceKey key, const std::string& ending) {
  std::vector<EvidenceValue> values = run.keys.ValuesOf(key);
  const MruOrder order = OrderOf(values);
  SortByOrder(order, values);
  for (const EvidenceValue& value : values) {
    if (!IsDecimal(value.name)) continue;
    EvidenceRow row;
    std::string link;
    if (HasData(value, 2, row)) {
      const ByteView data = value.data;
      const size_t end = WideEnd(data);
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

// --- typed texts --------------------------------------------------------------------------------

// `numbered` is what names begin with whose order is the number after it, "" for names that are the
// number alone; null where an order list tells. `times` is a key beside it with a FILETIME under
// the same name for each.
struct TypedList {
  const char* word;
  const char* numbered;         // what names begin with that have their order in a number; or null
  const char* times = nullptr;  // the key beside it that has the time of each
};
// In the order of the decoder's patterns.
constexpr TypedList kTyped[] = {
    {"command", nullptr},
    {"path", "url"},
    {"word", nullptr},
    {"word", ""},  // of XP: three digits
    {"address", "url", "TypedURLsTime"},
    {"network drive", nullptr},
};

// The place in the order that the name tells, 0 the first; SIZE_MAX for a name of another form.
// Addresses and paths count from 1, words of the oldest form from 0.
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

// UTF-16 of whatever type the value is: words looked for are stored as binary data.
std::string TypedText(const EvidenceValue& value) {
  std::string text = WideText(value.data);
  // A command has a mark of how its window was to be shown.
  if (text.ends_with("\\1")) text.resize(text.size() - 2);
  return text;
}

// By the names of the list's values, in capitals.
std::unordered_map<std::string, uint64_t> TimesOf(EvidenceRun& run, EvidenceKey key,
                                                  const TypedList& list) {
  std::unordered_map<std::string, uint64_t> times;
  if (list.times == nullptr) return times;
  const EvidenceKey beside = run.keys.ChildNamed(run.keys.ParentOf(key), list.times);
  for (const EvidenceValue& time : run.keys.ValuesOf(beside)) {
    if (time.data.size() == 8) times.emplace(CapitalsOfText(time.name), LoadU64(time.data.data()));
  }
  return times;
}

void AddTyped(EvidenceRun& run, EvidenceKey key, const TypedList& list) {
  std::vector<EvidenceValue> values = run.keys.ValuesOf(key);
  const MruOrder order = OrderOf(values);
  const auto rank = [&](const EvidenceValue& value) {
    if (value.freed) return SIZE_MAX;
    return list.numbered != nullptr ? RankOfName(list, value.name) : RankOf(order, value.name);
  };
  std::ranges::stable_sort(values, {}, rank);
  const auto times = TimesOf(run, key, list);
  for (const EvidenceValue& value : values) {
    if (IsOrderList(value) || value.name.empty()) continue;
    EvidenceRow row;
    row.Text(list.word);
    row.Text(HasData(value, 1, row) ? TypedText(value) : std::string());
    AddRank(run, key, rank(value), value, row);
    const auto time = times.find(CapitalsOfText(value.name));
    row.Time(time == times.end() || value.freed ? 0 : time->second);
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
  for (const EvidencePlace& place : places) AddTyped(run, place.key, kTyped[place.pattern]);
}

}  // namespace hivequarry
