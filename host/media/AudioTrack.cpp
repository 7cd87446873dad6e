#include "host/media/AudioTrack.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "host/media/AudioFormat.h"
#include "host/media/LibAv.h"

struct AudioTrack::Coded {
  AVCodecParameters* parameters = allocated(avcodec_parameters_alloc());
  LibAvOwner<AVBSFContext> adts;  // null when the packets have no ADTS heads

  Coded() = default;
  Coded(const Coded&) = delete;
  Coded& operator=(const Coded&) = delete;
  ~Coded() { avcodec_parameters_free(&parameters); }
};

namespace {

// RTP carries Opus without the header that containers want.
std::vector<unsigned char> opusHead(const AVCodecParameters& coded) {
  std::vector<unsigned char> head = {'O', 'p', 'u', 's', 'H', 'e', 'a', 'd', 1};
  head.push_back(static_cast<unsigned char>(coded.ch_layout.nb_channels));
  const std::array<unsigned char, 9> rest = {0, 0, 0x80, 0xBB, 0, 0, 0, 0, 0};  // 48000 Hz
  head.insert(head.end(), rest.begin(), rest.end());
  return head;
}

LibAvOwner<AVBSFContext> adtsFilter(const AVCodecParameters& coded) {
  AVBSFContext* filter = nullptr;
  if (av_bsf_alloc(av_bsf_get_by_name("aac_adtstoasc"), &filter) < 0) throw std::bad_alloc();
  LibAvOwner<AVBSFContext> owner(filter);
  if (avcodec_parameters_copy(filter->par_in, &coded) < 0) throw std::bad_alloc();
  if (av_bsf_init(filter) < 0) return nullptr;
  return owner;
}

}  // namespace

AudioTrack::AudioTrack(const AVCodecParameters& coded) : coded_(std::make_unique<Coded>()) {
  if (avcodec_parameters_copy(coded_->parameters, &coded) < 0) throw std::bad_alloc();
  const bool needsHead = coded.extradata_size == 0;
  if (coded.codec_id == AV_CODEC_ID_AAC && needsHead) {
    coded_->adts = adtsFilter(coded);
  } else if (coded.codec_id == AV_CODEC_ID_OPUS && needsHead) {
    completeHeader(opusHead(coded));
  } else if (coded.codec_id == AV_CODEC_ID_AAC || coded.codec_id == AV_CODEC_ID_OPUS) {
    completeHeader({coded.extradata, coded.extradata + coded.extradata_size});
  } else {
    completeHeader({});
  }
}

AudioTrack::~AudioTrack() = default;

bool AudioTrack::canStore(const AVCodecParameters& coded) {
  constexpr int longest = AudioFormat::MAX_HEADER_SIZE - 64;
  return audioCodecOf(avcodec_get_name(coded.codec_id)).has_value() && coded.sample_rate > 0 &&
         coded.ch_layout.nb_channels > 0 && coded.ch_layout.nb_channels <= 255 &&
         coded.extradata_size <= longest;
}

void AudioTrack::completeHeader(const std::vector<unsigned char>& extraData) {
  const AVCodecParameters& coded = *coded_->parameters;
  header_ = AudioHeader{*audioCodecOf(avcodec_get_name(coded.codec_id)),
                        static_cast<unsigned int>(coded.ch_layout.nb_channels),
                        static_cast<unsigned int>(coded.sample_rate), extraData};
}

void AudioTrack::add(AVPacket& packet, AudioTimeline::Stamp stampUs, std::int64_t durationUs) {
  const bool sound = packet.size > 0 && (coded_->adts == nullptr || removeAdtsHead(packet));
  if (sound && header_) {
    const KTDataBlock bytes(packet.data, static_cast<unsigned int>(packet.size));
    waiting_.push_back({bytes, stampUs, durationUs != 0 ? durationUs : this->durationUs(packet)});
  }
  av_packet_unref(&packet);
}

// The first packet tells the header.
bool AudioTrack::removeAdtsHead(AVPacket& packet) {
  AVBSFContext* const filter = coded_->adts.get();
  if (av_bsf_send_packet(filter, &packet) < 0) return false;
  if (av_bsf_receive_packet(filter, &packet) < 0) return false;
  size_t size = 0;
  const uint8_t* extra = av_packet_get_side_data(&packet, AV_PKT_DATA_NEW_EXTRADATA, &size);
  if (extra != nullptr && !header_) completeHeader({extra, extra + size});
  return packet.size > 0;
}

std::int64_t AudioTrack::durationUs(const AVPacket& packet) const {
  AVCodecParameters& coded = *coded_->parameters;
  if (coded.codec_id == AV_CODEC_ID_OPUS) {
    return opusDurationUs({packet.data, static_cast<size_t>(packet.size)});
  }
  const int samples = av_get_audio_frame_duration2(&coded, packet.size);
  return av_rescale(std::max(samples, 0), AV_TIME_BASE, coded.sample_rate);
}

// RFC 6716, 3.1: the first byte holds the length of a frame and the code of their number.
std::int64_t AudioTrack::opusDurationUs(MediaBytes packet) {
  if (packet.empty()) return 0;
  constexpr std::array<int, 4> silk = {10'000, 20'000, 40'000, 60'000};
  constexpr std::array<int, 2> hybrid = {10'000, 20'000};
  constexpr std::array<int, 4> celt = {2'500, 5'000, 10'000, 20'000};
  const unsigned int config = packet[0] >> 3;
  const std::int64_t frameUs = config < 12   ? silk.at(config & 3)
                               : config < 16 ? hybrid.at(config & 1)
                                             : celt.at(config & 3);
  const unsigned int code = packet[0] & 3;
  if (code == 0) return frameUs;
  if (code != 3) return 2 * frameUs;
  return packet.size() < 2 ? 0 : (packet[1] & 0x3F) * frameUs;
}

void AudioTrack::place(const MediaTimeline& pictures) {
  if (!pictures.started()) return;
  for (const Waiting& each : waiting_) {
    const auto timeUs = timeline_.place(each.stampUs, each.durationUs, pictures);
    if (timeUs) placed_.push_back({each.bytes, *timeUs, each.durationUs});
  }
  waiting_.clear();
}

std::vector<AudioPacket> AudioTrack::take() {
  return std::exchange(placed_, {});
}
