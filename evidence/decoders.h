// Decoders of evidence: each knows where a kind of evidence is in a hive, and what its bytes mean,
// in all forms that systems have written. Live, recovered and freed keys and values are decoded,
// and those that the hive's logs removed or wrote over.
#pragma once

#include <span>
#include <string_view>

#include "evidence/decoder_table.h"
#include "evidence/evidence_source.h"
#include "hive/image.h"
#include "hive/key_tree.h"
#include "lists/output_list.h"

namespace hivequarry {

// In the order of the menus; `decoder` of RunDecoder must be one of these.
std::span<const DecoderInfo> Decoders();
// By console name; null for none.
const DecoderInfo* FindDecoder(std::string_view name);

// Adds a row for each entry at or below `item` to a list of the decoder's kind; a row's datum is
// the position of its key or value. False, with a word in the status line, when there are none.
// Ends early when the user stops.
// With the whole tree (`item` 0) also what no key names, and what the logs removed or wrote over.
// Any one thread at a time.
bool RunDecoder(const DecoderInfo& decoder, EvidenceSource& source, uint32_t item,
                OutputList& list);
// The same of one decoder by itself: a source is made for it.
bool RunDecoder(const DecoderInfo& decoder, const HiveImage& hive, const KeyTree& tree,
                uint32_t item, OutputList& list);
inline constexpr const char* kNoEvidence = "The hive holds none of this evidence here.";

}  // namespace hivequarry
