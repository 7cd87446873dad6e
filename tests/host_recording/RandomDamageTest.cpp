#include <gmock/gmock.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <random>
#include <set>

#include "host/check/SliceScanner.h"
#include "tests/host_recording/RepairFixture.h"

namespace fs = std::filesystem;

namespace {

/**
 * A recording that is damaged at random. Whatever the damage, every frame that is still whole on
 * the disk is there after the repair, plays, and is found by time.
 */
class RandomDamageTest : public RepairFixture, public testing::WithParamInterface<unsigned int> {
 protected:
  void SetUp() override {
    stream_ = STREAM;
    for (const int session : {1, 2}) {
      beginSlices();
      record(session == 1 ? 8 : 5, 7, 400);
      end();
      pass(9000);
    }
    for (const unsigned int session : {1U, 2U}) {
      for (const std::string& each : records(session)) whole_.push_back(each);
    }
  }

  unsigned int below(size_t limit) {
    return static_cast<unsigned int>(random_() % std::max<size_t>(1, limit));
  }
  std::string anySlice() {
    const std::vector<std::string> all = slices(1 + below(2));
    return all.empty() ? "" : all[below(all.size())];
  }
  std::string noise(size_t size) {
    std::string bytes(size, ' ');
    for (char& each : bytes) each = static_cast<char>(random_());
    return bytes;
  }

  /** One damage; what it was, for the trace of a failure. */
  std::string damageFile() {
    const std::string path = anySlice();
    if (path.empty() || read(path).empty()) return "none";
    std::string bytes = read(path);
    const size_t at = below(bytes.size());
    const size_t length = 1 + below(60);
    switch (below(6)) {
      case 0:
        bytes.replace(at, std::min(length, bytes.size() - at), noise(length));
        write(path, bytes);
        return path + ": noise at " + std::to_string(at);
      case 1:
        cut(path, at);
        return path + ": cut to " + std::to_string(at);
      case 2:
        write(path, bytes.insert(at, noise(length)));
        return path + ": bytes put in at " + std::to_string(at);
      case 3:
        write(path, bytes.erase(at, length));
        return path + ": bytes taken out at " + std::to_string(at);
      case 4:
        append(path, std::string(length * 100, '\0'));
        return path + ": zeros behind";
      default:
        fs::remove(path);
        return path + ": removed";
    }
  }
  std::string damageRows() {
    static const char* const statements[] = {
        "DELETE FROM dataStreams WHERE _time%4=1",
        "UPDATE dataStreams SET _offset=_offset+11 WHERE _time%5=1",
        "UPDATE dataStreams SET _time=_time+3 WHERE _fileIndex=1 ORDER BY _time DESC",
        "UPDATE dataStreams SET _fileIndex=_fileIndex+1 WHERE _time%3=1",
        "DELETE FROM recordSessions WHERE id=1",
        "DELETE FROM recordSessions",
        "UPDATE recordSessions SET start_time=0,end_time=0 WHERE id=2",
        "UPDATE recordSessions SET end_time=0",
        "UPDATE recordSessions SET storage='/somewhere/else/'",
        "DROP TABLE dataStreams",
        "DELETE FROM streamSettings",
        "UPDATE recordSessions SET dataAvailable=0"};
    const char* const statement = statements[below(std::size(statements))];
    exec(statement);
    return statement;
  }

  /** Records that no damage has touched: their bytes are in a file still. */
  [[nodiscard]] std::multiset<std::string> survivors() const {
    std::string all;
    for (const unsigned int session : {1U, 2U}) {
      for (const std::string& path : slices(session)) all += read(path) + "|";
    }
    std::multiset<std::string> found;
    for (const std::string& each : whole_) {
      if (all.find(each) != std::string::npos) found.insert(each);
    }
    return found;
  }
  /** Every key frame has its row; the last one of a session that nothing was mended in has none. */
  void expectKeyFramesIndexed(unsigned int session) {
    const std::vector<std::string> times =
        rows("SELECT _time%86400 FROM dataStreams WHERE _id=" + std::to_string(session));
    std::vector<std::string> keys;
    for (const std::string& path : slices(session)) {
      SliceScanner scanner(path);
      while (scanner.next() == SliceScanner::Record) {
        if (scanner.record().kind != KTRFrameFormat::Key) continue;
        keys.push_back(std::to_string(scanner.record().stampMs / 1000));
      }
    }
    if (keys.size() == times.size() + 1) keys.pop_back();
    EXPECT_THAT(times, testing::IsSupersetOf(keys));
  }

  std::mt19937 random_{GetParam()};
  std::vector<std::string> whole_;
};

}  // namespace

TEST_P(RandomDamageTest, LosesNoWholeFrame) {
  std::string trace = "seed " + std::to_string(GetParam());
  for (unsigned int count = 1 + below(4); count > 0; --count) {
    trace += "\n" + (below(3) == 0 ? damageRows() : damageFile());
  }
  SCOPED_TRACE(trace);
  const std::multiset<std::string> before = survivors();
  repair();
  std::vector<std::string> after;
  for (const unsigned int session : {1U, 2U}) {
    const std::vector<std::string> kept = records(session);
    after.insert(after.end(), kept.begin(), kept.end());
    if (kept.empty()) continue;
    EXPECT_EQ(kept.size(), played(session).size());
    expectKeyFramesIndexed(session);
  }
  std::sort(after.begin(), after.end());
  EXPECT_TRUE(std::includes(after.begin(), after.end(), before.begin(), before.end()));
}

INSTANTIATE_TEST_SUITE_P(, RandomDamageTest, testing::Range(1U, 61U));
