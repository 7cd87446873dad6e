#include "host/bench/rivals/ContainerSeek.h"

#include <cstring>
#include <filesystem>
#include <random>

#include "host/HostError.h"
#include "host/bench/ResourceMeter.h"
#include "host/media/LibAv.h"
#include "host/media/ParameterSets.h"

namespace {

void check(int result, const std::string& path) {
  if (result >= 0) return;
  throw failure("cannot write " + path + " (" + libAvError(result) + ")", "make room on the disk");
}

/** A container that is being written; ends with its trailer. */
class Muxer {
 public:
  Muxer(const std::string& path, const char* format) : path_(path) {
    check(avformat_alloc_output_context2(&context_, nullptr, format, path.c_str()), path_);
    check(avio_open(&context_->pb, path.c_str(), AVIO_FLAG_WRITE), path_);
  }
  Muxer(const Muxer&) = delete;
  Muxer& operator=(const Muxer&) = delete;
  ~Muxer() {
    avio_closep(&context_->pb);
    avformat_free_context(context_);
  }

  void begin(const PictureEncoder::Picture& first, const char* flags) {
    const PictureEncoder::Form form;
    ParameterSets sets(MediaCodec::H264);
    sets.remember({first.bytes.data(), first.bytes.size()});
    stream_ = allocated(avformat_new_stream(context_, nullptr));
    AVCodecParameters& coded = *stream_->codecpar;
    coded.codec_type = AVMEDIA_TYPE_VIDEO;
    coded.codec_id = AV_CODEC_ID_H264;
    coded.width = form.width;
    coded.height = form.height;
    const auto& header = sets.annexB();
    coded.extradata = static_cast<std::uint8_t*>(
        allocated(av_mallocz(header.size() + AV_INPUT_BUFFER_PADDING_SIZE)));
    coded.extradata_size = static_cast<int>(header.size());
    std::memcpy(coded.extradata, header.data(), header.size());
    stream_->time_base = {1, BenchClip::FRAME_RATE};
    AVDictionary* options = nullptr;
    if (flags != nullptr) av_dict_set(&options, "movflags", flags, 0);
    const int result = avformat_write_header(context_, &options);
    av_dict_free(&options);
    check(result, path_);
  }

  void write(const PictureEncoder::Picture& picture, std::int64_t number) {
    AVPacket& packet = *packet_;
    if (av_new_packet(&packet, static_cast<int>(picture.bytes.size())) < 0) throw std::bad_alloc();
    std::memcpy(packet.data, picture.bytes.data(), picture.bytes.size());
    if (picture.key) packet.flags |= AV_PKT_FLAG_KEY;
    packet.pts = packet.dts = av_rescale_q(number, {1, BenchClip::FRAME_RATE}, stream_->time_base);
    packet.duration = av_rescale_q(1, {1, BenchClip::FRAME_RATE}, stream_->time_base);
    const int result = av_write_frame(context_, &packet);
    av_packet_unref(&packet);
    check(result, path_);
  }

  void end() { check(av_write_trailer(context_), path_); }

 private:
  const std::string path_;
  AVFormatContext* context_ = nullptr;
  AVStream* stream_ = nullptr;
  const LibAvOwner<AVPacket> packet_{allocated(av_packet_alloc())};
};

}  // namespace

ContainerSeek::ContainerSeek(BenchPlace& place, Kind kind, unsigned int seconds, unsigned int seeks)
    : kind_(kind),
      seconds_(seconds),
      seeks_(seeks),
      path_(place.freshDirectory(kind == Matroska ? "matroska" : "mp4") +
            (kind == Matroska ? "/footage.mkv" : "/footage.mp4")) {
  prepareLibAv();
  write(place.clip());
}

ContainerSeek::~ContainerSeek() {
  std::error_code ignored;
  std::filesystem::remove(path_, ignored);
}

std::string ContainerSeek::name() const {
  return std::string("libavformat, ") + (kind_ == Matroska ? "Matroska" : "fragmented MP4") +
         " of " + std::to_string(seconds_) + " s";
}

void ContainerSeek::write(const BenchClip& clip) const {
  Muxer muxer(path_, kind_ == Matroska ? "matroska" : "mp4");
  muxer.begin(clip.picture(0),
              kind_ == Matroska ? nullptr : "frag_keyframe+empty_moov+default_base_moof");
  for (std::int64_t i = 0; i < std::int64_t{seconds_} * BenchClip::FRAME_RATE; ++i) {
    muxer.write(clip.picture(static_cast<std::uint64_t>(i)), i);
  }
  muxer.end();
}

Measurement ContainerSeek::run() {
  Measurement result;
  // NOLINTNEXTLINE(cert-msc32-c,cert-msc51-cpp): every run asks for the same moments
  std::mt19937 random(1);
  const ResourceMeter meter;
  for (unsigned int i = 0; i < seeks_; ++i) {
    const unsigned int second = random() % seconds_;
    const auto begin = Latencies::Clock::now();
    const bool found = seekOnce(second);
    result.latencies.add(Latencies::Clock::now() - begin);
    if (found) ++result.operations;
  }
  meter.read(result);
  result.expectEqual("seeks of " + name(), seeks_, result.operations);
  return result;
}

bool ContainerSeek::seekOnce(unsigned int second) const {
  AVFormatContext* opened = nullptr;
  if (avformat_open_input(&opened, path_.c_str(), nullptr, nullptr) < 0) return false;
  const LibAvOwner<AVFormatContext> input(opened);
  const LibAvOwner<AVPacket> packet(allocated(av_packet_alloc()));
  if (input->nb_streams == 0) return false;
  const AVRational base = input->streams[0]->time_base;
  const std::int64_t wanted = av_rescale_q(second, {1, 1}, base);
  if (av_seek_frame(input.get(), 0, wanted, AVSEEK_FLAG_BACKWARD) < 0) return false;
  return av_read_frame(input.get(), packet.get()) == 0 && (packet->flags & AV_PKT_FLAG_KEY) != 0 &&
         av_rescale_q(packet->pts, base, {1, 1}) == second;
}
