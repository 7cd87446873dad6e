#include "host/bench/BenchClip.h"

#include "runtime/KTRFrameFormat.h"
#include "runtime/KTRFrameWriter.h"

namespace {
constexpr unsigned int SECONDS = 4;
}

BenchClip::BenchClip()
    : pictures_(PictureEncoder({640, 360, static_cast<int>(FRAME_RATE),
                                static_cast<int>(KEY_INTERVAL), static_cast<int>(BIT_RATE)})
                    .encode(SECONDS * FRAME_RATE)) {}

KTDataBlock BenchClip::frame(std::uint64_t number, std::uint32_t stampMs) const {
  const PictureEncoder::Picture& shown = picture(number);
  return KTRFrameWriter::build(
      shown.key ? KTRFrameFormat::Key : KTRFrameFormat::Delta, stampMs,
      {{shown.bytes.data(), static_cast<unsigned int>(shown.bytes.size())}});
}

std::uint64_t BenchClip::bytes(std::uint64_t frames) const {
  std::uint64_t sum = 0;
  for (std::uint64_t i = 0; i < frames; ++i) {
    sum += picture(i).bytes.size() + KTRFrameFormat::HEAD_SIZE;
  }
  return sum;
}
