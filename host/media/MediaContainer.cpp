#include "host/media/MediaContainer.h"

#include <algorithm>
#include <cstring>

#include "host/media/LibAv.h"
#include "host/media/MediaError.h"
#include "runtime/KTLogger.h"

struct MediaContainer::Muxer {
  AVFormatContext* format = nullptr;
  AVStream* stream = nullptr;
  AVStream* audio = nullptr;  // null without sound
  LibAvOwner<AVPacket> held{allocated(av_packet_alloc())};
  LibAvOwner<AVPacket> sound{allocated(av_packet_alloc())};
  std::int64_t lastTick = AV_NOPTS_VALUE;
  std::int64_t lastAudioTick = AV_NOPTS_VALUE;

  Muxer() = default;
  Muxer(const Muxer&) = delete;
  Muxer& operator=(const Muxer&) = delete;
  ~Muxer() { avformat_free_context(format); }
};

namespace {

void fill(AVPacket& packet, const KTDataBlock& bytes) {
  if (av_new_packet(&packet, static_cast<int>(bytes.size)) < 0) throw std::bad_alloc();
  std::memcpy(packet.data, bytes.data, bytes.size);
}

// Hands the bytes over as they stand, shared until libav is done with them.
void lend(AVPacket& packet, const KTDataBlock& bytes) {
  auto held = std::make_unique<KTDataBlock>(bytes);
  const auto release = [](void* block, uint8_t*) { delete static_cast<KTDataBlock*>(block); };
  auto* const data = const_cast<uint8_t*>(bytes.data);
  packet.buf =
      allocated(av_buffer_create(data, bytes.size, release, held.get(), AV_BUFFER_FLAG_READONLY));
  static_cast<void>(held.release());
  packet.data = data;
  packet.size = static_cast<int>(bytes.size);
}

// Decodes one key frame: the surest way to its size, cropping included.
LibAvOwner<AVCodecContext> decoded(MediaCodec codec, const KTDataBlock& picture) {
  const AVCodec* const coder = avcodec_find_decoder(libAvCodecId(codec));
  LibAvOwner<AVCodecContext> decoder(allocated(avcodec_alloc_context3(coder)));
  const LibAvOwner<AVPacket> packet(allocated(av_packet_alloc()));
  const LibAvOwner<AVFrame> frame(allocated(av_frame_alloc()));
  decoder->thread_count = 1;
  fill(*packet, picture);
  if (avcodec_open2(decoder.get(), coder, nullptr) == 0 &&
      avcodec_send_packet(decoder.get(), packet.get()) == 0) {
    avcodec_send_packet(decoder.get(), nullptr);
    avcodec_receive_frame(decoder.get(), frame.get());
  }
  return decoder;
}

void setHeader(AVCodecParameters& coded, const std::vector<unsigned char>& sets) {
  if (sets.empty()) return;
  coded.extradata =
      static_cast<uint8_t*>(allocated(av_mallocz(sets.size() + AV_INPUT_BUFFER_PADDING_SIZE)));
  coded.extradata_size = static_cast<int>(sets.size());
  std::memcpy(coded.extradata, sets.data(), sets.size());
}

MediaBytes bytesOf(const KTDataBlock& block) {
  return {block.data, block.size};
}

}  // namespace

MediaContainer::MediaContainer(const std::string& path, const char* format, MediaCodec codec,
                               const AudioHeader* audio)
    : path_(path),
      codec_(codec),
      file_(path, BlockOutput::InBlocks),
      muxer_(std::make_unique<Muxer>()),
      sets_(codec) {
  prepareLibAv();
  if (avformat_alloc_output_context2(&muxer_->format, nullptr, format, path.c_str()) < 0) {
    throw std::bad_alloc();
  }
  muxer_->format->pb = file_.context();
  muxer_->stream = allocated(avformat_new_stream(muxer_->format, nullptr));
  if (audio != nullptr) addAudio(*audio);
}

MediaContainer::~MediaContainer() = default;

void MediaContainer::addAudio(const AudioHeader& audio) {
  muxer_->audio = allocated(avformat_new_stream(muxer_->format, nullptr));
  AVCodecParameters& coded = *muxer_->audio->codecpar;
  coded.codec_type = AVMEDIA_TYPE_AUDIO;
  coded.codec_id = libAvCodecId(audio.codec);
  coded.sample_rate = static_cast<int>(audio.sampleRate);
  av_channel_layout_default(&coded.ch_layout, static_cast<int>(audio.channels));
  if (audio.codec == AudioCodec::PcmAlaw || audio.codec == AudioCodec::PcmMulaw) {
    coded.bits_per_coded_sample = 8;
    coded.block_align = static_cast<int>(audio.channels);
    coded.bit_rate = 8LL * audio.channels * audio.sampleRate;
  }
  setHeader(coded, audio.extraData);
  muxer_->audio->time_base = {1, coded.sample_rate};
}

void MediaContainer::write(std::int64_t stampMs, const KTRVideoFrame& frame) {
  const KTDataBlock picture = frame.payload();
  if (started_) {
    const std::int64_t durationMs = std::max<std::int64_t>(stampMs - heldMs_, 0);
    writeHeld(durationMs);
    if (durationMs != 0) durationMs_ = durationMs;
  } else {
    begin(picture);
    startMs_ = stampMs;
    started_ = true;
  }
  watchParameterSets(frame, picture);
  hold(stampMs, frame, picture);
}

void MediaContainer::begin(const KTDataBlock& firstPicture) {
  AVCodecParameters& coded = *muxer_->stream->codecpar;
  const auto decoder = decoded(codec_, firstPicture);
  if (avcodec_parameters_from_context(&coded, decoder.get()) < 0) throw std::bad_alloc();
  if (coded.width <= 0 || coded.height <= 0) {
    throw MediaError("the first key frame for " + path_ + " cannot be decoded",
                     "begin at another time or write the bytes alone, to a pipe");
  }
  coded.codec_tag = 0;
  if (codec_ != MediaCodec::Mjpeg) {
    sets_.remember(bytesOf(firstPicture));
    setHeader(coded, sets_.annexB());
  }
  muxer_->stream->time_base = {1, 1000};
  file_.check(avformat_write_header(muxer_->format, nullptr));
}

void MediaContainer::watchParameterSets(const KTRVideoFrame& frame, const KTDataBlock& picture) {
  if (setsChanged_ || !frame.isKFrame()) return;
  const std::vector<unsigned char> before = sets_.annexB();
  sets_.remember(bytesOf(picture));
  if (sets_.annexB() == before) return;
  setsChanged_ = true;
  KTLogger::instance()->log(KTLogger::Warning,
                            "[ MediaContainer ] %s: the parameter sets of the video change in the "
                            "middle; a player that cannot follow needs one file for each part",
                            path_.c_str());
}

// Places the frame; a stamp that does not rise is put right behind the one before, as a container
// needs it.
void MediaContainer::hold(std::int64_t stampMs, const KTRVideoFrame& frame,
                          const KTDataBlock& picture) {
  AVPacket& packet = *muxer_->held;
  lend(packet, picture);
  if (!(frame.kind() == KTRFrameFormat::Delta)) packet.flags |= AV_PKT_FLAG_KEY;
  packet.stream_index = muxer_->stream->index;
  packet.dts = ticks(stampMs - startMs_);
  if (muxer_->lastTick != AV_NOPTS_VALUE) packet.dts = std::max(packet.dts, muxer_->lastTick + 1);
  packet.pts = std::max(ticks(stampMs - startMs_ + frame.compositionOffset()), packet.dts);
  muxer_->lastTick = packet.dts;
  heldMs_ = stampMs;
}

void MediaContainer::writeHeld(std::int64_t durationMs) {
  muxer_->held->duration = ticks(durationMs);
  const int result = av_write_frame(muxer_->format, muxer_->held.get());
  av_packet_unref(muxer_->held.get());
  file_.check(result);
}

void MediaContainer::writeAudio(const AudioPacket& packet) {
  const std::int64_t us = packet.timeUs - startMs_ * 1000;
  if (!started_ || muxer_->audio == nullptr || us < 0) return;
  constexpr AVRational microseconds{1, AV_TIME_BASE};
  AVPacket& sound = *muxer_->sound;
  lend(sound, packet.bytes);
  sound.flags |= AV_PKT_FLAG_KEY;
  sound.stream_index = muxer_->audio->index;
  sound.dts = av_rescale_q(us, microseconds, muxer_->audio->time_base);
  if (muxer_->lastAudioTick != AV_NOPTS_VALUE)
    sound.dts = std::max(sound.dts, muxer_->lastAudioTick + 1);
  sound.pts = muxer_->lastAudioTick = sound.dts;
  sound.duration = av_rescale_q(packet.durationUs, microseconds, muxer_->audio->time_base);
  const int result = av_write_frame(muxer_->format, &sound);
  av_packet_unref(&sound);
  file_.check(result);
}

void MediaContainer::finish() {
  if (!started_) return;
  started_ = false;
  writeHeld(durationMs_);
  file_.check(av_write_trailer(muxer_->format));
  muxer_->format->pb = nullptr;
  file_.close();
}

std::int64_t MediaContainer::ticks(std::int64_t ms) const {
  return av_rescale_q(ms, {1, 1000}, muxer_->stream->time_base);
}
