#include "lists/list_print.h"

#include <gtest/gtest.h>

namespace hivequarry {
namespace {

// A page on which every character is 10 units wide and 20 high; writes down what happens.
struct Paper {
  std::string log;
  int pages_left = 100;
};
Paper& PaperOf(void* context) { return *static_cast<Paper*>(context); }

PrintDevice DeviceFor(Paper& paper, int width, int height, int line_height = 20) {
  static int high = 0;
  high = line_height;
  PrintDevice device;
  device.context = &paper;
  device.width = width;
  device.height = height;
  device.text_width = [](void*, std::string_view text) {
    return static_cast<int>(text.size()) * 10;
  };
  device.text_height = [](void*, std::string_view) { return high; };
  device.fitting = [](void*, std::string_view, int room) { return room / 10; };
  device.start_page = [](void* context) { return PaperOf(context).pages_left-- > 0; };
  device.end_page = [](void* context) { return PaperOf(context).log += "end\n", true; };
  device.draw = [](void* context, int left, int top, std::string_view text) {
    PaperOf(context).log +=
        std::to_string(left) + "," + std::to_string(top) + " " + std::string(text) + "\n";
  };
  return device;
}

OutputListPtr Keys(const std::vector<std::string_view>& keys) {
  OutputListPtr list = MakeOutputList(51);
  for (const Cell cell : keys) AddRow(*list, {{&cell, 1}, 0, 0, false, {}});
  return list;
}

TEST(PrintTest, Geometry) {
  // Edges 40, 600, 40, 760; the page number at 20.
  Paper paper;
  const OutputListPtr list = Keys({"a", "b"});
  SetListSubtitle(*list, "From HKLM");
  EXPECT_EQ(PrintList(*list, {}, DeviceFor(paper, 640, 800)), 1);
  EXPECT_EQ(paper.log,
            "550,20 - 1 -\n40,60 From HKLM\n40,80 Number of Items : 2\n"
            "40,120 Key: a\n40,160 Key: b\nend\n");
}

TEST(PrintTest, LongLinesGoOnBehindAnIndent) {
  // 56 characters a line; "Http:" is as wide as five blanks.
  Paper paper;
  const std::string key = std::string(51, 'a') + std::string(51, 'b') + "cd";
  const uint32_t rows[] = {0};
  EXPECT_EQ(PrintList(*Keys({key}), {rows, true, true}, DeviceFor(paper, 640, 800)), 1);
  EXPECT_EQ(paper.log, "550,20 - 1 -\n40,60 Key: " + std::string(51, 'a') + "\n40,80      " +
                           std::string(51, 'b') + "\n40,100      cd\nend\n");
}

TEST(PrintTest, Pages) {
  // 36 lines a page, of which the first loses one and the list's head two; a row takes two. The
  // empty line of the row before a page's end is on the next page.
  Paper paper;
  const OutputListPtr list = Keys(std::vector<std::string_view>(34, "k"));
  EXPECT_EQ(PrintList(*list, {}, DeviceFor(paper, 640, 800)), 2);
  EXPECT_NE(paper.log.find("40,740 Key: k\nend\n550,20 - 2 -\n40,60 Key: k\n"), std::string::npos)
      << paper.log;
  // At the list's end it starts no page.
  Paper even;
  const uint32_t rows[18] = {};
  EXPECT_EQ(PrintList(*list, {rows, true, true}, DeviceFor(even, 640, 800)), 1);
}

TEST(PrintTest, WhatIsNotPrinted) {
  Paper paper;
  const OutputListPtr list = Keys({"a"});
  EXPECT_EQ(PrintList(*list, {}, DeviceFor(paper, 227, 800)), 0) << "199 units wide";
  EXPECT_EQ(PrintList(*list, {}, DeviceFor(paper, 640, 220)), 0) << "198 units high";
  EXPECT_EQ(PrintList(*Keys({}), {}, DeviceFor(paper, 640, 800)), 0);
  EXPECT_EQ(paper.log, "");
  EXPECT_EQ(PrintList(*list, {}, DeviceFor(paper, 640, 800, 21)), 1);
  EXPECT_EQ(paper.log.find("- 1 -"), std::string::npos) << "the footer line has no room";
  paper.pages_left = 1;
  EXPECT_EQ(
      PrintList(*Keys(std::vector<std::string_view>(100, "k")), {}, DeviceFor(paper, 640, 800)), 1);
  EXPECT_TRUE(paper.log.ends_with("end\n"));
}

}  // namespace
}  // namespace hivequarry
