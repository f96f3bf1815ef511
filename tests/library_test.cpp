// The interface in C, as a program of somebody else's meets it.
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <deque>
#include <fstream>
#include <string>

#include "host/host.h"
#include "library/hivequarry.h"
#include "tests/support/hive_builder.h"
#include "tests/support/sample_hives.h"
#include "tests/support/texts.h"

namespace hivequarry::testing {
namespace {

struct LibraryHive {
  explicit LibraryHive(const std::string& name, hq_logs logs = HQ_LOGS_AUTO)
      : status(hq_open(name.c_str(), logs, &hive)) {}
  ~LibraryHive() {
    hq_close(hive);
    SetHost(NullHost());
  }
  LibraryHive(const LibraryHive&) = delete;
  LibraryHive& operator=(const LibraryHive&) = delete;

  hq_hive* hive = nullptr;
  hq_status status;
};

// Asks for the length first, as a caller with rows of any length does.
template <typename Function, typename... Of>
std::string TextOf(Function function, Of... of) {
  std::string text(function(of..., nullptr, 0), '\0');
  EXPECT_EQ(function(of..., text.data(), text.size() + 1), text.size());
  return text;
}

BuiltHive SmallHive() {
  HiveBuilder builder;
  builder.Key("A").Sz("text", "one").Dword("", 7).Binary("big", 20000);
  builder.Key("A\\B\xC3\xA4").Time(kDefaultTime + 10);
  return builder.Build();
}

TEST(Library, KeysAndValues) {
  const BuiltHive built = SmallHive();
  const TempFile file(built.bytes);
  const LibraryHive opened(file.name());
  ASSERT_EQ(opened.status, HQ_OK);
  hq_hive* const hive = opened.hive;
  EXPECT_EQ(TextOf(hq_notices, hive), "");
  hq_summary summary;
  hq_summarize(hive, &summary);
  EXPECT_EQ(summary.keys, 3U);
  EXPECT_EQ(summary.disconnected_keys, 0U);
  EXPECT_EQ(summary.length, built.bytes.size());
  EXPECT_EQ(summary.dirty, 0);
  const hq_key key = hq_find(hive, "a");
  ASSERT_NE(key, HQ_NO_KEY);
  EXPECT_EQ(hq_parent(hive, key), 0U);
  EXPECT_EQ(hq_first_child(hive, 0), key);
  const hq_key below = hq_first_child(hive, key);
  EXPECT_EQ(TextOf(hq_key_name, hive, below), "B\xC3\xA4");
  EXPECT_TRUE(TextOf(hq_key_path, hive, below).ends_with("\\A\\B\xC3\xA4"));
  EXPECT_EQ(TextOf(hq_key_status, hive, below), "");
  EXPECT_EQ(hq_next_sibling(hive, below), HQ_NO_KEY);
  hq_key_info info;
  ASSERT_TRUE(hq_key_info_of(hive, below, &info));
  EXPECT_EQ(info.last_write, kDefaultTime + 10);
  EXPECT_EQ(info.flags, 0U);
  ASSERT_TRUE(hq_key_info_of(hive, key, &info));
  ASSERT_EQ(info.values, 3U);
  uint8_t bytes[2] = {};
  EXPECT_EQ(hq_bytes(hive, info.position + 4, bytes, 2), 2U);
  EXPECT_EQ(std::string(bytes, bytes + 2), "nk");
  const struct {
    const char* name;
    uint32_t type;
    uint32_t size;
  } values[] = {{"text", 1, 8}, {"", 4, 4}, {"big", 3, 20000}};
  for (uint32_t i = 0; i < 3; ++i) {
    hq_value_info value;
    ASSERT_TRUE(hq_value_info_of(hive, key, i, &value));
    EXPECT_EQ(TextOf(hq_value_name, hive, key, i), values[i].name);
    EXPECT_EQ(value.type, values[i].type);
    EXPECT_EQ(value.size, values[i].size);
    EXPECT_TRUE(value.readable);
    EXPECT_EQ(hq_value_data(hive, key, i, nullptr, 0), values[i].size);
  }
  uint8_t data[4] = {};
  EXPECT_EQ(hq_value_data(hive, key, 1, data, sizeof data), 4U);
  EXPECT_EQ(data[0], 7);
}

// Whatever is asked for, what is not there is empty, and no byte beyond `size` is touched.
TEST(Library, WhatIsNotThere) {
  const TempFile file(SmallHive().bytes);
  const LibraryHive opened(file.name());
  ASSERT_EQ(opened.status, HQ_OK);
  hq_key_info key;
  hq_value_info value;
  EXPECT_FALSE(hq_key_info_of(opened.hive, HQ_NO_KEY, &key));
  EXPECT_EQ(key.position, HQ_NO_POSITION);
  EXPECT_FALSE(hq_value_info_of(opened.hive, 0, 0, &value));
  EXPECT_FALSE(hq_value_info_of(opened.hive, 99, 0, &value));
  EXPECT_EQ(hq_find(opened.hive, "A\\none"), HQ_NO_KEY);
  EXPECT_EQ(hq_first_child(opened.hive, 99), HQ_NO_KEY);
  char out[4] = {'x', 'x', 'x', 'x'};
  EXPECT_EQ(hq_key_name(opened.hive, 99, out, sizeof out), 0U);
  EXPECT_EQ(out[0], 0);
  EXPECT_EQ(hq_key_name(opened.hive, hq_find(opened.hive, "A\\B\xC3\xA4"), out, 2), 3U);
  EXPECT_STREQ(out, "B");
  EXPECT_EQ(out[2], 'x');
  EXPECT_EQ(hq_bytes(opened.hive, uint64_t{1} << 40, out, 4), 0U);
  const LibraryHive none(file.folder() + "/none");
  EXPECT_EQ(none.status, HQ_CANNOT_OPEN);
  EXPECT_EQ(hq_open_error(), ENOENT);
  EXPECT_EQ(none.hive, nullptr);
  {
    std::deque<LibraryHive> all;
    while (all.size() < 100 && all.emplace_back(file.name()).status == HQ_OK) {
    }
    EXPECT_EQ(all.back().status, HQ_TOO_MANY);
    EXPECT_EQ(hq_open_error(), ENOENT) << "that of the last that could not be opened";
  }
  const TempFile text(std::string_view("no hive at all"));
  EXPECT_EQ(LibraryHive(text.name()).status, HQ_NO_HIVE);
}

TEST(Library, RecoveredKeysAndFaults) {
  const TempFile file(DamagedSample());
  const LibraryHive opened(file.name());
  ASSERT_EQ(opened.status, HQ_OK);
  uint32_t recovered = 0;
  for (hq_key key = 0; key < hq_key_count(opened.hive); ++key) {
    hq_key_info info;
    ASSERT_TRUE(hq_key_info_of(opened.hive, key, &info));
    const bool told = !TextOf(hq_key_status, opened.hive, key).empty();
    recovered += (info.flags & HQ_KEY_RECOVERED) != 0 && told ? 1 : 0;
  }
  EXPECT_GT(recovered, 0U);
  struct Seen {
    int rows = 0;
    uint64_t position = 0;
  } seen;
  const auto count = [](void* context, const hq_finding* finding) {
    auto& told = *static_cast<Seen*>(context);
    EXPECT_GE(finding->position, told.position);
    EXPECT_NE(std::string(finding->what), "");
    told.position = finding->position;
    return ++told.rows < 3 ? 1 : 0;
  };
  EXPECT_EQ(hq_check(opened.hive, count, &seen), 2);
  EXPECT_EQ(seen.rows, 3);
  EXPECT_EQ(hq_check(opened.hive, nullptr, nullptr), 2);
}

// What a reader must know is told without being asked for.
TEST(Library, DirtyHivesAndLogs) {
  Bytes dirty = SmallHive().bytes;
  ++dirty[4];
  const TempFile file(dirty);
  const LibraryHive opened(file.name());
  ASSERT_EQ(opened.status, HQ_OK);
  EXPECT_NE(TextOf(hq_notices, opened.hive).find("Dirty hive"), std::string::npos);
  hq_summary summary;
  hq_summarize(opened.hive, &summary);
  EXPECT_EQ(summary.dirty, 1);
  EXPECT_EQ(summary.replayed, 0);
  Bytes log(2048);
  std::copy_n(dirty.begin(), 512, log.begin());
  std::ranges::copy(std::string_view("HvLE"), log.begin() + 512);
  const TempFile log_file(log);
  EXPECT_EQ(LibraryHive(log_file.name()).status, HQ_IS_LOG);
}

TEST(Library, SlotsAreGivenBack) {
  const TempFile file(SmallHive().bytes);
  for (int i = 0; i < 100; ++i) EXPECT_EQ(LibraryHive(file.name()).status, HQ_OK);
}

TEST(Library, TheExampleListsAHive) {
  const TempFile file(SmallHive().bytes);
  const std::string out = file.folder() + "/out";
  const std::string command = std::string(HIVEQUARRY_EXAMPLE) + " " + file.name() + " > " + out;
  ASSERT_EQ(std::system(command.c_str()), 0);
  const std::string listed = ContentOf<std::string>(out);
  EXPECT_NE(listed.find("\\A\n    text: type 1, 8 bytes\n    (default): type 4, 4 bytes\n"),
            std::string::npos)
      << listed;
}

}  // namespace
}  // namespace hivequarry::testing
