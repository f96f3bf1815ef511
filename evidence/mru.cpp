#include "evidence/mru.h"

#include <algorithm>

#include "host/case.h"

namespace hivequarry {

MruOrder OrderOf(const std::vector<EvidenceValue>& values) {
  MruOrder order;
  for (const char* name : {"MRUListEx", "MRUList"}) {
    const EvidenceValue* list = FindValue(values, name);
    if (list == nullptr || !list->read) continue;
    SourceValue value;
    value.name = list->name;
    value.type = list->type;
    value.data = list->data;
    value.read = true;
    ReadMruList(value, order);
  }
  return order;
}

bool IsOrderList(const EvidenceValue& value) {
  return EqualIgnoringCase(value.name, "MRUListEx") || EqualIgnoringCase(value.name, "MRUList");
}

void AddRank(EvidenceRun& run, EvidenceKey key, size_t rank, const EvidenceValue& value,
             EvidenceRow& row) {
  // A freed value is no entry of the order any more.
  if (rank == SIZE_MAX || value.freed) {
    row.Empty(2);
    return;
  }
  row.Number(rank + 1);
  row.Time(rank == 0 ? run.keys.LastWriteOf(key) : 0);
}

void AddOrder(EvidenceRun& run, EvidenceKey key, const MruOrder& order, const EvidenceValue& value,
              EvidenceRow& row) {
  AddRank(run, key, RankOf(order, value.name), value, row);
}

void SortByOrder(const MruOrder& order, std::vector<EvidenceValue>& values) {
  std::ranges::stable_sort(values, {}, [&](const EvidenceValue& value) {
    return value.freed ? SIZE_MAX : RankOf(order, value.name);
  });
}

bool IsDecimal(std::string_view text) {
  return !text.empty() && text.size() <= 9 &&
         text.find_first_not_of("0123456789") == std::string_view::npos;
}

std::string FileReferenceText(uint64_t reference) {
  if (reference == 0) return {};
  return std::to_string(reference & 0xFFFF'FFFF'FFFF) + "-" + std::to_string(reference >> 48);
}

}  // namespace hivequarry
