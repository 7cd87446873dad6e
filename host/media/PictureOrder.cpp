#include "host/media/PictureOrder.h"

#include <algorithm>

#include "host/media/LibAv.h"

struct PictureOrder::Parser {
  LibAvOwner<AVCodecParserContext> parser;
  LibAvOwner<AVCodecContext> decoder;
};

PictureOrder::PictureOrder(MediaCodec codec, unsigned int reorderFrames)
    : parser_(std::make_unique<Parser>()),
      reorderFrames_(reorderFrames),
      placeStep_(codec == MediaCodec::H264 ? 2 : 1) {
  const AVCodecID id = libAvCodecId(codec);
  parser_->parser.reset(allocated(av_parser_init(id)));
  parser_->parser->flags |= PARSER_FLAG_COMPLETE_FRAMES;
  parser_->decoder.reset(allocated(avcodec_alloc_context3(avcodec_find_decoder(id))));
}

PictureOrder::~PictureOrder() = default;

std::int64_t PictureOrder::delayOf(MediaBytes annexB) {
  const std::int64_t place = placeOf(annexB);
  if (place == 0) decoded_ = 0;
  if (place % placeStep_ != 0) placeStep_ = 1;  // H.264 counts fields, but some encoders frames
  const std::int64_t shown = place / placeStep_ + reorderFrames_;
  return std::clamp<std::int64_t>(shown - decoded_++, 0, 2 * reorderFrames_ + 16);
}

std::int64_t PictureOrder::placeOf(MediaBytes annexB) {
  uint8_t* out = nullptr;
  int outSize = 0;
  av_parser_parse2(parser_->parser.get(), parser_->decoder.get(), &out, &outSize, annexB.data(),
                   static_cast<int>(annexB.size()), AV_NOPTS_VALUE, AV_NOPTS_VALUE, 0);
  return parser_->parser->output_picture_number;
}
