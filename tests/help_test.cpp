// The help file that the manual makes, and the way to its topics.
#include <gtest/gtest.h>

#include <cstdlib>
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
  const std::string line = "python3 " + kSource + "/ui/make_help.py " + manual + " " + out.name() +
                           " 2>" + out.name() + ".said";
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
      {"a &b <2> `<&x>`\n*s* **b `*`** 3 * 4 par_rep \\*",
       "<p>a &amp;b &lt;2&gt; <code>&lt;&amp;x&gt;</code>\n<em>s</em> "
       "<strong>b <code>*</code></strong> 3 * 4 par_rep *</p>"},
      {"3. a\n   b\n\n   c\n4. d\n   - e\n",
       "<ol start=\"3\">\n<li><p>a\nb</p>\n<p>c</p></li>\n"
       "<li><p>d</p>\n<ul>\n<li>e</li>\n</ul></li>\n</ol>"},
      {"| a | b |\n|--:|---|\n| `x\\|y` |  |",
       "<div class=\"wide\"><table>\n<thead><tr><th class=\"right\">a</th><th>b</th></tr></thead>\n"
       "<tbody>\n<tr><td class=\"right\"><code>x|y</code></td><td></td></tr>\n</tbody>\n"
       "</table></div>"},
      {"```sh\n<a>\n\n  *b\n```", "<pre><code>&lt;a&gt;\n\n  *b\n</code></pre>"},
      {"## A, b \"c\"?\n## A b c\n[x](#a-b-c-1) [y](other.md) [z](http://h/)",
       "<h2 id=\"a-b-c\">A, b &quot;c&quot;?</h2>\n<h2 id=\"a-b-c-1\">A b c</h2>\n"
       "<p><a href=\"#a-b-c-1\">x</a> y <a href=\"http://h/\">z</a></p>"},
      {"![not `there`](none.png)", "<p>not there</p>"},
      {"> a\n>\n> b  \n> c\n\n---", "<blockquote>\n<p>a</p>\n<p>b<br>\nc</p>\n</blockquote>\n<hr>"},
  };
  for (const auto& c : cases) EXPECT_EQ(BodyOf(c.text), c.html);
  const std::string picture = "![w](" + kSource + "/docs/case-open.png)";
  EXPECT_EQ(BodyOf(picture.c_str()).find("<p><img alt=\"w\" src=\"data:image/png;base64,iVBOR"),
            0u);
}

TEST(HelpTest, RefusesWhatItDoesNotKnow) {
  const char* const cases[] = {"<b>x</b>",
                               "a <!-- b -->",
                               "    code",
                               "a\n===",
                               "a\n---",
                               "a `b",
                               "```\nopen",
                               "[a][b]",
                               "[a](#none)",
                               "[a](x y)",
                               "[a]: b",
                               "&copy;",
                               "| a |\n|---|\n|1|2|",
                               "#x",
                               "## A\n#### B",
                               "# Second",
                               "**a",
                               "__a__",
                               "- a\nb",
                               "+ a",
                               "~~a~~",
                               "a\tb",
                               "> [!NOTE]",
                               "- [ ] a"};
  for (const char* text : cases) {
    std::string said;
    const TempFile manual("# T\n\n" + std::string(text) + "\n");
    EXPECT_EQ(MakeHelp(manual.name(), &said), "") << text;
    EXPECT_NE(said.find(": not understood: "), said.npos) << text << said;
  }
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
