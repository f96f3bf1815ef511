// The help file that the manual makes, and the way to its topics.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "app/help_topics.h"
#include "tests/support/hive_builder.h"

namespace hivequarry {
namespace {

using testing::TempFile;

const std::string kSource = HIVEQUARRY_SOURCE_DIR;

// The page made of a manual; empty when it is refused, with what was said in `said`.
std::string MakeHelp(const std::string& manual, std::string* said = nullptr) {
  const TempFile out("");
  const std::string line = "python3 " + kSource + "/ui/resources/make_help.py " + manual + " " +
                           out.name() + " 2>" + out.name() + ".said";
  const bool made = std::system(line.c_str()) == 0;
  std::ifstream page(out.name());
  std::ifstream words(out.name() + ".said");
  if (said != nullptr) said->assign(std::istreambuf_iterator<char>(words), {});
  return made ? std::string(std::istreambuf_iterator<char>(page), {}) : std::string();
}

std::string BodyOf(const char* text) {
  const TempFile manual(std::string("# T\n") + text + "\n");
  const std::string page = MakeHelp(manual.name());
  const size_t start = page.find("</h1>\n");
  const size_t end = page.find("\n</main>");
  return end == page.npos ? "" : page.substr(start + 6, end - start - 6);
}

TEST(HelpTest, EveryTopicIsInTheManual) {
  const std::string page = MakeHelp(kSource + "/docs/manual.md");
  ASSERT_NE(page, "");
  for (const HelpPlace& place : HelpPlaces()) {
    const std::string anchor = place.anchor;
    const bool there = anchor.empty() || page.find(" id=\"" + anchor + "\">") != page.npos;
    EXPECT_TRUE(there) << place.topic << " " << anchor;
  }
}

TEST(HelpTest, Page) {
  const struct {
    const char* text;
    const char* html;
  } cases[] = {
      {"## A, b \"c\"?\n## A b c\n[x](#a-b-c-1) [y](other.md) [z](http://h/)",
       "<h2 id=\"a-b-c\">A, b &quot;c&quot;?</h2>\n<h2 id=\"a-b-c-1\">A b c</h2>\n"
       "<p><a href=\"#a-b-c-1\">x</a> y <a href=\"http://h/\">z</a></p>\n"},
      {"| a |\n|---|\n| `<x\\|y>` |",
       "<div class=\"wide\"><table>\n<thead>\n<tr>\n<th>a</th>\n</tr>\n</thead>\n"
       "<tbody>\n<tr>\n<td><code>&lt;x|y&gt;</code></td>\n</tr>\n</tbody>\n</table></div>\n"},
  };
  for (const auto& c : cases) EXPECT_EQ(BodyOf(c.text), c.html);
  const TempFile manual("# T\n![w](picture.png)\n");
  std::filesystem::copy_file(kSource + "/docs/case-open.png", manual.folder() + "/picture.png");
  EXPECT_NE(MakeHelp(manual.name()).find("<img src=\"data:image/png;base64,iVBOR"),
            std::string::npos);
}

TEST(HelpTest, RefusesWhatAReaderWouldMiss) {
  for (const char* text : {"<b>x</b>", "a <!-- b -->", "[a](#none)", "![a](none.png)"}) {
    std::string said;
    const TempFile manual("# T\n\n" + std::string(text) + "\n");
    EXPECT_EQ(MakeHelp(manual.name(), &said), "") << text;
    EXPECT_NE(said.find(": not taken: "), said.npos) << text << said;
  }
  const TempFile untitled("text\n");
  EXPECT_EQ(MakeHelp(untitled.name()), "");
}

TEST(HelpTest, Addresses) {
  const struct {
    const char *path, *anchor, *address;
  } cases[] = {
      {"C:\\a b\\x#1%.html", "", "file:///C:/a%20b/x%231%25.html"},
      {"C:\\\xC3\xA4\\x", "t-1", "file:///C:/%C3%A4/x#t-1"},
      {"\\\\host\\share\\x", "t", "file://host/share/x#t"},
      {"\\\\?\\C:\\x", "", "file:///C:/x"},
      {"\\\\?\\UNC\\host\\x", "", "file://host/x"},
  };
  for (const auto& c : cases) EXPECT_EQ(FileAddress(c.path, c.anchor), c.address);
  EXPECT_EQ(HelpFileOf("C:\\P\\a.exe"), "C:\\P\\hivequarry-help.html");
  EXPECT_EQ(HelpAnchor(255), "");
}

}  // namespace
}  // namespace hivequarry
