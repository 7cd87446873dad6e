#include "runtime/KTRVideoFrame.h"

#include "runtime/KTLogger.h"
#include "runtime/LittleEndian.h"

using Format = KTRFrameFormat;

namespace {

unsigned char kindOf(unsigned char firstByte) {
  return firstByte & static_cast<unsigned char>(~Format::COMPOSITION_FLAG);
}

// The reason why a head cannot begin a sound frame of `available` bytes, or null.
const char* flawOf(const unsigned char* head, unsigned int available) {
  if (available < Format::HEAD_SIZE) return "the head is cut short";
  if (!Format::isKind(kindOf(head[0]))) return "unknown kind";
  const bool composed = (head[0] & Format::COMPOSITION_FLAG) != 0;
  const std::uint32_t length = loadLittleEndian(head + Format::LENGTH_OFFSET);
  if (length > Format::MAX_FRAME_SIZE - Format::HEAD_SIZE) return "larger than a stored frame";
  if (length > available - Format::HEAD_SIZE) return "the length runs past the message";
  if (kindOf(head[0]) == Format::Empty) {
    return head[0] == 0 && length == 0 ? nullptr : "an empty frame with content";
  }
  const unsigned int least = composed ? Format::COMPOSITION_SIZE + 1 : 1;
  return length < least ? "no media bytes" : nullptr;
}

}  // namespace

KTRVideoFrame::KTRVideoFrame() = default;

KTRVideoFrame::~KTRVideoFrame() = default;

bool KTRVideoFrame::parse(const KTDataBlock& data) {
  clear();
  block_ = data;
  return next();
}

bool KTRVideoFrame::next() {
  if (nextOffset_ < block_.size && !refused_) return take();
  frame_ = KTDataBlock();
  return false;
}

bool KTRVideoFrame::take() {
  const unsigned char* head = block_.data + nextOffset_;
  const unsigned int available = block_.size - nextOffset_;
  if (const char* flaw = flawOf(head, available)) return refuse(flaw);
  const unsigned int size = Format::HEAD_SIZE + loadLittleEndian(head + Format::LENGTH_OFFSET);
  frame_ = block_.copy(nextOffset_, size);
  nextOffset_ += size;
  return true;
}

bool KTRVideoFrame::refuse(const char* reason) {
  KTLogger::instance()->log(KTLogger::Warning, "[ KTRVideoFrame ] %u bytes dropped at byte %u: %s",
                            block_.size - nextOffset_, nextOffset_, reason);
  frame_ = KTDataBlock();
  refused_ = true;
  return false;
}

void KTRVideoFrame::clear() {
  block_ = KTDataBlock();
  frame_ = KTDataBlock();
  nextOffset_ = 0;
  refused_ = false;
}

Format::Kind KTRVideoFrame::kind() const {
  return frame_.size == 0 ? Format::Empty : static_cast<Format::Kind>(kindOf(frame_.data[0]));
}

std::uint32_t KTRVideoFrame::timeStamp() const {
  return frame_.size == 0 ? 0 : loadLittleEndian(frame_.data + Format::STAMP_OFFSET);
}

std::int32_t KTRVideoFrame::compositionOffset() const {
  if (headSize() == Format::HEAD_SIZE) return 0;
  return static_cast<std::int32_t>(loadLittleEndian(frame_.data + Format::HEAD_SIZE));
}

KTDataBlock KTRVideoFrame::payload() const {
  return frame_.copy(headSize(), frame_.size);
}

unsigned int KTRVideoFrame::headSize() const {
  const bool composed = frame_.size != 0 && (frame_.data[0] & Format::COMPOSITION_FLAG) != 0;
  return Format::HEAD_SIZE + (composed ? Format::COMPOSITION_SIZE : 0);
}
