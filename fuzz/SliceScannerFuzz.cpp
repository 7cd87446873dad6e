// SliceScanner and SliceFile, by which check and repair look at slices that anything may have
// damaged, and SliceMender, which acts on it. An input is a place and the slice.
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "fuzz/FuzzRequire.h"
#include "host/check/SliceScanner.h"
#include "host/repair/SliceMender.h"
#include "store/KTRFile.h"
#include "tests/support/TempDir.h"

namespace {

namespace fs = std::filesystem;

using Range = SliceScanner::Range;

/** What a scan says of a slice. */
struct Scan {
  std::vector<Range> records;
  uint64_t garbage = 0;  // bytes
  uint64_t torn = 0;     // bytes
};

/** The prefix of a chain in the directory of this process; its slice is the only file there. */
KTString prefix() {
  static const TempDir directory;
  return directory.entry("r");
}

std::string slicePath() {
  return std::string(prefix().view()) + "F0.dat";
}

std::string contentsOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

void checkRecord(SliceScanner& scanner) {
  const SliceRecord& record = scanner.record();
  const auto again = scanner.file().recordAt(record.offset);
  fuzzRequire(record.offset == scanner.range().begin && record.end() == scanner.range().end,
              "a record is its range");
  fuzzRequire(again && again->size == record.size && again->stampMs == record.stampMs &&
                  again->kind == record.kind,
              "a record is found by its place");
  fuzzRequire(KTRFrameFormat::isKind(record.kind), "a record holds a frame");
}

// Every byte belongs to one item, and the items follow each other.
Scan scan(const std::string& path) {
  Scan found;
  SliceScanner scanner(path);
  const uint64_t size = scanner.file().size();
  uint64_t at = 0;
  for (auto item = scanner.next(); item != SliceScanner::End; item = scanner.next()) {
    const Range range = scanner.range();
    fuzzRequire(item != SliceScanner::Unreadable, "the disk is well");
    fuzzRequire(range.begin == at && range.end > at && range.end <= size, "items fill the slice");
    at = range.end;
    fuzzRequire(item != SliceScanner::TornTail || at == size, "a torn tail is at the end");
    if (item == SliceScanner::Record) {
      checkRecord(scanner);
      found.records.push_back(range);
    } else {
      (item == SliceScanner::Garbage ? found.garbage : found.torn) += range.size();
    }
  }
  fuzzRequire(at == size, "no byte is left out");
  fuzzRequire(scanner.next() == SliceScanner::End, "the end is the end");
  return found;
}

// Where an index row points may be anywhere.
void lookAt(const std::string& path, uint64_t place) {
  SliceFile file(path);
  const auto bytes = file.bytes(place);
  fuzzRequire(bytes.empty() == (place >= file.size()), "bytes are there up to the end");
  fuzzRequire(bytes.size() <= file.size() - std::min(place, file.size()), "and not behind it");
  const auto record = file.recordAt(place);
  fuzzRequire(!record || (record->offset == place && record->end() <= file.size()),
              "a record lies in the slice");
}

// The library's reader plays every record of a slice that was mended.
void play(const std::string& slice, const Scan& scan) {
  KTRFile file(prefix(), 0, KTRFile::READ_FLAGS, KTRFile::READ_SLICE_SIZE);
  for (const Range& record : scan.records) {
    KTDataBlock frame;
    const size_t length = record.size() - KTRFile::RECORD_HEAD_SIZE;
    fuzzRequire(file.readKTRData(frame) == static_cast<int>(length), "a record plays");
    fuzzRequire(slice.compare(record.begin + KTRFile::RECORD_HEAD_SIZE, length,
                              reinterpret_cast<const char*>(frame.data), frame.size) == 0,
                "what plays is what stands in the file");
  }
  KTDataBlock frame;
  fuzzRequire(file.readKTRData(frame) <= 0, "nothing else plays");
}

void mend(const std::string& path, const Scan& before) {
  const std::string old = contentsOf(path);
  std::string wanted;
  for (const Range& record : before.records) wanted += old.substr(record.begin, record.size());
  const SliceMender::Result result = SliceMender::mend(path);
  fuzzRequire(result.cutBytes == before.torn && result.movedBytes == before.garbage,
              "what is no record is cut or moved");
  fuzzRequire(contentsOf(path) == wanted, "every record stays, and nothing else");
  const Scan after = scan(path);
  fuzzRequire(after.garbage == 0 && after.torn == 0, "a mended slice is sound");
  fuzzRequire(after.records.size() == before.records.size(), "records are what they were");
  play(wanted, after);
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  SilentLog::use();
  FuzzInput input({data, size});
  const unsigned int place = input.word();
  const std::string path = slicePath();
  std::ofstream(path, std::ios::binary) << fuzzText(input.rest());
  lookAt(path, place);
  mend(path, scan(path));
  fs::remove(std::string(prefix().view()) + "F0.damaged");
  fs::remove(path);
  return 0;
}
