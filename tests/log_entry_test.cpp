// Entries of logs: the hash, and what makes one that does not hold.
#include "records/log_entry.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/log_writer.h"

namespace hivequarry {
namespace {

using testing::Bytes;

Bytes CountedBytes(size_t count) {
  Bytes bytes;
  for (size_t i = 0; i < count; ++i) bytes.push_back(static_cast<uint8_t>(i));
  return bytes;
}

TEST(LogEntryTest, HashOfBytes) {
  const Bytes text = {'a', 'b', 'c', 'd'};
  EXPECT_EQ(LogHash({}), 0xB39EFCA403966E08);
  EXPECT_EQ(LogHash(text), 0x20094FB11A6CD086);
  EXPECT_EQ(LogHash(Bytes(32)), 0xDA91A06AC5359223);
  EXPECT_EQ(LogHash(CountedBytes(32)), 0xC64FEEE425C2E24C);
}

// The header of an entry that a system wrote; its second hash covers the first.
TEST(LogEntryTest, HeaderAsASystemWroteIt) {
  const Bytes entry = {0x48, 0x76, 0x4C, 0x45, 0x00, 0x1E, 0x00, 0x00, 0x00, 0x00,
                       0x00, 0x00, 0x03, 0x00, 0x00, 0x00, 0x00, 0x50, 0x00, 0x00,
                       0x01, 0x00, 0x00, 0x00, 0x5D, 0x1E, 0x70, 0x07, 0x17, 0xA8,
                       0x46, 0x47, 0x67, 0x72, 0x87, 0xF6, 0xAF, 0xDC, 0x37, 0xE6};
  LogEntryHeader header;
  EXPECT_EQ(CheckLogEntry(entry, 0, header), LogEntryFault::kPastEnd);
  EXPECT_EQ(header.size, 7680U);
  EXPECT_EQ(header.sequence, 3U);
  EXPECT_EQ(header.bins_size, 20480U);
  EXPECT_EQ(header.pages, 1U);
  EXPECT_EQ(header.hash2, 0xE637DCAFF6877267);
}

struct Case {
  const char* name;
  void (*damage)(testing::LogEntrySpec& entry);
  LogEntryFault fault;
};

constexpr Case kLogEntryCases[] = {
    {"sound", [](testing::LogEntrySpec&) {}, LogEntryFault::kNone},
    {"size of 0", [](testing::LogEntrySpec& e) { e.size = 0; }, LogEntryFault::kSize},
    {"size no multiple", [](testing::LogEntrySpec& e) { e.size = 5000; }, LogEntryFault::kSize},
    {"size beyond the file", [](testing::LogEntrySpec& e) { e.size = 0xFFFFFE00; },
     LogEntryFault::kPastEnd},
    {"bins size", [](testing::LogEntrySpec& e) { e.bins_size = 8193; }, LogEntryFault::kBinsSize},
    {"bins beyond offsets", [](testing::LogEntrySpec& e) { e.bins_size = 0x80000000; },
     LogEntryFault::kBinsSize},
    {"no pages", [](testing::LogEntrySpec& e) { e.page_count = 0; }, LogEntryFault::kPages},
    {"2^32 pages", [](testing::LogEntrySpec& e) { e.page_count = 0xFFFFFFFF; },
     LogEntryFault::kPages},
    {"pages beyond the entry",
     [](testing::LogEntrySpec& e) {
       e.bins_size = 65536;
       e.pages[0].claimed = 8192;
     },
     LogEntryFault::kPages},
    {"page beyond the bins", [](testing::LogEntrySpec& e) { e.pages[0].offset = 8192; },
     LogEntryFault::kPagePlace},
    {"offset that wraps", [](testing::LogEntrySpec& e) { e.pages[0].offset = 0xFFFFF000; },
     LogEntryFault::kPagePlace},
    {"size that wraps", [](testing::LogEntrySpec& e) { e.pages[0].claimed = 0xFFFFFFFF; },
     LogEntryFault::kPagePlace},
    {"first page is no block", [](testing::LogEntrySpec& e) { e.pages[0].offset = 0; },
     LogEntryFault::kFirstBlock},
};

TEST(LogEntryTest, FaultsOfEntriesWithRightHashes) {
  for (const Case& each : kLogEntryCases) {
    SCOPED_TRACE(each.name);
    testing::LogEntrySpec entry;
    entry.bins_size = 8192;
    entry.pages.push_back({4096, Bytes(4096, 0x11), {}});
    each.damage(entry);
    LogEntryHeader header;
    EXPECT_EQ(CheckLogEntry(testing::LogEntryBytes(entry), 0, header), each.fault);
  }
}

TEST(LogEntryTest, FlippedBitsAreFound) {
  testing::LogEntrySpec entry;
  entry.pages.push_back({4096, Bytes(4096, 0x11), {}});
  const Bytes sound = testing::LogEntryBytes(entry);
  LogEntryHeader header;
  struct Flip {
    size_t at;
    LogEntryFault fault;
  };
  for (const Flip& flip : {Flip{0, LogEntryFault::kSignature}, Flip{12, LogEntryFault::kHeaderHash},
                           Flip{24, LogEntryFault::kHeaderHash}, Flip{40, LogEntryFault::kDataHash},
                           Flip{4000, LogEntryFault::kDataHash}}) {
    Bytes bytes = sound;
    bytes[flip.at] ^= 1;
    EXPECT_EQ(CheckLogEntry(bytes, 0, header), flip.fault) << flip.at;
  }
}

}  // namespace
}  // namespace hivequarry
