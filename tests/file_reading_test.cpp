// Files on media that do not give every byte.
#include "host/file_reading.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "app/list_words.h"
#include "app/opening_words.h"
#include "host/files.h"
#include "host/shortfalls.h"
#include "lists/output_list.h"
#include "reports/hive_lists.h"
#include "tests/support/opened_hive.h"
#include "tests/support/texts.h"

namespace hivequarry::testing {
namespace {

TEST(FileNames, LongOnesGetThePrefixThatLiftsTheLimit) {
  const std::u16string folder(250, u'f');
  const struct {
    std::u16string name, unlimited;
  } cases[] = {
      {u"C:\\short", u"C:\\short"},
      {u"C:\\" + folder + u"/x", u"\\\\?\\C:\\" + folder + u"\\x"},
      {u"\\\\server\\" + folder, u"\\\\?\\UNC\\server\\" + folder},
      {u"\\\\?\\C:\\" + folder, u"\\\\?\\C:\\" + folder},
      {u"C:\\" + folder + u"\\..\\x", u"C:\\" + folder + u"\\..\\x"},
      {folder, folder},
  };
  for (const auto& c : cases) EXPECT_TRUE(UnlimitedName(c.name) == c.unlimited);
  EXPECT_EQ(LimitedName("\\\\?\\C:\\case\\SAM"), "C:\\case\\SAM");
  EXPECT_EQ(LimitedName("\\\\?\\UNC\\server\\case"), "\\\\server\\case");
  EXPECT_EQ(LimitedName("\\\\server\\case"), "\\\\server\\case");
}

TEST(FileNames, FilesOfAFolderAreNamedWithinIt) {
  const struct {
    const char *folder, *name, *within;
  } cases[] = {
      {"machine", "machine/SAM", "SAM"},
      {"machine/", "machine/config/SAM", "config/SAM"},
      {".", "./SAM", "SAM"},
      {"/a/../b", "/a/../b/c/NTUSER.DAT", "c/NTUSER.DAT"},
  };
  for (const auto& c : cases) EXPECT_EQ(NameWithin(c.folder, c.name), c.within) << c.name;
}

// A medium that has lost stretches of whatever is read from it.
class LossyMedium {
 public:
  explicit LossyMedium(std::vector<FileRange> lost, int error = EIO) {
    lost_ = std::move(lost);
    error_ = error;
    sound_ = TheFileReader().read;
    TheFileReader().read = Read;
    ForgetShortfalls();
  }
  ~LossyMedium() { TheFileReader().read = sound_; }
  LossyMedium(const LossyMedium&) = delete;
  LossyMedium& operator=(const LossyMedium&) = delete;

 private:
  // What lies before a lost stretch comes.
  static size_t Read(std::FILE* stream, uint64_t position, uint8_t* out, size_t size, int& error) {
    size_t kept = size;
    for (const FileRange& range : lost_) {
      const bool met = range.position < position + kept && position < range.position + range.size;
      if (met) kept = position < range.position ? range.position - position : 0;
    }
    const size_t got = kept == 0 ? 0 : sound_(stream, position, out, kept, error);
    if (got == kept && kept < size) error = error_;
    return got;
  }

  static inline std::vector<FileRange> lost_;
  static inline int error_ = EIO;
  static inline size_t (*sound_)(std::FILE*, uint64_t, uint8_t*, size_t, int&) = nullptr;
};

TEST(FileReading, GoesOnBehindWhatIsLost) {
  constexpr uint64_t kSize = 100'000;
  Bytes bytes(kSize);
  for (size_t i = 0; i < kSize; ++i) bytes[i] = static_cast<uint8_t>(1 + i % 255);
  const TempFile file(bytes);
  struct Case {
    std::vector<FileRange> lost;
    const char* unread;
  };
  const Case cases[] = {
      {{}, ""},
      {{{0, 512}}, "0x00000000-0x000001FF"},
      {{{5120, 1024}}, "0x00001400-0x000017FF"},
      {{{5121, 1}, {70'000, 10'000}}, "0x00001401-0x000015FF, 0x00011170-0x000139FF"},
      {{{99'999, 1}}, "0x0001869F-0x0001869F"},
      {{{0, kSize}}, "0x00000000-0x0001869F"},
      // A medium that gives neither bytes nor a reason.
      {{{5120, 1024}}, "0x00001400-0x000017FF"}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.unread);
    const LossyMedium medium(c.lost, &c == std::end(cases) - 1 ? 0 : EIO);
    int error = 0;
    std::FILE* stream = OpenFile(file.name(), "rb", error);
    ASSERT_NE(stream, nullptr);
    Bytes read(kSize + 5000, 0xFF);
    UnreadBytes unread;
    EXPECT_EQ(ReadFileBytes(stream, 0, read.data(), read.size(), &unread), kSize);
    std::fclose(stream);
    EXPECT_EQ(UnreadRangesText(unread), c.unread);
    uint64_t zeros = 0;
    for (size_t i = 0; i < kSize; ++i) {
      ASSERT_TRUE(read[i] == 0 || read[i] == bytes[i]) << i;
      zeros += read[i] == 0;
    }
    EXPECT_EQ(zeros, unread.count);
    EXPECT_EQ(read[kSize], 0xFF) << "nothing after the end";
  }
}

TEST(FileReading, AHiveWithLostSectors) {
  HiveBuilder builder;
  for (int i = 0; i < 60; ++i) builder.Key("K" + std::to_string(i)).Binary("v", 1000);
  const BuiltHive hive = builder.Build();
  const uint64_t data = hive.DataPosition("K30", "v") + 8;
  const uint64_t first = data / 512 * 512;
  const Bytes file = Embedded(hive.bytes, 1024, 0);  // the hive begins at 1024
  const LossyMedium medium({{100, 1}, {1024 + first, 1}});
  OpenedHive opened{std::span<const uint8_t>(file)};
  EXPECT_EQ(opened.hive.base_offset, 1024u);
  const std::string ranges =
      Formatted("0x00000000-0x000001FF, 0x%08zX-0x%08zX", static_cast<size_t>(1024 + first),
                static_cast<size_t>(1024 + first + 511));
  EXPECT_EQ(opened.summary.keys, 61u);
  EXPECT_EQ(ReadU8(opened.hive, static_cast<uint32_t>(first)), 0u);
  EXPECT_EQ(ShortfallCount(Shortfall::kUnreadBytes), opened.hive.unread.count);
  ASSERT_EQ(opened.host.messages.size(), 1u);
  const std::string& told = opened.host.messages[0].text;
  EXPECT_NE(told.find(" byte(s) of "), told.npos) << told;
  EXPECT_NE(told.find("(Input/output error)"), told.npos) << told;
  const OutputListPtr info =
      ListImageInfo(opened.hive, opened.summary, FreedRecords(), LayerCounts());
  EXPECT_EQ(CellText(*info, 0, 21), std::to_string(opened.hive.unread.count));
  EXPECT_TRUE(ranges.ends_with(std::string(CellText(*info, 0, 22)))) << CellText(*info, 0, 22);
}

TEST(FileReading, NothingOfAHive) {
  const TempFile file(HiveBuilder().Build().bytes);
  const LossyMedium medium({{0, 1 << 20}});
  const HostRecorder host;
  EXPECT_EQ(OpenHiveAndTell(file.name()), -1);
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_EQ(host.messages[0].text, "Can not open " + file.name() + "\r\n(Input/output error)");
}

TEST(FileReading, PiecesWithLostSectors) {
  const Bytes hive = HiveBuilder().Build().bytes;
  const TempFile file(Joined({hive, hive}));
  const LossyMedium medium({{0x1600, 1}});
  const HostRecorder host;
  const OutputListPtr list = ListBlockRunsAndTell(file.name());
  EXPECT_EQ(ShortfallCount(Shortfall::kUnreadBytes), 512u);
  ASSERT_EQ(host.messages.size(), 1u);
  EXPECT_TRUE(host.messages[0].text.ends_with(": 0x00001600-0x000017FF"));
  ASSERT_EQ(RowCount(*list), 2u);
  EXPECT_FALSE(SplitFileAndTell(*list)) << "one is not whole";
  Bytes holed = hive;
  std::fill_n(holed.begin() + 0x1600, 512, uint8_t{0});
  EXPECT_EQ(ContentOf<Bytes>(file.name() + ".sp_01"), holed);
  EXPECT_EQ(ContentOf<Bytes>(file.name() + ".sp_02"), hive);
}

}  // namespace
}  // namespace hivequarry::testing
