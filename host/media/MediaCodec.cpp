#include "host/media/MediaCodec.h"

const char* mediaCodecName(MediaCodec codec) {
  switch (codec) {
    case MediaCodec::H264:
      return "h264";
    case MediaCodec::Hevc:
      return "hevc";
    case MediaCodec::Mjpeg:
      break;
  }
  return "mjpeg";
}

std::optional<MediaCodec> mediaCodecOf(std::string_view name) {
  for (const MediaCodec codec : {MediaCodec::H264, MediaCodec::Hevc, MediaCodec::Mjpeg}) {
    if (name == mediaCodecName(codec)) return codec;
  }
  return std::nullopt;
}
