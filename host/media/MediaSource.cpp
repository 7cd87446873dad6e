#include "host/media/MediaSource.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>

#include "host/media/AudioTrack.h"
#include "host/media/LibAv.h"
#include "host/media/SecretText.h"
#include "runtime/KTClock.h"
#include "runtime/KTLogger.h"

struct MediaSource::Handles {
  LibAvOwner<AVFormatContext> format;
  LibAvOwner<AVPacket> packet{allocated(av_packet_alloc())};
};

namespace {

constexpr AVRational MICROSECONDS{1, AV_TIME_BASE};
constexpr unsigned int MAX_BROKEN_PACKETS = 100;

std::string schemeOf(const std::string& url) {
  const size_t end = url.find("://");
  return end == std::string::npos ? "file" : url.substr(0, end);
}

bool isLive(const std::string& scheme) {
  const std::array<const char*, 8> live = {"rtsp", "rtsps", "rtp",   "udp",
                                           "srt",  "rtmp",  "rtmps", "tcp"};
  return std::find(live.begin(), live.end(), scheme) != live.end();
}

std::string adviceFor(int result, bool network) {
  if (result == AVERROR_HTTP_UNAUTHORIZED)
    return "give user and password: USER:PASSWORD@ before the name of the camera";
  if (result == AVERROR_PROTOCOL_NOT_FOUND) return "check the part of the URL before ://";
  if (result == AVERROR_INVALIDDATA) return "give a video file or the URL of a camera";
  if (result == AVERROR(EACCES)) return "check its permissions";
  return network ? "check the URL and that the camera is switched on and can be reached"
                 : "check the path";
}

// A dictionary of options for avformat_open_input(), which takes out those that it knows.
class Options {
 public:
  Options() = default;
  Options(const Options&) = delete;
  Options& operator=(const Options&) = delete;
  ~Options() { av_dict_free(&options_); }

  void set(const char* key, const std::string& value) {
    av_dict_set(&options_, key, value.c_str(), 0);
  }
  [[nodiscard]] AVDictionary** get() { return &options_; }

 private:
  AVDictionary* options_ = nullptr;
};

void setNetworkOptions(Options& options, const std::string& scheme, bool withAudio) {
  const std::string timeoutUs = std::to_string(MediaSource::TIMEOUT_SECONDS * 1'000'000);
  if (scheme != "rtsp" && scheme != "rtsps") return options.set("rw_timeout", timeoutUs);
  options.set("rtsp_transport", "tcp");
  options.set("allowed_media_types", withAudio ? "video+audio" : "video");
  options.set("timeout", timeoutUs);
}

double perSecond(AVRational rate) {
  return rate.den == 0 ? 0 : av_q2d(rate);
}

// The rate of a stream. Some demuxers put the time base's frequency into a field that they do not
// know; no camera runs that fast.
AVRational rateOf(AVFormatContext& format, AVStream& stream) {
  for (const AVRational rate : {av_guess_frame_rate(&format, &stream, nullptr),
                                stream.avg_frame_rate, stream.r_frame_rate}) {
    if (perSecond(rate) > 0 && perSecond(rate) < 255.5) return rate;
  }
  return {25, 1};
}

bool hasSentPackets(const AVFormatContext& format) {
  return std::any_of(format.streams, format.streams + format.nb_streams,
                     [](const AVStream* s) { return s->start_time != AV_NOPTS_VALUE; });
}

}  // namespace

MediaSource::MediaSource(const std::string& url, const MediaStop& stop, bool withAudio)
    : stop_(stop),
      name_(SecretText::ofWord(url)),
      handles_(std::make_unique<Handles>()),
      network_(isNetwork(url)) {
  prepareLibAv();
  info_.live = isLive(schemeOf(url));
  open(url, withAudio);
  chooseStream();
  if (withAudio) chooseAudio();
  describeStream();
}

MediaSource::~MediaSource() = default;

bool MediaSource::isNetwork(const std::string& url) {
  return schemeOf(url) != "file";
}

// rtsp:// is a form of input of libavformat and not one of its protocols, unlike all the others. Of
// these, files alone can be looked at without opening them.
void MediaSource::check(const std::string& url) {
  prepareLibAv();
  if (schemeOf(url).starts_with("rtsp")) return;
  const char* const protocol = avio_find_protocol_name(url.c_str());
  const bool isFile = protocol != nullptr && std::string_view(protocol) == "file";
  const int result = protocol == nullptr ? AVERROR_PROTOCOL_NOT_FOUND
                     : isFile            ? avio_check(url.c_str(), AVIO_FLAG_READ)
                                         : 0;
  if (result >= 0) return;
  throw MediaError("cannot open " + SecretText::ofWord(url) + ": " + libAvError(result),
                   adviceFor(result, isNetwork(url)));
}

void MediaSource::open(const std::string& url, bool withAudio) {
  AVFormatContext* format = allocated(avformat_alloc_context());
  format->interrupt_callback.opaque = this;
  format->interrupt_callback.callback = [](void* source) {
    return static_cast<MediaSource*>(source)->waitIsOver() ? 1 : 0;
  };
  Options options;
  if (network_) setNetworkOptions(options, schemeOf(url), withAudio);
  startWaiting();
  int result = avformat_open_input(&format, url.c_str(), nullptr, options.get());
  handles_->format.reset(format);  // null after a failure
  if (result >= 0) {
    useArrivalTimes();
    startWaiting();
    result = avformat_find_stream_info(format, nullptr);
  }
  if (result >= 0 && !stop_.requested()) return;
  if (stop_.requested()) throw MediaError("opening " + name_ + " was stopped", "start it again");
  throw MediaError("cannot open " + name_ + ": " + flaw(result),
                   adviceFor(silent_ ? AVERROR(ETIMEDOUT) : result, network_));
}

// A camera's row of JPEG pictures over HTTP carries no times; counting at some rate would be wrong.
void MediaSource::useArrivalTimes() {
  AVFormatContext& format = *handles_->format;
  if (!network_ || std::string_view(format.iformat->name) != "mpjpeg") return;
  format.use_wallclock_as_timestamps = 1;
  info_.live = true;
}

void MediaSource::chooseStream() {
  AVFormatContext& format = *handles_->format;
  const int best = av_find_best_stream(&format, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
  std::string others;
  for (unsigned int i = 0; i < format.nb_streams; ++i) {
    AVStream* const stream = format.streams[i];
    const AVCodecParameters& coded = *stream->codecpar;
    stream->discard = AVDISCARD_ALL;
    if (coded.codec_type != AVMEDIA_TYPE_VIDEO) continue;
    if ((stream->disposition & AV_DISPOSITION_ATTACHED_PIC) != 0) continue;
    const bool stored = mediaCodecOf(coded.codec_id).has_value();
    if (!stored)
      others += std::string(others.empty() ? "" : ", ") + avcodec_get_name(coded.codec_id);
    if (stored && (stream_ == nullptr || static_cast<int>(i) == best)) stream_ = stream;
  }
  if (stream_ == nullptr && others.empty()) {
    throw lack(" has no video", "give a source with H.264, H.265 or MJPEG video");
  }
  if (stream_ == nullptr) {
    throw MediaError(name_ + " has " + others + " video",
                     std::string("only ") + MEDIA_CODECS_STORED +
                         " are stored: set the camera to one of them or convert the file");
  }
  stream_->discard = AVDISCARD_DEFAULT;
}

// The best sound for the chosen picture, or else the first that can be stored.
void MediaSource::chooseAudio() {
  AVFormatContext& format = *handles_->format;
  const int best = av_find_best_stream(&format, AVMEDIA_TYPE_AUDIO, -1, stream_->index, nullptr, 0);
  std::string others;
  for (unsigned int i = 0; i < format.nb_streams; ++i) {
    AVStream* const stream = format.streams[i];
    const AVCodecParameters& coded = *stream->codecpar;
    if (coded.codec_type != AVMEDIA_TYPE_AUDIO) continue;
    const bool stored = AudioTrack::canStore(coded);
    if (!stored)
      others += std::string(others.empty() ? "" : ", ") + avcodec_get_name(coded.codec_id);
    if (stored && (audio_ == nullptr || static_cast<int>(i) == best)) audio_ = stream;
  }
  if (audio_ != nullptr) {
    audio_->discard = AVDISCARD_DEFAULT;
  } else if (!others.empty()) {
    KTLogger::instance()->log(KTLogger::Warning,
                              "[ MediaSource ] %s: the sound (%s) is left out, only %s are stored: "
                              "set the camera to one of them or convert the file",
                              name_.c_str(), others.c_str(), AUDIO_CODECS_STORED);
  }
}

// What the source does not show, because it has sent nothing or else because it has none.
MediaError MediaSource::lack(const char* what, const char* advice) const {
  if (!silent_ || hasSentPackets(*handles_->format)) return {name_ + what, advice};
  const int result = AVERROR(ETIMEDOUT);
  return {"cannot open " + name_ + ": " + flaw(result), adviceFor(result, network_)};
}

const AVCodecParameters* MediaSource::audio() const {
  return audio_ == nullptr ? nullptr : audio_->codecpar;
}

void MediaSource::describeStream() {
  const AVCodecParameters& coded = *stream_->codecpar;
  if (coded.width <= 0 || coded.height <= 0) {
    throw lack(" does not show the size of its pictures", "check that the source sends key frames");
  }
  const AVRational rate = rateOf(*handles_->format, *stream_);
  info_.codec = *mediaCodecOf(coded.codec_id);
  info_.width = coded.width;
  info_.height = coded.height;
  info_.frameRate = std::clamp(static_cast<int>(std::lround(av_q2d(rate))), 1, 255);
  info_.frameUs = av_rescale_q(1, av_inv_q(rate), MICROSECONDS);
  info_.reorderFrames = static_cast<unsigned int>(std::clamp(coded.video_delay, 0, 16));
}

MediaBytes MediaSource::header() const {
  const AVCodecParameters& coded = *stream_->codecpar;
  return {coded.extradata, static_cast<size_t>(coded.extradata_size)};
}

bool MediaSource::next() {
  AVPacket* const packet = handles_->packet.get();
  if (!isAudio_) startWaiting();  // a camera whose picture stands still is lost, sound or not
  while (!stop_.requested()) {
    av_packet_unref(packet);
    const int result = av_read_frame(handles_->format.get(), packet);
    if (result < 0) {
      if (refused(result)) return false;
      continue;
    }
    broken_ = 0;
    isAudio_ = audio_ != nullptr && packet->stream_index == audio_->index;
    if (packet->size > 0 && (isAudio_ || packet->stream_index == stream_->index)) return true;
  }
  return false;
}

// What a failed read means: true ends the source, false goes on with the next packet.
bool MediaSource::refused(int result) {
  if (stop_.requested()) return true;
  if (!silent_) {
    if (result == AVERROR_EOF) return true;
    if (result == AVERROR(EAGAIN) && !waitIsOver()) {
      KTClock::instance()->sleep(KTTimeValue(0, 10'000));
      return false;
    }
    if (result == AVERROR_INVALIDDATA && ++broken_ < MAX_BROKEN_PACKETS) return false;
  }
  if (stop_.requested()) return true;
  throw MediaError("reading " + name_ + " failed: " + flaw(result),
                   network_ ? "check the camera and the network" : "check the file and its disk");
}

AVPacket& MediaSource::packet() const {
  return *handles_->packet;
}

MediaBytes MediaSource::packetHeader() const {
  size_t size = 0;
  const uint8_t* header =
      av_packet_get_side_data(handles_->packet.get(), AV_PKT_DATA_NEW_EXTRADATA, &size);
  return header == nullptr ? MediaBytes() : MediaBytes(header, size);
}

std::optional<std::int64_t> MediaSource::dtsUs() const {
  return microseconds(packet().dts);
}

std::optional<std::int64_t> MediaSource::ptsUs() const {
  return microseconds(packet().pts);
}

std::optional<std::int64_t> MediaSource::microseconds(std::int64_t stamp) const {
  if (stamp == AV_NOPTS_VALUE) return std::nullopt;
  const AVStream& stream = isAudio_ ? *audio_ : *stream_;
  return av_rescale_q(stamp, stream.time_base, MICROSECONDS);
}

std::int64_t MediaSource::durationUs() const {
  return std::max<std::int64_t>(0, microseconds(packet().duration).value_or(0));
}

void MediaSource::startWaiting() {
  const KTClock::Span timeout = std::chrono::seconds(TIMEOUT_SECONDS);
  waitEndUs_ = (KTClock::instance()->elapsed() + timeout).count();
  silent_ = false;
}

// A file may be slow to come (a pipe, a tape); a network source that is silent is lost.
bool MediaSource::waitIsOver() {
  if (stop_.requested()) return true;
  silent_ = network_ && KTClock::instance()->elapsed().count() >= waitEndUs_;
  return silent_;
}

// A wait that is over in the middle of a packet comes back from libavformat as one of many errors.
std::string MediaSource::flaw(int result) const {
  const bool silent = silent_ || result == AVERROR_EXIT || result == AVERROR(ETIMEDOUT);
  return silent ? "no answer for " + std::to_string(TIMEOUT_SECONDS) + " seconds"
                : libAvError(result);
}
