#include "host/check/SliceScanner.h"

#include <algorithm>
#include <cstring>

#include "runtime/LittleEndian.h"
#include "store/SyncMarkers.h"

SliceScanner::Item SliceScanner::next() {
  range_ = {position_, file_.size()};
  if (file_.error() != 0 && position_ <= file_.size()) {
    position_ = file_.size() + 1;
    return Unreadable;
  }
  if (position_ >= file_.size()) return End;
  const auto found = file_.recordAt(position_);
  if (found && !swallowsAnother(*found)) {
    record_ = *found;
    range_.end = position_ = record_.end();
    return readTo(position_) ? Record : next();
  }
  if (file_.error() == 0) range_.end = findRecord(position_ + 1, file_.size());
  if (file_.error() != 0) return next();
  position_ = range_.end;
  return position_ == file_.size() && isTorn() ? TornTail : Garbage;
}

// Of a record of many windows only the head was looked at; a disk may fail in the rest.
bool SliceScanner::readTo(uint64_t end) {
  for (uint64_t at = range_.begin; at < end;) {
    const auto bytes = file_.bytes(at);
    if (bytes.empty()) {
      position_ = range_.begin;
      return false;
    }
    at += bytes.size();
  }
  return true;
}

// A record that lacks bytes in its middle claims the beginning of the next one as its own, and then
// does not end where one begins.
bool SliceScanner::swallowsAnother(const SliceRecord& record) {
  if (record.end() == file_.size() || file_.recordAt(record.end())) return false;
  return findRecord(record.offset + 1, record.end()) < record.end();
}

/** The first sound record that begins between two places; the end when there is none. */
uint64_t SliceScanner::findRecord(uint64_t from, uint64_t end) {
  while (from < end) {
    const auto bytes = file_.bytes(from);
    if (bytes.empty()) break;
    const auto found = std::find(bytes.begin(), bytes.end(), FLAG[0]);
    from += static_cast<uint64_t>(found - bytes.begin());
    if (found == bytes.end()) continue;
    if (file_.recordAt(from)) return from;
    ++from;
  }
  return end;
}

// The beginning of a record that claims more than is there, up to zeros or the end of the file.
bool SliceScanner::isTorn() {
  const uint64_t content = endOfContent() - range_.begin;
  unsigned char head[KTRFile::RECORD_HEAD_SIZE] = {};
  const uint64_t count = std::min<uint64_t>(sizeof head, content);
  if (count == 0) return file_.error() == 0;
  const auto bytes = file_.bytes(range_.begin, count);
  if (bytes.empty()) return false;
  std::memcpy(head, bytes.data(), count);
  if (std::memcmp(head, FLAG, std::min<uint64_t>(sizeof FLAG, count)) != 0) return false;
  if (count < sizeof head) return true;
  const uint32_t size = loadLittleEndian(head + sizeof FLAG);
  return size != 0 && size <= KTRFile::MAX_PAYLOAD_SIZE && content < sizeof head + size;
}

/** Where the zeros at the end of the range begin. */
uint64_t SliceScanner::endOfContent() {
  uint64_t end = range_.begin;
  for (uint64_t at = range_.begin; at < range_.end;) {
    const auto bytes = file_.bytes(at);
    if (bytes.empty()) break;
    const auto last = std::find_if(bytes.rbegin(), bytes.rend(), [](unsigned char b) { return b; });
    if (last != bytes.rend()) end = at + static_cast<uint64_t>(last.base() - bytes.begin());
    at += bytes.size();
  }
  return end;
}
