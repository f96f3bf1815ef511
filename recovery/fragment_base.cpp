#include "recovery/fragment_base.h"

#include <algorithm>
#include <vector>

#include "hive/keys.h"
#include "records/cell.h"

namespace hivequarry {
namespace {

// A stretch without block headers is short; more cells than this are not paired with each other, so
// that the votes of one kind take at most 4 MB.
constexpr size_t kMostCells = 1024;
// A name that more keys of the fragment share ("Parameters") tells too little of where one of them
// is, and pairing them all would be quadratic.
constexpr ptrdiff_t kMostNamesakes = 32;
// Fewer agree by chance in a fragment of a few records.
constexpr uint32_t kEnoughVotes = 3;

// Offsets of one kind and the places that they may lead to, each once and ascending.
struct References {
  std::vector<uint32_t> offsets;  // as stored
  std::vector<uint32_t> targets;  // positions
};

// What has been proposed so far: each vote is a distance, position less offset, modulo 2^32.
struct Voting {
  std::vector<uint32_t> votes;  // a distance each
  std::vector<References> references;
  std::vector<uint32_t> keys;   // positions of key cells
  std::vector<uint32_t> lists;  // positions of list cells
};

void Unify(std::vector<uint32_t>& offsets) {
  std::sort(offsets.begin(), offsets.end());
  offsets.erase(std::unique(offsets.begin(), offsets.end()), offsets.end());
}

// Every offset may lead to every target.
void CountVotes(std::vector<uint32_t> offsets, const std::vector<uint32_t>& targets,
                Voting& voting) {
  std::erase_if(offsets, [](uint32_t o) { return o == kNoOffset || o % 8 != 0; });
  Unify(offsets);
  for (const uint32_t offset : offsets) {
    for (const uint32_t target : targets) voting.votes.push_back(target - offset);
  }
  voting.references.push_back({std::move(offsets), targets});
}

// Of the offsets that a distance leads into the fragment, at least three of four lead to a target.
bool IsConsistent(const HiveImage& hive, const Voting& voting, uint32_t distance) {
  uint32_t inside = 0;
  uint32_t hits = 0;
  for (const References& kind : voting.references) {
    for (const uint32_t offset : kind.offsets) {
      const uint32_t position = offset + distance;
      if (!InsideHive(hive, position, kKeyName)) continue;
      ++inside;
      hits += std::binary_search(kind.targets.begin(), kind.targets.end(), position);
    }
  }
  return hits * 4 >= inside * 3;
}

// The offsets that the keys have in one field, as stored. Of a key without subkeys the list field
// says nothing.
std::vector<uint32_t> FieldOf(const HiveImage& hive, const Voting& voting, uint32_t field) {
  std::vector<uint32_t> offsets;
  for (const uint32_t key : voting.keys) {
    const bool list = field == kKeySubkeyList;
    if (list && ReadU32(hive, key + kKeySubkeyCount) == 0) continue;
    offsets.push_back(ReadU32(hive, key + field));
  }
  return offsets;
}

// An entry leads to a key that has its hash.
void VoteByNames(const HiveImage& hive, const ScanTables& tables, Voting& voting) {
  std::vector<NameHashRow> by_hash(tables.name_hashes.begin(), tables.name_hashes.end());
  std::ranges::sort(by_hash, {}, &NameHashRow::hash);
  uint32_t budget = kMostCells;
  for (const uint32_t list : voting.lists) {
    std::vector<SubkeyEntry> entries;
    ReadSubkeyList(hive, list, budget, entries);
    for (const SubkeyEntry& entry : entries) {
      if (ListEntrySize(entry.kind) != 8) continue;
      const uint32_t hash = ReadU32(hive, entry.position + 4);
      const auto first = std::ranges::lower_bound(by_hash, hash, {}, &NameHashRow::hash);
      const auto end = std::ranges::upper_bound(by_hash, hash, {}, &NameHashRow::hash);
      if (end - first > kMostNamesakes) continue;
      const uint32_t offset = ReadU32(hive, entry.position);
      for (auto row = first; row != end; ++row) {
        voting.votes.insert(voting.votes.end(), 2, row->position - offset);
      }
    }
  }
}

// The distance with the most votes, if they are enough and no other has as many.
bool MostVoted(std::vector<uint32_t>& votes, uint32_t& winner) {
  std::sort(votes.begin(), votes.end());
  ptrdiff_t most = 0;
  ptrdiff_t second = 0;
  for (auto first = votes.begin(); first != votes.end();) {
    const auto last = std::upper_bound(first, votes.end(), *first);
    const ptrdiff_t count = last - first;
    if (count > most) winner = *first;
    second = std::max(second, std::min(count, most));
    most = std::max(most, count);
    first = last;
  }
  return most >= kEnoughVotes && second < most;
}

}  // namespace

bool FindFragmentBase(HiveImage& hive, const ScanTables& tables) {
  Voting voting;
  for (const KeyRow& key : tables.keys) voting.keys.push_back(key.position);
  voting.lists = tables.lists;
  std::vector<uint32_t> securities = tables.securities;
  for (auto* cells : {&voting.keys, &voting.lists, &securities}) {
    cells->resize(std::min(cells->size(), kMostCells));
  }
  CountVotes(FieldOf(hive, voting, kKeyParent), voting.keys, voting);
  CountVotes(FieldOf(hive, voting, kKeySubkeyList), voting.lists, voting);
  CountVotes(FieldOf(hive, voting, kKeySecurity), securities, voting);
  VoteByNames(hive, tables, voting);

  uint32_t best = 0;
  if (!MostVoted(voting.votes, best) || !IsConsistent(hive, voting, best)) return false;
  hive.data_base = best;
  hive.data_base_proven = true;
  return true;
}

}  // namespace hivequarry
