// SpoolSegment as the reader of what an earlier process, or a bad disk, has left in a spool. An
// input is a byte of options and the file. A sum is hard to guess, so an option sets all of them
// right.
#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <vector>

#include "fuzz/FuzzRequire.h"
#include "host/record/SpoolSegment.h"
#include "runtime/LittleEndian.h"
#include "tests/support/TempDir.h"

namespace {

using Use = SpoolSegment::Use;

constexpr size_t FIRST_OFFSET = 12;
constexpr size_t SETTINGS_SIZE_OFFSET = 16;
constexpr size_t SETTINGS_SUM_OFFSET = 20;
constexpr size_t SUM_OFFSET = 16;

struct Read {
  StreamFrame frame;
  Use use = SpoolSegment::Record;
  std::uint32_t end = 0;
};

std::uint32_t sumOf(FuzzBytes bytes, std::uint32_t sum = 0x811C9DC5) {
  for (const unsigned char byte : bytes) sum = (sum ^ byte) * 0x01000193;
  return sum;
}

void setSums(std::vector<unsigned char>& file) {
  if (file.size() < SpoolSegment::HEADER_SIZE) return;
  const size_t size = loadLittleEndian(file.data() + SETTINGS_SIZE_OFFSET);
  if (size > file.size() - SpoolSegment::HEADER_SIZE) return;
  storeLittleEndian(file.data() + SETTINGS_SUM_OFFSET,
                    sumOf(FuzzBytes(file).subspan(SpoolSegment::HEADER_SIZE, size)));
  size_t at = loadLittleEndian(file.data() + FIRST_OFFSET);
  while (at + SpoolSegment::RECORD_HEAD_SIZE <= file.size()) {
    unsigned char* const head = file.data() + at;
    const size_t length = loadLittleEndian(head);
    at += SpoolSegment::RECORD_HEAD_SIZE;
    if (length > file.size() - at) return;
    storeLittleEndian(head + SUM_OFFSET, sumOf(FuzzBytes(file).subspan(at, length),
                                               sumOf(FuzzBytes(head, SUM_OFFSET))));
    at += length;
  }
}

/** The path of a file in the directory of this process. */
std::string pathOf(const std::string& name) {
  static const TempDir directory;
  return directory.entry(name).c_str();
}

void write(const std::string& path, FuzzBytes bytes) {
  std::ofstream(path, std::ios::binary) << fuzzText(bytes);
}

std::string contentsOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

bool equal(const Read& a, const Read& b) {
  return a.frame.bytes == b.frame.bytes && a.frame.timeMs == b.frame.timeMs &&
         a.frame.startsPlayback == b.frame.startsPlayback &&
         a.frame.beginsSession == b.frame.beginsSession && a.use == b.use;
}

/** Reads one frame; false where the file is damaged. */
bool readOne(SpoolSegment& file, Read& next) {
  const unsigned int unread = file.unread();
  const std::uint32_t offset = file.readOffset();
  StreamFrame peeked;
  const bool isThere = file.peek(peeked);
  fuzzRequire(file.unread() == unread && file.readOffset() == offset, "a peek takes nothing");
  fuzzRequire(file.read(next.frame, next.use) == isThere, "what was peeked at can be read");
  if (!isThere) return false;
  fuzzRequire(peeked.bytes == next.frame.bytes, "a peek sees the next frame");
  fuzzRequire(next.frame.settings == file.settings(), "a frame has the settings of its file");
  fuzzRequire(file.unread() == unread - 1, "a frame is read once");
  fuzzRequire(file.readOffset() == offset + SpoolSegment::sizeOf(next.frame),
              "frames lie one behind the other");
  next.end = file.readOffset();
  return true;
}

/** Every sound frame, in order. */
std::vector<Read> readAll(SpoolSegment& file) {
  std::vector<Read> all;
  while (file.unread() != 0) {
    fuzzRequire(file.readOffset() < file.size(), "a frame lies in the file");
    Read next;
    if (readOne(file, next)) {
      all.push_back(next);
      continue;
    }
    const unsigned int unread = file.unread();
    const unsigned int skipped = file.skipGroup();
    fuzzRequire(skipped != 0 && skipped == unread - file.unread(), "damage is passed over");
  }
  Read none;
  fuzzRequire(!file.read(none.frame, none.use) && none.frame.bytes.size == 0, "the end is the end");
  return all;
}

// What is noted as recorded is not read again.
void settle(const std::string& path, const std::vector<Read>& all) {
  const Read& half = all[all.size() / 2];
  SpoolSegment::open(path)->settle(half.end);
  const std::unique_ptr<SpoolSegment> file = SpoolSegment::open(path);
  fuzzRequire(file != nullptr && file->readOffset() == half.end, "a file goes on where it was");
  const std::vector<Read> rest = readAll(*file);
  fuzzRequire(rest.size() == all.size() - all.size() / 2 - 1 &&
                  std::equal(rest.begin(), rest.end(), all.end() - std::ssize(rest), equal),
              "what is not recorded is read again");
}

void writeAgain(const std::vector<Read>& all) {
  const std::string path = pathOf("w.spool");
  {
    const auto copy = SpoolSegment::create(path, all.front().frame.settings);
    fuzzRequire(copy != nullptr, "a file is made");
    for (const Read& each : all)
      fuzzRequire(copy->append(each.frame, each.use), "a frame is added");
  }
  const std::unique_ptr<SpoolSegment> file = SpoolSegment::open(path);
  fuzzRequire(file != nullptr && *file->settings() == *all.front().frame.settings,
              "settings survive");
  const std::vector<Read> again = readAll(*file);
  // Context in front of all else counts as read by the process that writes it, not by the next one.
  fuzzRequire(std::equal(again.begin(), again.end(), all.begin(), all.end(), equal),
              "frames survive");
  file->remove();
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzInput input({data, size});
  const bool sumsAreRight = (input.byte() & 1) != 0;
  const FuzzBytes given = input.rest();
  std::vector<unsigned char> bytes(given.begin(), given.end());
  if (sumsAreRight) setSums(bytes);
  const std::string path = pathOf("r.spool");
  write(path, bytes);
  std::vector<Read> all;
  if (const std::unique_ptr<SpoolSegment> file = SpoolSegment::open(path)) {
    fuzzRequire(file->size() <= bytes.size() && file->readOffset() <= file->size(),
                "a file is no larger than it is");
    all = readAll(*file);
    fuzzRequire(!file->isFaulty(), "the disk is well");
  }
  fuzzRequire(contentsOf(path) == fuzzText(bytes), "reading changes nothing");
  if (all.empty()) return 0;
  writeAgain(all);
  // Behind damage others may be in reach from a place that no frame was read up to.
  if (bytes.size() == all.back().end) settle(path, all);
  return 0;
}
