// Lists of what was used last: an order beside the values, or in their names.
#pragma once

#include <string>
#include <vector>

#include "evidence/evidence_run.h"
#include "reports/report_run.h"

namespace hivequarry {

// The order that a key's "MRUListEx" and "MRUList" give.
// "MRUListEx" is a row of 32-bit numbers ended by 0xFFFFFFFF, "MRUList" a text of letters; the one
// used last comes first. Where a key has both, the first counts before the second.
MruOrder OrderOf(const std::vector<EvidenceValue>& values);
// By its name, whether it can be read or not.
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
// The entry in the file table of an NTFS volume, and how often that entry was used.
std::string FileReferenceText(uint64_t reference);

}  // namespace hivequarry
