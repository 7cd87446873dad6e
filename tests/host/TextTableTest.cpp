#include "host/view/TextTable.h"

#include <gtest/gtest.h>

#include <sstream>

TEST(TextTableTest, AlignsColumnsWithoutBlanksAtLineEnds) {
  TextTable table({{"ID", TextTable::Right}, {"CODEC", TextTable::Left}, {"X", TextTable::Left}});
  table.addRow({"1", "h264 1280x720", ""});
  table.addRow({"123", "mjpeg", "stored"});
  std::ostringstream out;
  table.print(out);
  EXPECT_EQ(
      " ID  CODEC          X\n"
      "  1  h264 1280x720\n"
      "123  mjpeg          stored\n",
      out.str());
}

TEST(TextTableTest, PrintsTitlesOfAnEmptyTable) {
  std::ostringstream out;
  TextTable({{"ID", TextTable::Right}, {"STATE", TextTable::Left}}).print(out);
  EXPECT_EQ("ID  STATE\n", out.str());
}
