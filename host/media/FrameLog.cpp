#include "host/media/FrameLog.h"

#include <cerrno>
#include <system_error>

#include "host/media/LibAv.h"
#include "host/media/MediaError.h"
#include "runtime/KTRVideoFrame.h"

struct FrameLog::Hash {
  LibAvOwner<AVHashContext> context;
};

namespace {

const char* nameOf(KTRFrameFormat::Kind kind) {
  switch (kind) {
    case KTRFrameFormat::Key:
      return "key";
    case KTRFrameFormat::Delta:
      return "delta";
    case KTRFrameFormat::Jpeg:
      return "jpeg";
    case KTRFrameFormat::Audio:
      return "audio";
    case KTRFrameFormat::Empty:
      break;
  }
  return "empty";
}

}  // namespace

FrameLog::FrameLog(const std::string& path)
    : path_(path), file_(path, std::ios::trunc), hash_(std::make_unique<Hash>()) {
  check();
  AVHashContext* context = nullptr;
  if (av_hash_alloc(&context, "SHA256") < 0) throw std::bad_alloc();
  hash_->context.reset(context);
}

FrameLog::~FrameLog() = default;

void FrameLog::add(const KTDataBlock& frame) {
  KTRVideoFrame parser;
  if (!parser.parse(frame)) return;
  const KTDataBlock payload = frame.copy(KTRFrameFormat::HEAD_SIZE, frame.size);
  uint8_t hex[2 * AV_HASH_MAX_SIZE + 1];
  av_hash_init(hash_->context.get());
  av_hash_update(hash_->context.get(), payload.data, payload.size);
  av_hash_final_hex(hash_->context.get(), hex, sizeof(hex));
  file_ << parser.timeStamp() << ' ' << nameOf(parser.kind()) << ' ' << payload.size << ' '
        << reinterpret_cast<const char*>(hex) << '\n'
        << std::flush;
  check();
}

void FrameLog::close() {
  if (!file_.is_open()) return;
  file_.close();
  check();
}

void FrameLog::check() {
  if (file_) return;
  throw MediaError(
      "cannot write the frame log " + path_ + ": " + std::generic_category().message(errno),
      "choose another place or make room there");
}
