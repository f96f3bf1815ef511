// Lists of what was used last: an order beside the values, or in their names.
#pragma once

#include <string>
#include <vector>

#include "evidence/evidence_run.h"
#include "reports/report_run.h"

namespace hivequarry {

// The order that a key's "MRUListEx" and "MRUList" give.
MruOrder OrderOf(const std::vector<EvidenceValue>& values);
bool IsOrderList(const EvidenceValue& value);
// Adds the cells "Order" (1 for the value used last, empty for one that the order lacks) and "Last
// Used": the key's last write, which is the time of the first one alone.
void AddOrder(EvidenceRun& run, EvidenceKey key, const MruOrder& order, const EvidenceValue& value,
              EvidenceRow& row);
// The same by a rank that is known, 0 the first.
void AddRank(EvidenceRun& run, EvidenceKey key, size_t rank, const EvidenceValue& value,
             EvidenceRow& row);
// The values by their rank, those that the order lacks as they are listed.
void SortByOrder(const MruOrder& order, std::vector<EvidenceValue>& values);

// At most nine digits.
bool IsDecimal(std::string_view text);
// 48 bits and 16 bits of a file reference: "1234-5"; empty for 0.
std::string FileReferenceText(uint64_t reference);

}  // namespace hivequarry
