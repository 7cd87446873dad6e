#include "host/media/PictureEncoder.h"

#include <cstdint>

#include "host/media/LibAv.h"
#include "host/media/MediaError.h"

namespace {

constexpr int ONE_THREAD = 1;  // of the encoder: the bytes are the same on every machine

// Grain that no encoder can foresee, so that the bit rate is reached; the same at every run.
class Grain {
 public:
  std::uint8_t next() {
    state_ = state_ * 1664525U + 1013904223U;
    return static_cast<std::uint8_t>(state_ >> 24);
  }

 private:
  std::uint32_t state_ = 1;
};

void draw(AVFrame& frame, int number, Grain& grain) {
  constexpr int GRAIN_BITS = 3;
  for (int y = 0; y < frame.height; ++y) {
    std::uint8_t* const line = frame.data[0] + static_cast<std::ptrdiff_t>(y) * frame.linesize[0];
    for (int x = 0; x < frame.width; ++x) {
      line[x] = static_cast<std::uint8_t>(((x + y + 3 * number) & 0x7F) + 64 +
                                          (grain.next() >> GRAIN_BITS));
    }
  }
  for (int plane = 1; plane < 3; ++plane) {
    for (int y = 0; y < frame.height / 2; ++y) {
      std::uint8_t* const line =
          frame.data[plane] + static_cast<std::ptrdiff_t>(y) * frame.linesize[plane];
      for (int x = 0; x < frame.width / 2; ++x) {
        line[x] = static_cast<std::uint8_t>(128 + ((x + number) & 0x1F));
      }
    }
  }
}

LibAvOwner<AVCodecContext> openEncoder(const PictureEncoder::Form& form) {
  const AVCodec* const coder = avcodec_find_encoder_by_name("libx264");
  if (coder == nullptr) {
    throw MediaError("this libavcodec cannot encode H.264", "install one with libx264");
  }
  LibAvOwner<AVCodecContext> encoder(allocated(avcodec_alloc_context3(coder)));
  encoder->width = form.width;
  encoder->height = form.height;
  encoder->pix_fmt = AV_PIX_FMT_YUV420P;
  encoder->time_base = {1, form.frameRate};
  encoder->framerate = {form.frameRate, 1};
  encoder->gop_size = form.keyInterval;
  encoder->keyint_min = form.keyInterval;
  encoder->max_b_frames = 0;
  encoder->thread_count = ONE_THREAD;
  encoder->bit_rate = form.bitRate;
  encoder->rc_max_rate = form.bitRate;
  // What the buffer holds is how far the rate may be missed, and a full one is spent at once.
  encoder->rc_buffer_size = form.bitRate / 4;
  encoder->rc_initial_buffer_occupancy = encoder->rc_buffer_size / 2;
  av_opt_set(encoder->priv_data, "preset", "ultrafast", 0);
  av_opt_set(encoder->priv_data, "tune", "zerolatency", 0);
  av_opt_set(encoder->priv_data, "x264-params", "nal-hrd=cbr:scenecut=0", 0);
  if (const int result = avcodec_open2(encoder.get(), coder, nullptr); result < 0) {
    throw MediaError("cannot encode H.264 (" + libAvError(result) + ")",
                     "install a libavcodec with libx264");
  }
  return encoder;
}

LibAvOwner<AVFrame> emptyFrame(const PictureEncoder::Form& form) {
  LibAvOwner<AVFrame> frame(allocated(av_frame_alloc()));
  frame->format = AV_PIX_FMT_YUV420P;
  frame->width = form.width;
  frame->height = form.height;
  if (av_frame_get_buffer(frame.get(), 0) < 0) throw std::bad_alloc();
  return frame;
}

void takePackets(AVCodecContext& encoder, std::vector<PictureEncoder::Picture>& pictures) {
  const LibAvOwner<AVPacket> packet(allocated(av_packet_alloc()));
  while (avcodec_receive_packet(&encoder, packet.get()) == 0) {
    pictures.push_back(
        {{packet->data, packet->data + packet->size}, (packet->flags & AV_PKT_FLAG_KEY) != 0});
    av_packet_unref(packet.get());
  }
}

}  // namespace

std::vector<PictureEncoder::Picture> PictureEncoder::encode(unsigned int pictures) const {
  prepareLibAv();
  const LibAvOwner<AVCodecContext> encoder = openEncoder(form_);
  const LibAvOwner<AVFrame> frame = emptyFrame(form_);
  std::vector<Picture> encoded;
  Grain grain;
  for (unsigned int number = 0; number < pictures; ++number) {
    if (av_frame_make_writable(frame.get()) < 0) throw std::bad_alloc();
    draw(*frame, static_cast<int>(number), grain);
    frame->pts = number;
    avcodec_send_frame(encoder.get(), frame.get());
    takePackets(*encoder, encoded);
  }
  avcodec_send_frame(encoder.get(), nullptr);
  takePackets(*encoder, encoded);
  return encoded;
}
