#include "host/media/VideoForm.h"

#include "host/media/LibAv.h"

namespace {

using Info = MediaSource::Info;

/** Sizes stand in the segment that begins a frame: marker C0 to CF but for C4, C8 and CC. */
bool isFrameHead(unsigned char marker) {
  return (marker & 0xF0) == 0xC0 && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
}

std::optional<Info> jpegForm(MediaBytes bytes) {
  constexpr size_t sizesEnd = 9;
  if (bytes.size() < 2 || bytes[0] != 0xFF || bytes[1] != 0xD8) return std::nullopt;
  Info info;
  info.codec = MediaCodec::Mjpeg;
  for (size_t at = 2; at + sizesEnd <= bytes.size() && bytes[at] == 0xFF;) {
    const MediaBytes segment = bytes.subspan(at);
    if (isFrameHead(segment[1])) {
      info.height = segment[5] << 8 | segment[6];
      info.width = segment[7] << 8 | segment[8];
      break;
    }
    at += 2U + (segment[2] << 8 | segment[3]);
  }
  return info;
}

bool holdsSets(MediaBytes annexB, MediaCodec codec) {
  bool sps = false;
  bool pps = false;
  bool vps = codec != MediaCodec::Hevc;
  for (NalUnits units(annexB); units.next();) {
    const NalKind kind = units.kind(codec);
    sps = sps || kind == NalKind::Sps;
    pps = pps || kind == NalKind::Pps;
    vps = vps || kind == NalKind::Vps;
  }
  return sps && pps && vps;
}

Info annexBForm(MediaBytes annexB, MediaCodec codec) {
  const AVCodecID id = libAvCodecId(codec);
  const LibAvOwner<AVCodecParserContext> parser(allocated(av_parser_init(id)));
  const LibAvOwner<AVCodecContext> decoder(
      allocated(avcodec_alloc_context3(avcodec_find_decoder(id))));
  parser->flags |= PARSER_FLAG_COMPLETE_FRAMES;
  uint8_t* out = nullptr;
  int outSize = 0;
  av_parser_parse2(parser.get(), decoder.get(), &out, &outSize, annexB.data(),
                   static_cast<int>(annexB.size()), AV_NOPTS_VALUE, AV_NOPTS_VALUE, 0);
  Info info;
  info.codec = codec;
  info.width = parser->width;
  info.height = parser->height;
  return info;
}

}  // namespace

std::optional<Info> VideoForm::of(MediaBytes picture) {
  if (const auto jpeg = jpegForm(picture)) return jpeg;
  prepareLibAv();
  for (const MediaCodec codec : {MediaCodec::Hevc, MediaCodec::H264}) {
    if (holdsSets(picture, codec)) return annexBForm(picture, codec);
  }
  return std::nullopt;
}
