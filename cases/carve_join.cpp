// Pieces of one hive that are apart from each other in the file.

#include <algorithm>
#include <span>

#include "cases/carving.h"
#include "host/long_operation.h"
#include "records/base_block.h"
#include "records/cell.h"
#include "records/key_flags.h"
#include "records/key_node.h"
#include "records/name_hash.h"

namespace hivequarry {
namespace {

// Pieces that may come next which are looked at; more are too many to tell apart.
constexpr size_t kMostTried = 8;

// References that hold speak for a piece, those with something else at their targets against it.
// Two hashes or hints of names, or four parents, are enough; one in four may fail, as cells were
// written at different times.
struct Proof {
  uint32_t weight = 0;
  uint32_t against = 0;
  bool holds() const { return weight >= 4 && against * 4 <= weight; }
};

// Whether the piece has at the target what the reference says.
bool Holds(CarveSource& source, const HivePiece& piece, const KeyReference& reference) {
  const uint64_t position = piece.bins + (reference.target - piece.own);
  const ByteView cell = source.At(position, kKeyName + 2 * kMaxRawName);
  KeyFields key;
  if (!ReadKeyFields(cell, 0, key) || key.signature != kSignatureNk || !IsAllocated(key.size)) {
    return false;
  }
  if (reference.kind == KeyReference::kParent) return key.subkey_count != 0;
  if (!IsWideKeyName(key.flags)) {
    const ByteView name = PartOf(cell, kKeyName, key.name_length);
    return reference.check ==
           (reference.kind == KeyReference::kHash ? NameHash(name) : NameHint(name));
  }
  const std::u16string name = WideKeyName(cell, 0, key.name_length);
  return reference.check ==
         (reference.kind == KeyReference::kHash ? NameHash(name) : NameHint(name));
}

// References that lead into the piece's offsets, for it where they find a key that fits and against
// it where not. A hash or a hint weighs more than a parent field, which any key with subkeys
// satisfies.
void Weigh(CarveSource& source, const std::vector<KeyReference>& references, const HivePiece& piece,
           Proof& proof) {
  for (const KeyReference& reference : references) {
    if (reference.target < piece.own || reference.target >= piece.own_end()) continue;
    const uint32_t weight = reference.kind == KeyReference::kParent ? 1 : 2;
    (Holds(source, piece, reference) ? proof.weight : proof.against) += weight;
  }
}

// Pieces by where they begin and end, to find those that go on from each other.
struct Joining {
  CarveSource& source;
  const std::vector<HivePiece>& pieces;
  std::vector<uint32_t> by_own;  // numbers of pieces by own offset
  std::vector<uint32_t> by_end;  // and by where they end
  std::vector<uint32_t> by_start;
};

// A whole hive needs no other piece, and one inside of another is a copy in that one's data.
bool MayJoin(const HivePiece& piece) { return !piece.inside && !piece.complete(); }

// Reads cells of the pieces again: linear in the references kept of the chain's pieces and of the
// next.
bool Follows(const Joining& joining, std::span<const uint32_t> chain, uint32_t next) {
  const HivePiece& after = joining.pieces[next];
  Proof proof;
  for (const uint32_t number : chain) {
    const HivePiece& before = joining.pieces[number];
    Weigh(joining.source, before.forward, after, proof);
    Weigh(joining.source, after.backward, before, proof);
  }
  return proof.holds();
}

constexpr uint32_t kNobody = UINT32_MAX;

// Those of the sorted numbers for which the offset is the one asked for.
template <typename Offset>
std::span<const uint32_t> AtOffset(const std::vector<uint32_t>& numbers, uint32_t asked,
                                   const Offset& offset) {
  const auto first = std::ranges::lower_bound(numbers, asked, {}, offset);
  const auto last = std::ranges::upper_bound(numbers, asked, {}, offset);
  return {first, last};
}

// The one of the numbers that `proven` is true for; kNobody for none, several or too many.
template <typename Proven>
uint32_t OnlyOne(std::span<const uint32_t> numbers, const Proven& proven) {
  uint32_t only = kNobody;
  if (numbers.size() > kMostTried) return kNobody;
  for (const uint32_t number : numbers) {
    if (!proven(number)) continue;
    if (only != kNobody) return kNobody;
    only = number;
  }
  return only;
}

// The piece that goes on where the chain ends, and no other does, as no other piece ends there that
// it could follow as well.
uint32_t NextOf(const Joining& joining, const std::vector<uint32_t>& chain) {
  constexpr size_t kMostAsked = 16;  // of a long chain the last ones
  const auto& pieces = joining.pieces;
  const uint32_t last = chain.back();
  const uint32_t end = pieces[last].own_end();
  const auto own_of = [&pieces](uint32_t each) { return pieces[each].own; };
  const auto end_of = [&pieces](uint32_t each) { return pieces[each].own_end(); };
  const auto asked = std::span(chain).last(std::min(chain.size(), kMostAsked));
  const uint32_t next = OnlyOne(AtOffset(joining.by_own, end, own_of), [&](uint32_t each) {
    return each != last && Follows(joining, asked, each);
  });
  if (next == kNobody) return kNobody;
  const auto enders = AtOffset(joining.by_end, end, end_of);
  if (enders.size() > kMostTried) return kNobody;
  const bool others = std::ranges::any_of(enders, [&](uint32_t each) {
    return each != last && each != next && Follows(joining, std::span(&each, 1), next);
  });
  return others ? kNobody : next;
}

}  // namespace

std::vector<std::vector<uint32_t>> JoinPieces(CarveSource& source,
                                              const std::vector<HivePiece>& pieces) {
  Joining joining{source, pieces, {}, {}, {}};
  for (uint32_t i = 0; i < pieces.size(); ++i) {
    if (!MayJoin(pieces[i])) continue;
    if (pieces[i].own != 0) joining.by_own.push_back(i);
    joining.by_end.push_back(i);
  }
  joining.by_start = joining.by_end;
  std::ranges::stable_sort(joining.by_start, {}, [&](uint32_t i) { return pieces[i].own; });
  std::ranges::sort(joining.by_own, {}, [&](uint32_t i) { return pieces[i].own; });
  std::ranges::sort(joining.by_end, {}, [&](uint32_t i) { return pieces[i].own_end(); });
  std::vector<bool> taken(pieces.size());
  std::vector<std::vector<uint32_t>> chains;
  // From those with the first block on: what goes on one of them begins no chain.
  for (const uint32_t first : joining.by_start) {
    if (taken[first] || StopRequested()) continue;
    std::vector<uint32_t> chain = {first};
    // Own offsets rise from each to the next, so that it ends.
    for (uint32_t next = first; next != kNobody;) {
      taken[next] = true;
      next = NextOf(joining, chain);
      if (next != kNobody && taken[next]) next = kNobody;
      if (next != kNobody) chain.push_back(next);
    }
    if (chain.size() > 1) chains.push_back(std::move(chain));
  }
  return chains;
}

}  // namespace hivequarry
