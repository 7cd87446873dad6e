#include "runtime/KTREventFrame.h"

#include "runtime/KTLogger.h"
#include "runtime/KTREventFormat.h"
#include "runtime/LittleEndian.h"

using Format = KTREventFormat;

namespace {

// The reason why a head cannot begin a sound event of `available` bytes, or null.
const char* flawOf(const unsigned char* head, unsigned int available) {
  if (available < Format::HEAD_SIZE) return "the head is cut short";
  const std::uint32_t length = loadLittleEndian(head + Format::LENGTH_OFFSET);
  if (length > Format::MAX_DATA_SIZE) return "larger than an event may be";
  return length > available - Format::HEAD_SIZE ? "the length runs past the message" : nullptr;
}

}  // namespace

KTREventFrame::KTREventFrame() = default;

KTREventFrame::~KTREventFrame() = default;

bool KTREventFrame::parse(const KTDataBlock& data) {
  block_ = data;
  nextOffset_ = 0;
  return next();
}

bool KTREventFrame::next() {
  row_ = KTREventRow();
  const unsigned int available = block_.size - nextOffset_;
  if (available == 0) return false;
  const unsigned char* head = block_.data + nextOffset_;
  if (const char* flaw = flawOf(head, available)) {
    KTLogger::instance()->log(KTLogger::Warning,
                              "[ KTREventFrame ] %u bytes dropped at byte %u: %s", available,
                              nextOffset_, flaw);
    nextOffset_ = block_.size;
    return false;
  }
  row_.sensorID = loadLittleEndian(head + Format::SENSOR_OFFSET);
  row_.timeStamp = loadLittleEndian(head + Format::STAMP_OFFSET);
  row_.eventID = loadLittleEndian(head + Format::ID_OFFSET);
  row_.eventType = loadLittleEndian(head + Format::TYPE_OFFSET);
  const std::uint32_t length = loadLittleEndian(head + Format::LENGTH_OFFSET);
  row_.data = block_.copy(nextOffset_ + Format::HEAD_SIZE, length);
  nextOffset_ += Format::HEAD_SIZE + length;
  return true;
}
