#include "host/view/RetentionReport.h"

#include <gtest/gtest.h>

#include <sstream>

#include "tests/host/UtcZone.h"

using nlohmann::json;

namespace {

class RetentionReportTest : public UtcZone {
 protected:
  static RetentionRun::Deletion slice() {
    StoredPiece piece;
    piece.session = 12;
    piece.stream = 3;
    piece.slice = 4;
    piece.start = 1767348000;
    piece.end = 1767348060;
    piece.bytes = 2048;
    piece.path = "/srv/cam/2026/01/02/record_ktr_cam_R12_F4.dat";
    return {piece, "older than 1d"};
  }

  void print(bool asJson, bool dryRun, const std::string& problem = "") {
    RetentionReport report(out_, err_, asJson);
    report.add(slice());
    RetentionRun::Result result;
    result.deletions = 1;
    result.deletedBytes = 2048;
    result.problem = problem;
    report.finish("cam", dryRun, result);
  }

  std::ostringstream out_;
  std::ostringstream err_;
};

}  // namespace

TEST_F(RetentionReportTest, PrintsALineADeletionAndASum) {
  print(false, false);
  EXPECT_EQ(
      "deleted slice 4 of session 12, stream 3, 2026-01-02 10:00:00 to 2026-01-02 10:01:00: "
      "2.0 KiB: older than 1d\n",
      out_.str());
  EXPECT_EQ("deleted 1 piece, 2.0 KiB\n", err_.str());
}

TEST_F(RetentionReportTest, ADryRunHasTheSameLines) {
  print(false, false);
  const std::string lines = out_.str();
  out_.str("");
  err_.str("");
  print(false, true);
  EXPECT_EQ(lines, out_.str());
  EXPECT_EQ("would delete 1 piece, 2.0 KiB\n", err_.str());
}

TEST_F(RetentionReportTest, PrintsTheProblem) {
  print(false, false, "the disk is full: make room");
  EXPECT_EQ("deleted 1 piece, 2.0 KiB\nktr: the disk is full: make room\n", err_.str());
}

TEST_F(RetentionReportTest, PrintsAllAsJson) {
  print(true, true);
  const json report = json::parse(out_.str());
  EXPECT_EQ("cam", report["recorder"]);
  EXPECT_EQ(true, report["dryRun"]);
  EXPECT_EQ(2048, report["deletedBytes"]);
  const json& entry = report["deleted"][0];
  EXPECT_EQ("slice", entry["what"]);
  EXPECT_EQ(12, entry["session"]);
  EXPECT_EQ(4, entry["slice"]);
  EXPECT_EQ(2048, entry["bytes"]);
  EXPECT_EQ("older than 1d", entry["reason"]);
  EXPECT_EQ("", err_.str());
}
