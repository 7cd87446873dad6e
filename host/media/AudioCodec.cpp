#include "host/media/AudioCodec.h"

const char* audioCodecName(AudioCodec codec) {
  switch (codec) {
    case AudioCodec::Aac:
      return "aac";
    case AudioCodec::Opus:
      return "opus";
    case AudioCodec::PcmAlaw:
      return "pcm_alaw";
    case AudioCodec::PcmMulaw:
      return "pcm_mulaw";
    case AudioCodec::Mp3:
      break;
  }
  return "mp3";
}

std::optional<AudioCodec> audioCodecOf(std::string_view name) {
  for (const AudioCodec codec : {AudioCodec::Aac, AudioCodec::Opus, AudioCodec::PcmAlaw,
                                 AudioCodec::PcmMulaw, AudioCodec::Mp3}) {
    if (name == audioCodecName(codec)) return codec;
  }
  return std::nullopt;
}
