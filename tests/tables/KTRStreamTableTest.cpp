#include "tables/KTRStreamTable.h"

#include <vector>

#include "tests/support/DatabaseFixture.h"

namespace {

struct Frame {
  long time;
  unsigned char fileIndex;
  unsigned int offset;
  bool operator==(const Frame&) const = default;
};

const Frame UNTOUCHED{-7, 99, 98};

class KTRStreamTableTest : public DatabaseFixture {
 protected:
  KTRStreamTable table{7, connection()};

  unsigned int index(int session, long time, unsigned char slice, int offset, unsigned int delay) {
    KTRVideoStreamRow row;
    row.setValues(session, offset, time, slice, delay);
    return table.addRow(row);
  }
  // Three frames of the session and, between them, one of another session.
  void indexSomeFrames() {
    EXPECT_EQ(index(7, 100, 0, 10, 1), 0U);
    EXPECT_EQ(index(7, 110, 1, 20, 2), 0U);
    EXPECT_EQ(index(8, 115, 9, 90, 9), 0U);
    EXPECT_EQ(index(7, 120, 2, 30, 3), 0U);
    forget();
  }
  // What a lookup leaves in its outputs, which start as UNTOUCHED but for the time.
  Frame find(long time, bool fromStart, long span, bool found = true) {
    Frame frame{time, UNTOUCHED.fileIndex, UNTOUCHED.offset};
    EXPECT_EQ(table.getFileIndexNOffset(frame.time, frame.fileIndex, frame.offset, fromStart, span),
              found);
    return frame;
  }
};

TEST_F(KTRStreamTableTest, NamesItselfAndTheSharedTable) {
  EXPECT_STREQ(table.name(), "KTRStreamTable");
  EXPECT_EQ(table.getName(), KTString("dataStreams"));
  EXPECT_EQ(KTRStreamTable::createName(7), KTString("dataStreams"));
  EXPECT_EQ(KTRStreamTable::createName(0), KTString("dataStreams"));
  EXPECT_EQ(table.sessionID(), 7U);
}

TEST_F(KTRStreamTableTest, CreatesTheTableOnceForAllSessions) {
  EXPECT_TRUE(table.usable());
  indexSomeFrames();
  const KTRStreamTable other(8, connection());
  EXPECT_TRUE(other.usable());
  EXPECT_EQ(sentBeginningWith("CREATE"), 0U);
  EXPECT_EQ(server.value("SELECT count(*) FROM " + in("dataStreams")), "4");
}

TEST_F(KTRStreamTableTest, IsNotUsableWhenTheTableCannotBeCreated) {
  forget();
  const KTRStreamTable failed(7, nowhere());
  EXPECT_FALSE(failed.usable());
  EXPECT_TRUE(log.has(128, "[ KTRStreamTable constructor failed !!! ] "));
}

TEST_F(KTRStreamTableTest, DestructionKeepsTheRows) {
  indexSomeFrames();
  { const KTRStreamTable other(7, connection()); }
  EXPECT_EQ(server.value("SELECT count(*) FROM " + in("dataStreams")), "4");
}

TEST_F(KTRStreamTableTest, AddsARow) {
  EXPECT_EQ(index(7, 100, 255, 4096, 40000), 0U);
  EXPECT_EQ(sent("INSERT INTO dataStreams  (_id,_offset,_time,_fileIndex,_delayUsec) VALUES ( "
                 "7,4096,100,255,40000 ) "),
            1U);
  EXPECT_EQ(server.query("SELECT * FROM " + in("dataStreams")),
            (std::vector<MariaDbServer::Row>{{"7", "4096", "100", "255", "40000"}}));
}

TEST_F(KTRStreamTableTest, TheFirstRowOfASecondStays) {
  EXPECT_EQ(index(7, 100, 0, 10, 1), 0U);
  EXPECT_EQ(index(7, 100, 0, 20, 2), 0U);
  EXPECT_EQ(server.value("SELECT _offset FROM " + in("dataStreams")), "10");
}

TEST_F(KTRStreamTableTest, AddingToAMissingTableFails) {
  server.exec("DROP TABLE " + in("dataStreams"));
  EXPECT_EQ(index(7, 100, 0, 10, 1), 1U);
}

TEST_F(KTRStreamTableTest, FromTheStartFindsTheFirstFrameAtOrAfterATime) {
  indexSomeFrames();
  EXPECT_EQ(find(101, true, 0), (Frame{110, 1, 20}));
  EXPECT_EQ(sent("SELECT _offset,_fileIndex,_time FROM dataStreams WHERE _id=7 AND _time>=101 "
                 "ORDER BY  _time LIMIT 1"),
            1U);
  EXPECT_EQ(find(110, true, 0), (Frame{110, 1, 20}));
}

TEST_F(KTRStreamTableTest, FromTheStartAsksTwiceAfterTheLastFrame) {
  indexSomeFrames();
  EXPECT_EQ(find(121, true, 60, false), (Frame{121, UNTOUCHED.fileIndex, UNTOUCHED.offset}));
  EXPECT_EQ(sent("SELECT _offset,_fileIndex,_time FROM dataStreams WHERE _id=7 AND _time>=121 "
                 "ORDER BY  _time LIMIT 1"),
            2U);
  EXPECT_EQ(calls.statements().size(), 2U);
}

TEST_F(KTRStreamTableTest, AWindowIncludesBothItsEnds) {
  indexSomeFrames();
  EXPECT_EQ(find(110, false, 0), (Frame{110, 1, 20}));
  EXPECT_EQ(find(111, false, 9), (Frame{120, 2, 30}));
  EXPECT_EQ(sent("SELECT _offset,_fileIndex,_time FROM dataStreams WHERE _id=7 AND _time>=111 and "
                 "_time<=120 ORDER BY  _time LIMIT 1"),
            1U);
  EXPECT_EQ(calls.statements().size(), 2U);
}

TEST_F(KTRStreamTableTest, AnEmptyWindowFallsBackToTheLastFrameBeforeItAndFiveSeconds) {
  indexSomeFrames();
  EXPECT_EQ(find(111, false, 3), (Frame{110, 1, 20}));
  EXPECT_EQ(
      sent("SELECT _offset,_fileIndex,_time FROM dataStreams WHERE _id=7 AND _time<=119 ORDER "
           "BY  _time DESC LIMIT 1"),
      1U);
  EXPECT_EQ(find(111, false, 4), (Frame{120, 2, 30}));  // 111 + 4 + 5
  EXPECT_EQ(find(500, false, 10), (Frame{120, 2, 30}));
}

TEST_F(KTRStreamTableTest, AFailedLookupLeavesTheOutputsAndLogsNothing) {
  indexSomeFrames();
  EXPECT_EQ(find(50, false, 10, false), (Frame{50, UNTOUCHED.fileIndex, UNTOUCHED.offset}));
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(KTRStreamTableTest, StepsForwardPastTheTarget) {
  indexSomeFrames();
  int first = -1, second = -1;
  EXPECT_TRUE(table.getStreamIndexesList(100, 10, first, second));
  EXPECT_EQ(first, 120);
  EXPECT_EQ(second, 7);
  EXPECT_EQ(sent("SELECT * FROM dataStreams WHERE _id=7 AND _time>110 ORDER BY _time LIMIT 1"), 1U);
  EXPECT_TRUE(log.has(128, "REWIND "));
}

TEST_F(KTRStreamTableTest, StepsBackBeforeTheTarget) {
  indexSomeFrames();
  int first = -1, second = -1;
  EXPECT_TRUE(table.getStreamIndexesList(130, -10, first, second));
  EXPECT_EQ(first, 110);
  EXPECT_EQ(second, 7);
  EXPECT_EQ(sent("SELECT * FROM dataStreams WHERE _id=7 AND _time<120 ORDER BY _time DESC LIMIT 1"),
            1U);
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(KTRStreamTableTest, AStepOfZeroGoesBack) {
  indexSomeFrames();
  int first = -1, second = -1;
  EXPECT_TRUE(table.getStreamIndexesList(120, 0, first, second));
  EXPECT_EQ(first, 110);
}

TEST_F(KTRStreamTableTest, AStepBeyondTheIndexIsLoggedWithItsQuery) {
  indexSomeFrames();
  int first = -1, second = -2;
  EXPECT_FALSE(table.getStreamIndexesList(100, 0, first, second));
  EXPECT_EQ(first, -1);
  EXPECT_EQ(second, -2);
  EXPECT_TRUE(log.has(128,
                      "[ getPrevKFrameList ] Failed !!! SELECT * FROM dataStreams WHERE _id=7 AND "
                      "_time<100 ORDER BY _time DESC LIMIT 1"));
}

TEST_F(KTRStreamTableTest, AStepToARowWithoutAnOffsetFails) {
  server.exec("INSERT INTO " + in("dataStreams") + " (_id,_time) VALUES (7,100)");
  int first = -1, second = -2;
  EXPECT_FALSE(table.getStreamIndexesList(110, 0, first, second));
  EXPECT_EQ(first, -1);
  EXPECT_EQ(second, -2);
}

TEST_F(KTRStreamTableTest, TellsTheDelayOfTheLastFrameAtOrBeforeAnOffset) {
  indexSomeFrames();
  EXPECT_EQ(index(7, 111, 1, 50, 5), 0U);
  EXPECT_EQ(table.getDelayBetweenFrame(49, 1), 2U);
  EXPECT_EQ(table.getDelayBetweenFrame(50, 1), 5U);
  EXPECT_EQ(sent("SELECT  _delayUsec FROM dataStreams WHERE _id=7 AND _offset<=49 AND _fileIndex=1 "
                 "ORDER BY _offset DESC LIMIT 1"),
            1U);
  EXPECT_EQ(table.getDelayBetweenFrame(19, 1), 0U);
  EXPECT_EQ(table.getDelayBetweenFrame(100, 9), 0U);  // the other session's slice
}

TEST_F(KTRStreamTableTest, TellsTheOldestFrameAndItsSlice) {
  EXPECT_EQ(index(7, 120, 0, 10, 1), 0U);
  EXPECT_EQ(index(7, 110, 255, 20, 1), 0U);
  EXPECT_EQ(index(6, 100, 3, 30, 1), 0U);
  EXPECT_EQ(table.getOlderKFrameTime(), 110U);
  EXPECT_EQ(table.getOlderFileID(), 255);
  EXPECT_EQ(sent("SELECT _time FROM dataStreams WHERE _id=7 ORDER BY _time LIMIT 1"), 1U);
  EXPECT_EQ(sent("SELECT _fileIndex FROM dataStreams WHERE _id=7 ORDER BY _time LIMIT 1"), 1U);
}

TEST_F(KTRStreamTableTest, TheGreatestValuesComeBackUnsigned) {
  EXPECT_EQ(index(7, static_cast<long>(4294967295U), 255, -1, 4294967295U), 0U);
  EXPECT_EQ(find(static_cast<long>(4294967290U), true, 0),
            (Frame{static_cast<long>(4294967295U), 255, 4294967295U}));
  EXPECT_EQ(table.getDelayBetweenFrame(4294967295U, 255), 4294967295U);
  EXPECT_EQ(table.getOlderKFrameTime(), 4294967295U);
}

TEST_F(KTRStreamTableTest, ASessionWithoutRowsHasNothingToTell) {
  forget();
  EXPECT_EQ(table.getOlderKFrameTime(), 0U);
  EXPECT_EQ(table.getOlderFileID(), -1);
  EXPECT_EQ(table.getDelayBetweenFrame(100, 0), 0U);
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(KTRStreamTableTest, LookupsInAMissingTableAnswerNothing) {
  server.exec("DROP TABLE " + in("dataStreams"));
  int first = -1, second = -1;
  EXPECT_EQ(find(1, true, 0, false), (Frame{1, UNTOUCHED.fileIndex, UNTOUCHED.offset}));
  EXPECT_FALSE(table.getStreamIndexesList(1, 1, first, second));
  EXPECT_EQ(table.getDelayBetweenFrame(1, 0), 0U);
  EXPECT_EQ(table.getOlderKFrameTime(), 0U);
  EXPECT_EQ(table.getOlderFileID(), -1);
}

}  // namespace
