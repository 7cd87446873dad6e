// KTRFile as the reader of slices that anybody may have written. An input is a byte of options, the
// lengths of all slices but the last, and the bytes of the slices.
#include <array>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "fuzz/FuzzRequire.h"
#include "store/KTRFile.h"
#include "store/SyncMarkers.h"
#include "tests/support/TempDir.h"

namespace {

struct Record {
  unsigned char slice;
  unsigned int offset;
  FuzzBytes payload;
};

unsigned int word(FuzzBytes bytes) {
  return bytes[0] | bytes[1] << 8 | bytes[2] << 16 | static_cast<unsigned int>(bytes[3]) << 24;
}

/** Appends the sound records that a slice begins with; whether there is nothing else in it. */
bool soundRecords(unsigned char slice, FuzzBytes bytes, std::vector<Record>& records) {
  size_t at = 0;
  while (bytes.size() - at > KTRFile::RECORD_HEAD_SIZE) {
    const unsigned int length = word(bytes.subspan(at + 4));
    const size_t room = bytes.size() - at - KTRFile::RECORD_HEAD_SIZE;
    if (word(bytes.subspan(at)) != FLAG_WORD || length == 0 || length > room) return false;
    records.push_back({slice, static_cast<unsigned int>(at),
                       bytes.subspan(at + KTRFile::RECORD_HEAD_SIZE, length)});
    at += KTRFile::RECORD_HEAD_SIZE + length;
  }
  return at == bytes.size();
}

bool equal(const KTDataBlock& block, FuzzBytes bytes) {
  return std::equal(bytes.begin(), bytes.end(), block.data, block.data + block.size);
}

/** The chain of slices that an input describes, on disk. */
class Chain {
 public:
  explicit Chain(FuzzInput input) {
    const unsigned int options = input.byte();
    first_ = (options & 1) != 0 ? 254 : 0;  // a chain over the end of the ring of names
    const unsigned int more = (options >> 1) % MOST_SLICES;
    std::array<unsigned int, MOST_SLICES> lengths{};
    for (unsigned int i = 0; i < more; ++i) lengths[i] = input.word();
    for (unsigned int i = 0; i < more; ++i) add(input.bytes(lengths[i]));
    add(input.rest());
  }
  ~Chain() {
    for (unsigned int i = 0; i < count_; ++i) std::filesystem::remove(fileName(i));
  }
  Chain(const Chain&) = delete;
  Chain& operator=(const Chain&) = delete;

  /** The prefix of a chain in the directory of this process. */
  static KTString prefix(const std::string& name) {
    static const TempDir directory;
    return directory.entry(name);
  }
  static std::string slicePath(const std::string& name, unsigned char slice) {
    return prefix(name + "F" + std::to_string(slice) + ".dat").c_str();
  }

  [[nodiscard]] KTRFile reader(unsigned char slice) const {
    return {prefix("r"), slice, KTRFile::READ_FLAGS, KTRFile::READ_SLICE_SIZE};
  }
  [[nodiscard]] unsigned char first() const { return first_; }
  [[nodiscard]] unsigned int count() const { return count_; }
  [[nodiscard]] size_t size() const { return size_; }
  /** The records that a reader of the whole chain must find, in order, before anything else. */
  [[nodiscard]] const std::vector<Record>& records() const { return records_; }

 private:
  static constexpr unsigned int MOST_SLICES = 4;

  [[nodiscard]] unsigned char sliceAt(unsigned int i) const {
    return static_cast<unsigned char>(first_ + i);
  }
  [[nodiscard]] std::string fileName(unsigned int i) const { return slicePath("r", sliceAt(i)); }

  void add(FuzzBytes bytes) {
    std::ofstream(fileName(count_), std::ios::binary) << fuzzText(bytes);
    if (sound_) sound_ = soundRecords(sliceAt(count_), bytes, records_);
    size_ += bytes.size();
    ++count_;
  }

  unsigned char first_ = 0;
  unsigned int count_ = 0;
  size_t size_ = 0;
  bool sound_ = true;
  std::vector<Record> records_;
};

/** Reads one record, sound or not; the bytes of the chain that it is made of, 0 for none. */
size_t readOne(KTRFile& file) {
  const unsigned char mark = 0x5A;
  KTDataBlock out(&mark, 1);
  const int length = file.readKTRData(out);
  if (length < 0) {
    fuzzRequire(length == -1 && out == KTDataBlock(&mark, 1), "a failed read changes nothing");
    return 0;
  }
  fuzzRequire(static_cast<unsigned int>(length) == out.size, "the result is the length");
  fuzzRequire(length >= 1 && out.size <= KTRFile::MAX_PAYLOAD_SIZE, "a payload has its limits");
  return out.size + KTRFile::RECORD_HEAD_SIZE;
}

// Every failed read takes a word or is the end, so a reader cannot go round for ever; and what it
// hands out lies in the chain and the marks between its slices.
void readToTheEnd(KTRFile& file, const Chain& chain) {
  const size_t room = chain.size() + sizeof FLAG * chain.count();
  size_t taken = 0;
  for (size_t calls = 0; calls < room / sizeof FLAG + chain.count() + 2; ++calls) {
    taken += readOne(file);
    fuzzRequire(file.readBuffDataAvailableSize() <= room, "nothing is read twice");
  }
  fuzzRequire(taken <= room, "no frame lies outside the chain");
  const unsigned int left = file.readBuffDataAvailableSize();
  fuzzRequire(readOne(file) == 0 && file.readBuffDataAvailableSize() == left, "the end is the end");
}

void readSoundRecords(KTRFile& file, const Chain& chain) {
  for (const Record& record : chain.records()) {
    KTDataBlock out;
    fuzzRequire(file.readKTRData(out) == static_cast<int>(record.payload.size()),
                "a sound record is read");
    fuzzRequire(equal(out, record.payload), "a record is what stands in the file");
    if (record.slice == chain.first()) {
      fuzzRequire(file.recordOffset() == record.offset, "a record has the offset where it begins");
    }
    if (out.size >= 5) {
      fuzzRequire(file.curFrameTimeStamp() == word(record.payload.subspan(1)),
                  "the stamp is that of the frame");
    }
  }
}

// An index row leads to its record, whatever stands before and behind it.
void seekRecord(const Chain& chain, const Record& record) {
  KTRFile file = chain.reader(record.slice);
  fuzzRequire(file.go_to_pos(record.offset) == 0, "a slice that is there can be sought in");
  KTDataBlock out;
  fuzzRequire(file.readKTRData(out) == static_cast<int>(record.payload.size()) &&
                  equal(out, record.payload),
              "a record is found by its position");
  fuzzRequire(file.recordOffset() == record.offset && file.curFileIndex() == record.slice,
              "the reader knows where it is");
}

// The writer writes sound records of one slice as they stood there.
void rewriteFirstSlice(const Chain& chain) {
  std::string wanted;
  {
    KTRFile writer(Chain::prefix("w"), 0, KTRFile::WRITE_FLAGS, KTRFile::READ_SLICE_SIZE);
    for (const Record& record : chain.records()) {
      if (record.slice != chain.first()) break;
      const auto length = static_cast<unsigned int>(record.payload.size());
      fuzzRequire(writer.writeKTRData(KTDataBlock(record.payload.data(), length)) == 0,
                  "a record is written");
      wanted += fuzzText(
          {record.payload.data() - KTRFile::RECORD_HEAD_SIZE, length + KTRFile::RECORD_HEAD_SIZE});
    }
    fuzzRequire(writer._close() == 0, "the writer closes");
  }
  const std::string path = Chain::slicePath("w", 0);
  std::ifstream file(path, std::ios::binary);
  const std::string written{std::istreambuf_iterator<char>(file), {}};
  fuzzRequire(written == wanted, "the writer mirrors the reader");
  std::filesystem::remove(path);
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  SilentLog::use();
  FuzzInput input({data, size});
  const unsigned int place = input.word();
  const Chain chain(input);
  {
    KTRFile file = chain.reader(chain.first());
    readSoundRecords(file, chain);
    readToTheEnd(file, chain);
  }
  if (!chain.records().empty()) {
    seekRecord(chain, chain.records()[place % chain.records().size()]);
    rewriteFirstSlice(chain);
  }
  KTRFile file = chain.reader(chain.first());
  fuzzRequire(file.go_to_pos(place) == 0, "a place past the end can be sought");
  readToTheEnd(file, chain);
  return 0;
}
