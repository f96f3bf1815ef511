#include "recovery/freed_shifts.h"

#include <algorithm>
#include <array>
#include <span>
#include <utility>

#include "hive/keys.h"
#include "hive/position_index.h"
#include "host/long_operation.h"
#include "records/cell.h"
#include "recovery/high_marks.h"

namespace hivequarry {
namespace {

constexpr uint32_t kReach = 64;            // pages that a list or parent may be away
constexpr uint32_t kFineReach = 8192;      // bytes likewise, with distances of any size
constexpr uint32_t kFineNeighbours = 8;    // keys on each side whose parents are tried as well
constexpr size_t kMostVotes = 16;          // of one key
constexpr uint32_t kEntriesTried = 64;     // of one list
constexpr uint32_t kGap = 16 * kPageSize;  // between two keys of a run
constexpr uint32_t kKeysBetween = 12;      // that do not speak for it
constexpr uint32_t kLeastVotes = 3;
constexpr uint32_t kNoCluster = 0xFFFFFFFF;

// What one offset of a freed key says of how far its bytes have moved since.
struct ShiftVote {
  uint32_t shift = 0;
  uint32_t parent = kNoOffset;  // the parent field that speaks; kNoOffset: the value list does
};

// Keys near one another that speak for one shift.
struct Cluster {
  uint32_t shift = 0;
  uint32_t weight = 0;  // WeightOf its votes
};

// A vote with the number of the key that gave it; in the order of shifts, then of keys.
struct Placed {
  uint32_t shift;
  uint32_t key;
  uint32_t parent;
};

// Votes are gathered for whole pages first, as systems move pages whole; only keys that are left
// then are tried at every 8 bytes, which costs more and proves less.
class ShiftFinder {
 public:
  // `led` says of each freed key whether its offsets lead somewhere as they are. Keys are sorted by
  // their place in a page besides: a page that was moved keeps those.
  ShiftFinder(const HiveImage& hive, const FreedRecords& records, const std::vector<bool>& led)
      : hive_(hive), keys_(records.keys), led_(led) {
    ResetIndex(key_index_, hive.length);
    ResetIndex(value_index_, hive.length);
    for (const FreedKey& key : keys_) InsertPosition(key_index_, key.position);
    for (const FreedValue& value : records.values) InsertPosition(value_index_, value.position);
    votes_.resize(keys_.size());
    clusters_.resize(keys_.size(), kNoCluster);
    for (uint32_t key = 0; key < keys_.size(); ++key) {
      by_place_in_page_[keys_[key].position % kPageSize / kCellStep].push_back(key);
    }
  }

  std::vector<ShiftRun> Find() {
    Propose(&ShiftFinder::ProposeByPages);
    Choose();
    Propose(&ShiftFinder::ProposeBySteps);
    Choose();
    LabelKeys();
    JoinNeighbours();
    return MakeRuns();
  }

 private:
  using Proposal = void (ShiftFinder::*)(uint32_t key);

  // --- what a key speaks for ---

  uint32_t PositionOf(uint32_t key) const { return keys_[key].position; }
  // Where the key's list and parent would be if its offsets were those of this image.
  uint32_t Nominal(uint32_t key, uint32_t field) const {
    const uint32_t offset = ReadU32(hive_, PositionOf(key) + field);
    return offset == kNoOffset ? kNoOffset : offset + hive_.data_base;
  }

  // All of the entries that are tried must lead to freed values: of a list of two that is little,
  // which is why three witnesses are asked for.
  bool ListHolds(uint32_t list, uint32_t count, uint32_t shift) const {
    const uint32_t tried = std::min(count, kEntriesTried);
    if (!InsideHive(hive_, list, 4 + 4 * tried)) return false;
    for (uint32_t i = 0; i < tried; ++i) {
      const uint32_t value = ReadU32(hive_, list + 4 + 4 * i) + hive_.data_base - shift;
      if (!ContainsPosition(value_index_, value)) return false;
    }
    return true;
  }

  bool ParentHolds(uint32_t key, uint32_t parent) const {
    return parent != PositionOf(key) && ContainsPosition(key_index_, parent) &&
           SubkeyVerdict(hive_, parent, PositionOf(key)) != MarkVerdict::kRuledOut;
  }

  // kMostVotes bounds what one key costs in the sorting of all.
  void AddVote(uint32_t key, uint32_t shift, uint32_t parent) {
    std::vector<ShiftVote>& votes = votes_[key];
    const bool known = std::ranges::any_of(
        votes, [&](const ShiftVote& vote) { return vote.shift == shift && vote.parent == parent; });
    if (!known && HasRoom(key)) votes.push_back({shift, parent});
  }

  bool HasRoom(uint32_t key) const { return votes_[key].size() < kMostVotes; }

  // Asks the keys whose lists lead nowhere yet, and that no cluster has.
  void Propose(Proposal propose) {
    for (uint32_t key = 0; key < keys_.size() && !StopRequested(); ++key) {
      const bool settled = keys_[key].values_found != 0 || clusters_[key] != kNoCluster;
      if (!settled) (this->*propose)(key);
    }
  }

  // Near pages first, so that those count where there are too many.
  void ProposeByPages(uint32_t key) {
    const uint32_t list = Nominal(key, kKeyValueList);
    const uint32_t count = keys_[key].values;
    const uint32_t own = PositionOf(key) / kPageSize;
    if (count >= 2 && list != kNoOffset && list % 4 == 0) {
      for (uint32_t away = 0; away <= kReach && HasRoom(key); ++away) {
        TryList(key, (own + away) * kPageSize + list % kPageSize, count);
        if (away <= own) TryList(key, (own - away) * kPageSize + list % kPageSize, count);
      }
    }
    const uint32_t parent = Nominal(key, kKeyParent);
    if (parent == kNoOffset || parent % kCellStep != 0) return;
    const std::vector<uint32_t>& others = by_place_in_page_[parent % kPageSize / kCellStep];
    const uint32_t first = own > kReach ? (own - kReach) * kPageSize : 0;
    auto other =
        std::ranges::lower_bound(others, first, {}, [this](uint32_t at) { return PositionOf(at); });
    for (; other != others.end() && PositionOf(*other) / kPageSize <= own + kReach; ++other) {
      const uint32_t shift = parent - PositionOf(*other);
      if (shift != 0 && ParentHolds(key, PositionOf(*other))) AddVote(key, shift, parent);
    }
  }

  void TryList(uint32_t key, uint32_t list, uint32_t count) {
    const uint32_t shift = Nominal(key, kKeyValueList) - list;
    if (shift != 0 && ListHolds(list, count, shift)) AddVote(key, shift, kNoOffset);
  }

  // Parents alone would agree by chance: they are only asked about what a list has proposed.
  void ProposeBySteps(uint32_t key) {
    const uint32_t list = Nominal(key, kKeyValueList);
    const uint32_t count = keys_[key].values;
    if (count < 2 || list == kNoOffset) return;
    const uint32_t own = PositionOf(key);
    const uint32_t end = std::min(own + kFineReach, hive_.length);
    for (uint32_t at = own > kFineReach ? own - kFineReach : 0; at < end && HasRoom(key);
         at += kCellStep) {
      const uint32_t shift = list - at;
      if (shift == 0 || !ListHolds(at, count, shift)) continue;
      AddVote(key, shift, kNoOffset);
      AskNeighbours(key, shift);
    }
  }

  // A shift that the list of one key proposes is asked of the parents of the keys around it.
  void AskNeighbours(uint32_t key, uint32_t shift) {
    const auto count = static_cast<uint32_t>(keys_.size());
    const uint32_t end = std::min(key + kFineNeighbours + 1, count);
    for (uint32_t at = key - std::min(key, kFineNeighbours); at < end; ++at) {
      const uint32_t parent = Nominal(at, kKeyParent);
      if (parent != kNoOffset && ParentHolds(at, parent - shift)) AddVote(at, shift, parent);
    }
  }

  // --- which of them hold ---

  // Gives each key the heaviest cluster that it speaks in; none where two are as heavy.
  void Choose() {
    std::vector<Placed> all;
    for (uint32_t key = 0; key < votes_.size(); ++key) {
      for (const ShiftVote& vote : votes_[key]) all.push_back({vote.shift, key, vote.parent});
    }
    std::ranges::sort(all, [](const Placed& a, const Placed& b) {
      return a.shift != b.shift ? a.shift < b.shift : a.key < b.key;
    });
    std::vector<std::vector<uint32_t>> of_key(keys_.size());  // clusters
    known_.clear();
    for (size_t first = 0; first < all.size();) {
      size_t end = first + 1;
      while (end < all.size() && IsNear(all[end - 1], all[end])) ++end;
      const uint32_t weight = WeightOf(std::span(all).subspan(first, end - first));
      if (weight >= kLeastVotes) {
        const auto number = static_cast<uint32_t>(known_.size());
        known_.push_back({all[first].shift, weight});
        for (size_t i = first; i < end; ++i) of_key[all[i].key].push_back(number);
      }
      first = end;
    }
    for (uint32_t key = 0; key < keys_.size(); ++key) clusters_[key] = Heaviest(of_key[key]);
  }

  bool IsNear(const Placed& a, const Placed& b) const {
    return a.shift == b.shift && b.key - a.key <= kKeysBetween + 1 &&
           PositionOf(b.key) - PositionOf(a.key) <= kGap;
  }

  // How many speak independently: lists, and different parents. 0 where they are too small a part
  // of the keys among them; parents alone agree by chance more often than lists do.
  uint32_t WeightOf(std::span<const Placed> votes) const {
    uint32_t lists = 0;
    uint32_t voters = 0;
    std::vector<uint32_t> parents;
    for (size_t i = 0; i < votes.size(); ++i) {
      voters += i == 0 || votes[i].key != votes[i - 1].key;
      lists += votes[i].parent == kNoOffset;
      if (votes[i].parent != kNoOffset) parents.push_back(votes[i].parent);
    }
    const auto first = led_.begin() + votes.front().key;
    const auto last = led_.begin() + votes.back().key + 1;
    const auto lost = static_cast<uint32_t>(std::count(first, last, false));
    if (voters * (lists != 0 ? 4 : 2) < lost) return 0;
    std::ranges::sort(parents);
    const auto rest = std::unique(parents.begin(), parents.end());
    return lists + static_cast<uint32_t>(rest - parents.begin());
  }

  // The number of a cluster; kNoCluster for none, and where two as heavy speak for different
  // shifts: neither is believed then.
  uint32_t Heaviest(const std::vector<uint32_t>& clusters) const {
    uint32_t best = kNoCluster;
    bool tie = false;
    for (const uint32_t cluster : clusters) {
      if (cluster == best) continue;
      const bool same = best != kNoCluster && known_[cluster].weight == known_[best].weight;
      if (best == kNoCluster || known_[cluster].weight > known_[best].weight) {
        best = cluster;
        tie = false;
      } else if (same && known_[cluster].shift != known_[best].shift) {
        tie = true;
      }
    }
    return tie ? kNoCluster : best;
  }

  // --- runs ---

  // A key's shift, 0 for one whose offsets lead as they are; nothing for the others.
  void LabelKeys() {
    labels_.resize(keys_.size());
    for (uint32_t key = 0; key < keys_.size(); ++key) {
      if (clusters_[key] != kNoCluster) labels_[key] = {true, known_[clusters_[key]].shift};
      if (clusters_[key] == kNoCluster && led_[key]) labels_[key] = {true, 0};
    }
  }

  // Both neighbours that are labelled are asked, before any key has joined.
  void JoinNeighbours() {
    std::vector<Label> joined = labels_;
    const auto ask = [&](uint32_t key, uint32_t neighbour) {
      if (labels_[key].known || neighbour == kNoItem || labels_[neighbour].shift == 0) return;
      const uint32_t from = std::min(PositionOf(key), PositionOf(neighbour));
      const uint32_t to = std::max(PositionOf(key), PositionOf(neighbour));
      const uint32_t shift = labels_[neighbour].shift;
      if (to - from <= kGap && Joins(key, shift)) joined[key] = {true, shift};
    };
    // Keys whose offsets lead as they are belong to pages of their own: they are passed over.
    const auto count = static_cast<uint32_t>(keys_.size());
    for (uint32_t key = 0, last = kNoItem; key < count; ++key) {
      ask(key, last);
      if (labels_[key].known && labels_[key].shift != 0) last = key;
    }
    for (uint32_t key = count, last = kNoItem; key-- > 0;) {
      ask(key, last);
      if (labels_[key].known && labels_[key].shift != 0) last = key;
    }
    labels_ = std::move(joined);
  }

  // True where the neighbour's shift leads the key's parent field to a freed key, or its list to
  // values of which the first could be the key's.
  bool Joins(uint32_t key, uint32_t shift) const {
    const uint32_t parent = Nominal(key, kKeyParent);
    if (parent != kNoOffset && ParentHolds(key, parent - shift)) return true;
    const uint32_t list = Nominal(key, kKeyValueList);
    const uint32_t count = keys_[key].values;
    if (count == 0 || list == kNoOffset || !ListHolds(list - shift, count, shift)) return false;
    const uint32_t value = ReadU32(hive_, list - shift + 4) + hive_.data_base - shift;
    return ValueVerdict(hive_, PositionOf(key), value) == MarkVerdict::kAllowed;
  }

  // From the first key's page to the last one's, but not over keys of another state.
  std::vector<ShiftRun> MakeRuns() const {
    std::vector<ShiftRun> runs;
    uint32_t last = kNoItem;  // labelled key before
    for (uint32_t key = 0; key < keys_.size(); ++key) {
      if (!labels_[key].known) continue;
      const uint32_t shift = labels_[key].shift;
      const uint32_t p = PositionOf(key);
      const bool same = last != kNoItem && labels_[last].shift == shift;
      if (!same && !runs.empty()) runs.back().end = std::min(runs.back().end, p);
      const bool goes_on = same && !runs.empty() && p - PositionOf(last) <= kGap;
      const uint32_t page = p / kPageSize * kPageSize;
      if (shift != 0 && !goes_on) {
        const uint32_t least = last == kNoItem ? 0 : PositionOf(last) + kKeyName;
        runs.push_back({std::min(std::max(page, least), p), 0, shift});
      }
      if (shift != 0) runs.back().end = page + kPageSize;
      last = key;
    }
    return runs;
  }

  // What is settled of a key's shift.
  struct Label {
    bool known = false;  // else `shift` is 0
    uint32_t shift = 0;
  };

  const HiveImage& hive_;
  const std::vector<FreedKey>& keys_;
  const std::vector<bool>& led_;
  PositionIndex key_index_;
  PositionIndex value_index_;
  std::array<std::vector<uint32_t>, kPageSize / kCellStep> by_place_in_page_;  // keys, ascending
  std::vector<std::vector<ShiftVote>> votes_;                                  // by key
  std::vector<Cluster> known_;
  std::vector<uint32_t> clusters_;  // by key: index of known_
  std::vector<Label> labels_;       // by key
};

}  // namespace

std::vector<ShiftRun> FindShiftRuns(const HiveImage& hive, const FreedRecords& records,
                                    const std::vector<bool>& led) {
  return ShiftFinder(hive, records, led).Find();
}

uint32_t ShiftOf(const std::vector<ShiftRun>& runs, uint32_t position) {
  const auto behind = std::ranges::upper_bound(runs, position, {}, &ShiftRun::begin);
  if (behind == runs.begin()) return 0;
  const ShiftRun& run = *std::prev(behind);
  return position < run.end ? run.shift : 0;
}

}  // namespace hivequarry
