// Owners of libav's objects and the few things that several sources of this folder ask of libav.
// Private to this folder and to the bench, which compares with libav: no other header includes it.
#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavcodec/bsf.h>
#include <libavformat/avformat.h>
#include <libavutil/hash.h>
#include <libavutil/opt.h>
}

#include <memory>
#include <optional>
#include <string>

#include "host/media/AudioCodec.h"
#include "host/media/MediaCodec.h"

struct LibAvDelete {
  void operator()(AVPacket* packet) const { av_packet_free(&packet); }
  void operator()(AVFrame* frame) const { av_frame_free(&frame); }
  void operator()(AVBSFContext* filter) const { av_bsf_free(&filter); }
  void operator()(AVCodecContext* decoder) const { avcodec_free_context(&decoder); }
  void operator()(AVCodecParserContext* parser) const { av_parser_close(parser); }
  void operator()(AVFormatContext* input) const { avformat_close_input(&input); }
  void operator()(AVHashContext* hash) const { av_hash_freep(&hash); }
};

template <typename T>
using LibAvOwner = std::unique_ptr<T, LibAvDelete>;

/** To be called before libav is used: sets what it may write to standard error. */
void prepareLibAv();

/** libav's text for one of its negative results. */
[[nodiscard]] std::string libAvError(int result);

[[nodiscard]] AVCodecID libAvCodecId(MediaCodec codec);
[[nodiscard]] AVCodecID libAvCodecId(AudioCodec codec);
[[nodiscard]] std::optional<MediaCodec> mediaCodecOf(AVCodecID id);

/** pointer, or std::bad_alloc when it is null: libav allocates no other way of failing. */
template <typename T>
[[nodiscard]] T* allocated(T* pointer) {
  if (pointer == nullptr) throw std::bad_alloc();
  return pointer;
}
