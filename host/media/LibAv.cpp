#include "host/media/LibAv.h"

#include <atomic>

#include "host/media/MediaLog.h"

namespace {

std::atomic<int> level{AV_LOG_QUIET};

}  // namespace

std::string libAvError(int result) {
  char text[AV_ERROR_MAX_STRING_SIZE] = "";
  av_strerror(result, text, sizeof(text));
  return text;
}

AVCodecID libAvCodecId(MediaCodec codec) {
  switch (codec) {
    case MediaCodec::H264:
      return AV_CODEC_ID_H264;
    case MediaCodec::Hevc:
      return AV_CODEC_ID_HEVC;
    case MediaCodec::Mjpeg:
      break;
  }
  return AV_CODEC_ID_MJPEG;
}

AVCodecID libAvCodecId(AudioCodec codec) {
  const AVCodecDescriptor* const known = avcodec_descriptor_get_by_name(audioCodecName(codec));
  return known == nullptr ? AV_CODEC_ID_NONE : known->id;
}

std::optional<MediaCodec> mediaCodecOf(AVCodecID id) {
  for (const MediaCodec codec : {MediaCodec::H264, MediaCodec::Hevc, MediaCodec::Mjpeg}) {
    if (libAvCodecId(codec) == id) return codec;
  }
  return std::nullopt;
}

void setMediaVerbose(bool verbose) {
  level.store(verbose ? AV_LOG_INFO : AV_LOG_QUIET);
  prepareLibAv();
}

void prepareLibAv() {
  av_log_set_level(level.load());
}
