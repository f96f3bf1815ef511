// Hives, logs and pieces of them in files of any size.
#include "cases/carve.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "cases/lznt1.h"
#include "hive/hive_table.h"
#include "host/number_text.h"
#include "tests/support/deadline.h"
#include "tests/support/hive_builder.h"
#include "tests/support/host_recorder.h"
#include "tests/support/log_writer.h"
#include "tests/support/logged_hive.h"
#include "tests/support/texts.h"

namespace hivequarry::testing {
namespace {

constexpr uint32_t kPage = 4096;

// Twelve blocks of 4096 bytes and more; the keys of "Many" are in all of them.
BuiltHive LongHive(const char* root = "ROOT") {
  HiveBuilder builder(root);
  builder.FileName("\\Config\\LONG");
  for (int i = 0; i < 400; ++i) {
    builder.Key("Many\\Key" + std::to_string(1000 + i)).Dword("n", static_cast<uint32_t>(i));
  }
  return builder.Build();
}
constexpr uint32_t kLongKeys = 402;

Bytes Part(const Bytes& bytes, uint32_t from, uint32_t to) {
  return Bytes(bytes.begin() + from, bytes.begin() + to);
}
Bytes Filler(uint32_t size, uint8_t byte = 0x5A) { return Bytes(size, byte); }

CarvedFile CarvedOfBytes(const Bytes& bytes, const CarveOptions& options = {}) {
  const TempFile file(bytes);
  return CarveFile(file.name(), options);
}

// "hive 0x200 8192 3 certain; ..."
std::string RowsOf(const CarvedFile& carved) {
  const OutputListPtr list = ListCarved(carved);
  std::string rows;
  for (uint32_t row = 0; row < RowCount(*list); ++row) {
    if (!rows.empty()) rows += "; ";
    for (const int column : {0, 1, 2, 4, 5}) {
      if (column != 0) rows += " ";
      rows += CellText(*list, row, column);
    }
  }
  return rows;
}
std::string WhyOf(const CarvedFile& carved, size_t number = 0) {
  return number < carved.found.size() ? carved.found[number].why : "nothing";
}

std::string Expected(const char* what, uint64_t at, size_t length, uint32_t keys,
                     const char* sure) {
  return Concat(
      {what, " 0x", Hex(at, 8), " ", std::to_string(length), " ", std::to_string(keys), " ", sure});
}

TEST(Carve, WholeHivesAtAnyPlace) {
  const Bytes hive = LongHive().bytes;
  for (const uint32_t before : {0U, 1U, 512U, 4096U, 524288U - 30U, 524288U - 2U, 1048576U + 3U}) {
    const CarvedFile carved = CarvedOfBytes(Joined({Filler(before), hive, Filler(5000)}));
    EXPECT_EQ(RowsOf(carved), Expected("hive", before, hive.size(), kLongKeys, "certain"));
    ASSERT_EQ(carved.found.size(), 1U);
    EXPECT_EQ(carved.found[0].root, "ROOT");
    EXPECT_EQ(carved.found[0].stored_name, "\\Config\\LONG");
    EXPECT_EQ(carved.found[0].why, "base block, checksum right; as long as it says; " +
                                       std::to_string(hive.size() / kPage - 1) +
                                       " blocks filled by cells");
  }
}

// Places are decided on 64 at a time, by letters that texts are full of too.
TEST(Carve, SignaturesAmongTheirLetters) {
  const Bytes hive = HiveBuilder("ROOT").Build().bytes;
  const std::string_view letters = "hhbireHvLLxppregfgebvpr";
  Bytes filler;
  for (size_t i = 0; i < 4300; ++i) filler.push_back(static_cast<uint8_t>(letters[i % 23]));
  for (uint32_t lead = 4096; lead < 4096 + 2 * 64 + 2; ++lead) {
    Bytes bytes = Part(filler, 0, lead);
    bytes.insert(bytes.end(), hive.begin(), hive.end());
    bytes.insert(bytes.end(), filler.begin(), filler.begin() + lead % 70);
    const CarvedFile carved = CarvedOfBytes(bytes);
    ASSERT_EQ(carved.found.size(), 1U) << lead;
    ASSERT_EQ(carved.found[0].parts[0].position, lead);
    ASSERT_EQ(carved.found[0].kind, CarvedKind::kHive) << lead;
  }
}

TEST(Carve, DamageIsSaid) {
  const BuiltHive built = LongHive();
  const uint32_t size = static_cast<uint32_t>(built.bytes.size());
  const auto changed = [&built](auto change) {
    Bytes bytes = built.bytes;
    change(bytes);
    return CarvedOfBytes(Joined({Filler(700), bytes, Filler(900)}));
  };
  CarvedFile carved = changed([](Bytes& bytes) { bytes[0] = 'X'; });
  EXPECT_EQ(RowsOf(carved), Expected("hive", 700, size, kLongKeys, "likely"));
  EXPECT_TRUE(WhyOf(carved).starts_with("base block with a damaged signature, checksum wrong"));
  carved =
      changed([](Bytes& bytes) { std::ranges::copy(std::string_view("snap"), bytes.begin()); });
  EXPECT_TRUE(WhyOf(carved).starts_with("base block of a snapshot, checksum wrong"))
      << WhyOf(carved);
  carved = changed([](Bytes& bytes) { std::fill_n(bytes.begin(), kPage, uint8_t{0xEE}); });
  EXPECT_EQ(RowsOf(carved), Expected("hive, cut", 700 + kPage, size - kPage, kLongKeys, "likely"));
  carved = changed([](Bytes& bytes) { bytes.resize(5 * kPage); });
  EXPECT_NE(WhyOf(carved).find(std::to_string(size - 5 * kPage) + " bytes shorter"),
            std::string::npos);
  // A block whose cells do not follow each other, and one that has lost its header.
  carved = changed([](Bytes& bytes) { PutU32(bytes, 3 * kPage + 32, 13); });
  EXPECT_NE(WhyOf(carved).find("; 1 block damaged or cut"), std::string::npos) << WhyOf(carved);
  EXPECT_EQ(carved.found[0].length, size);
  carved = changed([](Bytes& bytes) { PutU32(bytes, 3 * kPage, 0); });
  EXPECT_NE(WhyOf(carved).find("; 4096 bytes between blocks are others'"), std::string::npos);
  // Pages of zeros are told of on their own.
  carved = changed([](Bytes& bytes) {
    std::fill(bytes.begin() + 4 * kPage, bytes.begin() + 6 * kPage, uint8_t{0});
  });
  ASSERT_EQ(carved.found.size(), 2U);
  EXPECT_NE(WhyOf(carved).find("; 8192 bytes are zeros"), std::string::npos);
  EXPECT_TRUE(RowsOf(carved).ends_with(Formatted("; hole 0x%08X 8192  certain", 700 + 4 * kPage)));
}

TEST(Carve, LogsOwnTheirPages) {
  const LogStory story = MakeLogStory();
  const Bytes& log = story.files.beside.front().second;
  CarvedFile carved = CarvedOfBytes(Joined({Filler(512), log, Filler(512), story.files.hive}));
  ASSERT_EQ(carved.found.size(), 2U) << RowsOf(carved);
  EXPECT_EQ(carved.found[0].kind, CarvedKind::kLog);
  EXPECT_EQ(carved.found[0].parts[0].position, 512U);
  EXPECT_EQ(carved.found[0].why, "1 entry, 10, each with its hashes; checksum right");
  EXPECT_EQ(carved.found[1].kind, CarvedKind::kHive);
  // Without its base block's copy; and with data that are not those of the hash: then its pages
  // speak for themselves.
  Bytes entries = Part(log, 512, static_cast<uint32_t>(log.size()));
  carved = CarvedOfBytes(Joined({Filler(512), entries}));
  ASSERT_EQ(carved.found.size(), 1U) << RowsOf(carved);
  EXPECT_EQ(carved.found[0].kind, CarvedKind::kLogEntries);
  entries[100] ^= 1;
  carved = CarvedOfBytes(Joined({Filler(512), entries}));
  for (const Carved& each : carved.found) EXPECT_NE(each.kind, CarvedKind::kLogEntries);
  const Bytes old = OldLog(story.states[0], story.states[1]);
  carved = CarvedOfBytes(Joined({Filler(1024), old, Filler(512)}));
  ASSERT_EQ(carved.found.size(), 1U) << RowsOf(carved);
  EXPECT_EQ(RowsOf(carved), Concat({"log 0x00000400 ", std::to_string(old.size()), "  likely"}));
}

// The pieces of a hive, each after other bytes.
Bytes Scattered(const Bytes& hive, std::initializer_list<uint32_t> cuts) {
  Bytes file = Filler(1024);
  uint32_t from = 0;
  for (const uint32_t cut : cuts) {
    file = Joined({file, Part(hive, from, cut), Filler(8192 + from)});
    from = cut;
  }
  return Joined({file, Part(hive, from, static_cast<uint32_t>(hive.size()))});
}

TEST(Carve, PiecesAreJoinedByReferencesAlone) {
  const Bytes hive = LongHive().bytes;
  const TempFile file(Scattered(hive, {4 * kPage, 9 * kPage}));
  CarvedFile carved = CarveFile(file.name(), {});
  ASSERT_EQ(carved.found.size(), 4U) << RowsOf(carved);
  EXPECT_EQ(carved.found[0].kind, CarvedKind::kJoined);
  EXPECT_EQ(carved.found[0].length, hive.size());
  EXPECT_EQ(carved.found[0].keys, kLongKeys);
  EXPECT_EQ(
      WhyOf(carved),
      "3 pieces, by own offsets and references; base block, checksum right; as long as it says");
  for (size_t i = 1; i < 4; ++i) EXPECT_EQ(carved.found[i].kind, CarvedKind::kPart);
  std::string fault;
  WriteCarved(carved, {file.folder() + "/out", false}, fault);
  EXPECT_EQ(fault, "");
  EXPECT_EQ(ContentOf<Bytes>(carved.found[0].file), hive);
  EXPECT_EQ(carved.found[1].file, "");
  // Of another hive, the second piece fits by its offset alone.
  HiveBuilder other;
  for (int i = 0; i < 300; ++i) other.Key("Else\\Sub" + std::to_string(i)).Dword("x", 1);
  const Bytes strange = other.Build().bytes;
  ASSERT_GT(strange.size(), 6 * kPage);
  carved = CarvedOfBytes(
      Joined({Part(hive, 0, 4 * kPage), Filler(8192), Part(strange, 4 * kPage, 6 * kPage)}));
  ASSERT_EQ(carved.found.size(), 2U);
  EXPECT_EQ(carved.found[0].kind, CarvedKind::kCutHive);
  EXPECT_EQ(carved.found[1].kind, CarvedKind::kFragment);
  // Two copies of the second piece: nothing says which of them.
  const Bytes second = Part(hive, 4 * kPage, 9 * kPage);
  carved =
      CarvedOfBytes(Joined({Part(hive, 0, 4 * kPage), Filler(8192), second, Filler(512), second}));
  EXPECT_EQ(carved.found.size(), 3U);
  for (const Carved& each : carved.found) EXPECT_NE(each.kind, CarvedKind::kJoined);
}

TEST(Carve, HivesInsideOfHives) {
  const Bytes inner = LongHive("INNER").bytes;
  HiveBuilder builder("OUTER");
  builder.Key("Holder").Value("hive", 3, Part(inner, 0, 3 * kPage));
  const CarvedFile carved = CarvedOfBytes(builder.Build().bytes);
  ASSERT_EQ(carved.found.size(), 2U) << RowsOf(carved);
  EXPECT_EQ(carved.found[0].root, "OUTER");
  EXPECT_EQ(carved.found[0].keys, 2U);
  EXPECT_EQ(carved.found[0].sure, Sureness::kCertain);
  EXPECT_NE(WhyOf(carved, 1).find("inside a block of what begins at 0x00000000"),
            std::string::npos);
}

TEST(Carve, PastFourGigabytes) {
  const Bytes hive = LongHive().bytes;
  const TempFile file(Bytes(1, 0));
  constexpr uint64_t kPlace = (uint64_t{1} << 32) + 512;
  {
    std::fstream out(file.name(), std::ios::binary | std::ios::in | std::ios::out);
    out.seekp(static_cast<std::streamoff>(kPlace));
    out.write(reinterpret_cast<const char*>(hive.data()),
              static_cast<std::streamsize>(hive.size()));
  }
  CarvedFile carved = CarveFile(file.name(), {true});
  ASSERT_EQ(carved.found.size(), 2U) << RowsOf(carved);
  EXPECT_EQ(carved.found[0].kind, CarvedKind::kHole);
  EXPECT_EQ(carved.zeros, kPlace / kPage * kPage);
  EXPECT_EQ(carved.found[1].parts[0].position, kPlace);
  std::string fault;
  const CarveWriting writing = {file.folder() + "/out", false};
  WriteCarved(carved, writing, fault);
  EXPECT_EQ(fault, "");
  EXPECT_EQ(carved.found[1].file, file.folder() + "/out/TEST.0x000100000200.hive");
  EXPECT_EQ(ContentOf<Bytes>(carved.found[1].file), hive);
  WriteCarved(carved, writing, fault);
  EXPECT_NE(fault.find("never replaced"), std::string::npos) << fault;
}

// --- compressed ----------------------------------------------------------------------------------

// Runs of one byte are copies of the byte before, all else are literals; a page that gets longer
// so is kept as it is.
Bytes PackedChunk(ByteView page) {
  Bytes chunk(2);
  size_t flags = 0;
  for (size_t at = 0, items = 0; at < page.size(); ++items) {
    if (items % 8 == 0) {
      flags = chunk.size();
      chunk.push_back(0);
    }
    uint32_t bits = 12;  // of the length
    for (size_t reach = 16; at > reach && bits > 4; reach *= 2) --bits;
    const size_t most = std::min<size_t>(page.size() - at, (size_t{1} << bits) + 2);
    size_t run = 0;
    while (at != 0 && run < most && page[at + run] == page[at - 1]) ++run;
    if (run < 3) {
      chunk.push_back(page[at++]);
      continue;
    }
    chunk[flags] = static_cast<uint8_t>(chunk[flags] | 1U << items % 8);
    chunk.push_back(static_cast<uint8_t>(run - 3));
    chunk.push_back(static_cast<uint8_t>((run - 3) >> 8));
    at += run;
  }
  if (chunk.size() < kPage + 2) {
    PutU16(chunk, 0, static_cast<uint16_t>(0xB000 + chunk.size() - 3));
    return chunk;
  }
  chunk = {0xFF, 0x3F};
  chunk.insert(chunk.end(), page.begin(), page.end());
  return chunk;
}

Bytes PackedUnit(ByteView bytes) {
  Bytes unit;
  for (size_t at = 0; at < bytes.size(); at += kPage) {
    unit = Joined({unit, PackedChunk(bytes.subspan(at, kPage))});
  }
  unit.resize((unit.size() + 2 + kPage - 1) / kPage * kPage);
  return unit;
}

TEST(Carve, DecodesLznt1) {
  std::vector<uint8_t> out;
  // "abcabcabcabc": three literals, then nine bytes from three back.
  const Bytes text = {0x05, 0xB0, 0x08, 'a', 'b', 'c', 0x06, 0x20};
  EXPECT_EQ(DecodeLznt1(text, 4096, out), 8U);
  EXPECT_EQ(std::string(out.begin(), out.end()), "abcabcabcabc");
  struct {
    const char* what;
    Bytes bytes;
  } const wrong[] = {
      {"copies what is not there", {0x03, 0xB0, 0x01, 0x00, 0x00, 0x00}},
      {"ends in the header", {0x05}},
      {"longer than the view", {0x50, 0xB0, 0x00, 'a'}},
      {"no mark", {0x05, 0x80, 0x08, 'a', 'b', 'c', 0x06, 0x20}},
      {"half a pair", {0x01, 0xB0, 0x02, 'a'}},
  };
  for (const auto& each : wrong) {
    out.clear();
    DecodeLznt1(each.bytes, 4096, out);
    EXPECT_LE(out.size(), 1U) << each.what;
  }
}

TEST(Carve, DecodesPlainLz77) {
  // 26 letters; then the example with a match of 300: "abc" over and over.
  Bytes letters = {0x3F, 0, 0, 0};
  for (char c = 'a'; c <= 'z'; ++c) letters.push_back(static_cast<uint8_t>(c));
  std::vector<uint8_t> out;
  EXPECT_EQ(DecodePlainLz77(letters, 26, out), 30U);
  EXPECT_EQ(std::string(out.begin(), out.end()), "abcdefghijklmnopqrstuvwxyz");
  out.clear();
  const Bytes repeated = {0xFF, 0xFF, 0xFF, 0x1F, 'a', 'b', 'c', 0x17, 0, 0x0F, 0xFF, 0x26, 1};
  EXPECT_EQ(DecodePlainLz77(repeated, 300, out), repeated.size());
  EXPECT_EQ(std::string(out.begin(), out.begin() + 6), "abcabc");
  EXPECT_EQ(out.back(), 'c');
  out.clear();
  EXPECT_EQ(DecodePlainLz77(ByteView(repeated).first(9), 300, out), 0U);
  EXPECT_TRUE(out.empty());
}

TEST(Carve, CompressedClustersAndPages) {
  HiveBuilder builder;
  builder.BinSize(32768);
  for (int i = 0; i < 40; ++i) builder.Key("K" + std::to_string(i)).Binary("b", 900);
  builder.Key("Zeros").Value("z", 3, Bytes(100000));
  Bytes hive = builder.Build().bytes;
  const size_t length = hive.size();
  hive.resize((length + 65535) / 65536 * 65536);
  Bytes file = Filler(4096);
  for (size_t at = 0; at < hive.size(); at += 65536) {
    const ByteView unit = ByteView(hive).subspan(at, 65536);
    const Bytes packed = PackedUnit(unit);
    file = Joined({file, packed.size() < 65536 ? packed : Bytes(unit.begin(), unit.end())});
  }
  const TempFile image(file);
  CarvedFile carved = CarveFile(image.name(), {});
  std::string fault;
  WriteCarved(carved, {image.folder() + "/out", false}, fault);
  const auto packed = std::ranges::find(carved.found, CarvedKind::kPacked, &Carved::kind);
  ASSERT_NE(packed, carved.found.end()) << RowsOf(carved);
  EXPECT_EQ(packed->parts[0].position, 4096U);
  EXPECT_EQ(packed->keys, 42U);
  Bytes unpacked = ContentOf<Bytes>(packed->file);
  ASSERT_GE(unpacked.size(), length) << packed->why;
  unpacked.resize(length);
  hive.resize(length);
  EXPECT_EQ(unpacked, hive);
}

// --- made to hurt --------------------------------------------------------------------------------

// Each block claims all to the file's end, and its cells jump over the headers of the next ones.
Bytes BlocksThatClaimTheRest(uint32_t pages) {
  Bytes file(size_t{pages} * kPage);
  for (uint32_t page = 0; page < pages; ++page) {
    const uint32_t at = page * kPage;
    PutU32(file, at, 0x6E696268);  // "hbin"
    PutU32(file, at + 4, page * kPage);
    PutU32(file, at + 8, (pages - page) * kPage);
    PutU32(file, at + 32, 0U - kPage);
  }
  return file;
}

// Each sector is a chunk that becomes a page and begins a base block, and no block is after it.
Bytes StartsOfPackedFiles(uint32_t sectors) {
  Bytes chunk;
  for (uint32_t literals = 0; chunk.size() < 512; ++literals) {
    Bytes page(kPage, 'z');
    std::ranges::copy(std::string_view("regf"), page.begin());
    for (uint32_t i = 0; i < literals; ++i) page[4 + i] = static_cast<uint8_t>(i);
    chunk = PackedChunk(page);
  }
  EXPECT_EQ(chunk.size(), 512U);
  Bytes file;
  for (uint32_t i = 0; i < sectors; ++i) file.insert(file.end(), chunk.begin(), chunk.end());
  return file;
}

TEST(Carve, TimeGrowsWithTheFile) {
  const Deadline limit;
  const CarvedFile blocks = CarvedOfBytes(BlocksThatClaimTheRest(5000));
  ASSERT_EQ(blocks.found.size(), 1U);
  EXPECT_EQ(blocks.found[0].length, 5000U * kPage);
  EXPECT_EQ(RowsOf(CarvedOfBytes(StartsOfPackedFiles(4000))), "");
}

}  // namespace
}  // namespace hivequarry::testing
