#include "hive/moved_pages.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <numeric>
#include <unordered_map>

#include "hive/image.h"
#include "hive/witnesses.h"
#include "host/long_operation.h"
#include "records/bin_header.h"

namespace hivequarry {
namespace {

using Bytes = std::span<const uint8_t>;

constexpr uint32_t kHeaderScore = 3;  // what a header's own offset counts
constexpr uint32_t kEnough = 3;       // a page is moved for as much as that
constexpr size_t kPairsPerPage = 128;

// References sorted by what they name, and what is known of each page.
struct PageWork {
  Bytes bytes;
  const Pages& pages;
  std::vector<Reference> references;  // offsets turned into positions, by page
  std::vector<uint32_t> begin;        // by own page: its first reference; one more at the end
  std::vector<bool> trusted;          // by page
  std::vector<bool> whole;            // by own page: its block is in place, and all of it is
  uint32_t blocks_end = 0;            // page after the last block whose header is in place

  uint32_t PositionOf(uint32_t page) const { return pages.first + page * kPageSize; }
  uint32_t PageOf(uint32_t position) const { return (position - pages.first) / kPageSize; }
  Bytes BytesOf(uint32_t page) const {
    const size_t from = PositionOf(page);
    return bytes.subspan(from, std::min<size_t>(kPageSize, bytes.size() - from));
  }
  std::span<const Reference> Into(uint32_t page) const {
    return std::span(references).subspan(begin[page], begin[page + 1] - begin[page]);
  }
};

// Sorted by counting, as there are millions of references and only few pages.
PageWork PrepareWork(Bytes bytes, const Pages& pages) {
  PageWork work{bytes, pages, {}, {}, {}, {}, 0};
  const std::vector<Witness> records = FindRecords(bytes);
  work.references = FindReferences(bytes, records, pages.distance);
  if (StopRequested()) work.references.clear();  // what follows takes a while for many
  const uint32_t end = pages.first + pages.own * kPageSize;
  for (Reference& reference : work.references) reference.offset += pages.distance;
  std::erase_if(work.references,
                [&](const Reference& r) { return r.offset < pages.first || r.offset >= end; });
  // By page; the order of one page's is left as it is.
  work.begin.resize(pages.own + 2);
  for (const Reference& r : work.references) ++work.begin[work.PageOf(r.offset) + 2];
  std::partial_sum(work.begin.begin(), work.begin.end(), work.begin.begin());
  std::vector<Reference> by_page(work.references.size());
  for (const Reference& r : work.references) by_page[work.begin[work.PageOf(r.offset) + 1]++] = r;
  work.references = std::move(by_page);
  work.trusted.assign(pages.count + 1, true);
  return work;
}

// The page that a page's header says it is; kNothing for one without a header.
uint32_t PlaceByHeader(const PageWork& work, uint32_t page) {
  BinHeader bin;
  if (!ReadBinHeader(work.bytes, work.PositionOf(page), bin)) return PageMoves::kNothing;
  return work.PageOf(bin.own_offset + work.pages.distance);
}

// What a page's content is worth where another page, or it itself, belongs.
struct Worth {
  PageFit fit;
  uint32_t score = 0;
  uint32_t wanted = 0;  // what other pages look for and find
  bool header = false;  // says that the place is its own
};

// What was counted of a page, by kind and 8 bytes: 0 where nothing was asked, else one more than
// the best agreement. A cell that a hundred keys name, as most do the same security record, is one
// thing that is there or not.
using BestByCell = std::array<std::array<uint8_t, kPageSize / 8>, kCellKinds>;

Worth WorthAt(const PageWork& work, uint32_t content, uint32_t place) {
  constexpr uint32_t kFirstLook = 12;  // when none of these holds, the rest won't either
  Worth worth;
  BestByCell counted{};
  const Bytes page = work.BytesOf(content);
  for (const Reference& reference : work.Into(place)) {
    const uint32_t source = work.PageOf(reference.source);
    const bool before = reference.source < work.pages.first;
    if (!before && source != content && !work.trusted[source]) continue;
    const uint32_t inside = reference.offset - work.PositionOf(place);
    uint8_t& best = counted[static_cast<size_t>(reference.kind)][inside / 8];
    worth.fit.asked += best == 0;
    best = std::max<uint8_t>(best, 1);
    if (inside < page.size()) {
      const uint32_t agreement = Agreement(page.subspan(inside), reference);
      if (agreement >= best) {
        worth.fit.held += best == 1;
        worth.score += agreement + 1 - best;
        best = static_cast<uint8_t>(agreement + 1);
      }
      worth.wanted += agreement != 0 && source != content;
    }
    if (content != place && worth.fit.asked == kFirstLook && worth.fit.held == 0) break;
  }
  if (PlaceByHeader(work, content) == place) {
    worth.score += kHeaderScore;
    worth.header = true;
  }
  return worth;
}

bool FitsWell(const PageFit& fit) { return fit.held * 2 >= fit.asked; }

// The pages of blocks whose headers are in place, as far as their sizes say and no other header
// comes.
std::vector<bool> PagesOfBlocks(const PageWork& work) {
  std::vector<bool> covered(work.pages.own);
  uint32_t end = 0;
  for (uint32_t page = 0; page < work.pages.own; ++page) {
    BinHeader bin;
    if (ReadBinHeader(work.bytes, work.PositionOf(page), bin)) {
      end = bin.Distance() == work.pages.distance ? page + bin.size / kPageSize : 0;
    }
    covered[page] = page < end;
  }
  return covered;
}

// At first the pages of blocks that are in place have a say, then those too in which these find
// what they look for. Where no block is in its place all have.
std::vector<Worth> WeighInPlace(PageWork& work) {
  constexpr int kRounds = 3;
  const std::vector<bool> covered = PagesOfBlocks(work);
  std::vector<Worth> worths(work.pages.own);
  std::vector<bool> trusted(work.pages.count + 1, true);
  if (std::ranges::count(covered, true) != 0) {
    std::copy(covered.begin(), covered.end(), trusted.begin());
    std::fill(trusted.begin() + work.pages.own, trusted.end(), false);
  }
  for (uint32_t page = 0; page < work.pages.own; ++page) {
    if (covered[page]) work.blocks_end = page + 1;
  }
  for (int round = 0; round < kRounds; ++round) {
    work.trusted = trusted;
    bool any = false;
    for (uint32_t page = 0; page < work.pages.own; ++page) {
      if (page % 64 == 0 && StopRequested()) return worths;
      worths[page] = WorthAt(work, page, page);
      const PageFit& fit = worths[page].fit;
      trusted[page] = FitsWell(fit) && (fit.held >= kEnough || covered[page]);
      any = any || trusted[page];
    }
    if (!any) break;
  }
  return worths;
}

// Whole blocks in place. Where the next page with a header is ends the one before.
// From the last page back, so that the next header's page is known.
void FindWholeBlocks(PageWork& work) {
  const uint32_t own = work.pages.own;
  work.whole.assign(own, false);
  uint32_t next = own;
  for (uint32_t page = own; page-- > 0;) {
    BinHeader bin;
    if (!ReadBinHeader(work.bytes, work.PositionOf(page), bin)) continue;
    const uint32_t pages = bin.size / kPageSize;
    const bool in_place = bin.Distance() == work.pages.distance;
    if (in_place && IsWholeBlock(work.bytes, bin, uint64_t{next - page} * kPageSize)) {
      std::fill_n(work.whole.begin() + page, std::min(pages, own - page), true);
    }
    next = page;
  }
}

bool IsBlank(Bytes page) {
  return std::ranges::all_of(page, [&](uint8_t byte) { return byte == page[0]; });
}

// A page in which nobody looks for anything may belong elsewhere.
bool IsIdle(const Worth& worth) { return worth.fit.asked == 0; }

// A page that is not what others look for there.
bool IsSuspect(const PageWork& work, uint32_t page, const Worth& worth) {
  if (!FitsWell(worth.fit)) return true;
  const uint32_t said = PlaceByHeader(work, page);
  const bool elsewhere = said != PageMoves::kNothing && said != page;
  return elsewhere && worth.fit.held < kEnough;
}

// A page's content, the place that wants it, and how much speaks for that.
struct Bid {
  uint32_t content = 0;
  uint32_t place = 0;
  uint32_t score = 0;
};

// For each homeless page the one place where it is worth most.
std::vector<Bid> CollectBids(const PageWork& work, const std::vector<Worth>& in_place,
                             const std::vector<uint32_t>& homeless,
                             const std::vector<uint32_t>& vacant) {
  const size_t most = work.pages.count * kPairsPerPage + 65536;
  const bool all_pairs = homeless.size() * vacant.size() <= most;
  std::vector<bool> is_vacant(work.pages.own);
  for (const uint32_t place : vacant) is_vacant[place] = true;
  std::vector<Bid> bids;
  for (const uint32_t content : homeless) {
    if (StopRequested()) break;
    Bid best{content, 0, 0};
    uint32_t second = 0;
    const bool idle = content < work.pages.own && !IsSuspect(work, content, in_place[content]);
    const auto look = [&](uint32_t place) {
      if (place == content) return;
      const Worth worth = WorthAt(work, content, place);
      // Old copies of pages lie in free space: they don't fit as well.
      const bool sure = worth.score >= 2 * kEnough && worth.fit.held * 4 >= worth.fit.asked * 3;
      if (idle && !sure) return;
      // What no other page looks for there has to have a header, and room among the blocks.
      const bool wanted = worth.wanted != 0 || (worth.header && place < work.blocks_end);
      if (!FitsWell(worth.fit) || !wanted || worth.score < kEnough) return;
      if (worth.score > best.score) {
        second = best.score;
        best.place = place;
        best.score = worth.score;
      } else {
        second = std::max(second, worth.score);
      }
    };
    if (all_pairs) {
      for (const uint32_t place : vacant) look(place);
    }
    const uint32_t place = PlaceByHeader(work, content);
    if (place < work.pages.own) {
      // A page in which nobody looks for anything gives way to one whose header says it is its own.
      const bool gives_way =
          IsIdle(in_place[place]) && !work.whole[place] && PlaceByHeader(work, place) != place;
      if (is_vacant[place] ? !all_pairs : gives_way) look(place);
    }
    const uint32_t here = content < work.pages.own ? in_place[content].score : 0;
    if (best.score > second && best.score > here) bids.push_back(best);
  }
  std::ranges::sort(bids, [](const Bid& a, const Bid& b) {
    return a.score != b.score ? a.score > b.score : a.content < b.content;
  });
  return bids;
}

// Of whole 8 bytes: rest bytes of a page cut short are compared by Twins alone.
uint64_t HashOf(Bytes page) {
  uint64_t hash = page.size();
  for (size_t i = 0; i + 8 <= page.size(); i += 8) {
    hash = (hash ^ LoadU64(&page[i])) * 0x9E3779B97F4A7C15;
    hash ^= hash >> 29;
  }
  return hash;
}

// Finds for homeless pages the page in place that has the same bytes.
class Twins {
 public:
  explicit Twins(const PageWork& work) : work_(work) {}
  // kNothing when there is none.
  uint32_t Of(uint32_t page, const std::vector<bool>& settled) {
    if (by_hash_.empty()) {
      for (uint32_t other = 0; other < work_.pages.count && !StopRequested(); ++other) {
        by_hash_.emplace(HashOf(work_.BytesOf(other)), other);
      }
    }
    size_t looked = 0;
    const auto [first, last] = by_hash_.equal_range(HashOf(work_.BytesOf(page)));
    for (auto at = first; at != last && looked < 64; ++at, ++looked) {
      const bool other = at->second != page && settled[at->second];
      if (other && std::ranges::equal(work_.BytesOf(page), work_.BytesOf(at->second))) {
        return at->second;
      }
    }
    return PageMoves::kNothing;
  }

 private:
  const PageWork& work_;
  std::unordered_multimap<uint64_t, uint32_t> by_hash_;
};

// What is left without a place: copies of others, and pages whose place was taken, which belong
// where what took it came from.
void PlaceTheRest(const PageWork& work, const std::vector<Worth>& in_place,
                  const std::vector<uint32_t>& homeless, std::vector<bool>& settled,
                  std::vector<bool>& given, PageMoves& moves) {
  Twins twins(work);
  const auto is_vacated = [&](uint32_t page) {
    return page < work.pages.own && moves.source[page] == PageMoves::kNothing;
  };
  for (const uint32_t content : homeless) {
    const bool own = content < work.pages.own;
    const bool displaced = own && moves.source[content] != content;
    if (given[content] || (settled[content] && !displaced)) continue;
    // Where the hive looks for nothing there may as well be another hive with pages like its own.
    const bool missed = !own || displaced || in_place[content].fit.asked != 0;
    const uint32_t twin = missed ? twins.Of(content, settled) : PageMoves::kNothing;
    if (twin != PageMoves::kNothing) {
      moves.copies.push_back({content, twin});
      if (own && !displaced) moves.source[content] = PageMoves::kNothing;
      moves.any = true;
      continue;
    }
    uint32_t place = PlaceByHeader(work, content);
    if (place == PageMoves::kNothing && displaced) {
      place = moves.source[content];
      for (uint32_t steps = 0; steps < work.pages.count; ++steps) {
        if (place >= work.pages.own || is_vacated(place) || moves.source[place] == place) break;
        place = moves.source[place];
      }
    }
    if (!is_vacated(place)) continue;
    if (own && !displaced) moves.source[content] = PageMoves::kNothing;
    moves.source[place] = content;
    given[content] = settled[content] = true;
  }
}

}  // namespace

Pages PagesOf(uint32_t distance, uint32_t own_length, uint32_t length) {
  Pages pages;
  pages.distance = distance;
  // A hive's data area begins there; of a fragment the first offset that is a page's start.
  pages.first = distance <= own_length ? distance : distance % kPageSize;
  const uint32_t own = own_length > pages.first ? own_length - pages.first : 0;
  const uint32_t all = length > pages.first ? length - pages.first : 0;
  pages.own = (own + kPageSize - 1) / kPageSize;
  pages.count = std::max(pages.own, all / kPageSize);
  return pages;
}

// Pages without a place bid for places without a page; the best bids are settled first. Then what
// those places held, and copies of what is in its place.
PageMoves FindPageMoves(Bytes bytes, const Pages& pages) {
  PageMoves moves;
  moves.source.resize(pages.own);
  for (uint32_t page = 0; page < pages.own; ++page) moves.source[page] = page;
  PageWork work = PrepareWork(bytes, pages);
  FindWholeBlocks(work);
  const std::vector<Worth> in_place = WeighInPlace(work);
  std::vector<uint32_t> homeless;
  std::vector<uint32_t> vacant;
  std::vector<bool> settled(pages.count, true);
  for (uint32_t page = 0; page < pages.count; ++page) {
    const bool suspect = page >= pages.own || IsSuspect(work, page, in_place[page]);
    if (!suspect && !IsIdle(in_place[page])) continue;
    if (suspect) settled[page] = false;
    const bool whole = work.BytesOf(page).size() == kPageSize;
    if (suspect && page < pages.own && whole) vacant.push_back(page);
    if (whole && !IsBlank(work.BytesOf(page))) homeless.push_back(page);
  }
  std::vector<bool> taken(pages.own);
  std::vector<bool> given(pages.count);
  for (const Bid& bid : CollectBids(work, in_place, homeless, vacant)) {
    if (taken[bid.place] || given[bid.content]) continue;
    taken[bid.place] = given[bid.content] = settled[bid.content] = true;
    moves.source[bid.place] = bid.content;
    moves.any = true;
  }
  // Where pages came from something else belongs.
  for (uint32_t page = 0; page < pages.own; ++page) {
    const uint32_t content = moves.source[page];
    if (content == page || content >= pages.own) continue;
    if (moves.source[content] == content) moves.source[content] = PageMoves::kNothing;
  }
  PlaceTheRest(work, in_place, homeless, settled, given, moves);
  return moves;
}

std::vector<PageFit> FitPages(Bytes bytes, const Pages& pages) {
  PageWork work = PrepareWork(bytes, pages);
  std::vector<PageFit> fits;
  for (const Worth& worth : WeighInPlace(work)) fits.push_back(worth.fit);
  return fits;
}

}  // namespace hivequarry
