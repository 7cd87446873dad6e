#include "tests/host_media/TestRtspServer.h"

#include <sys/socket.h>
#include <unistd.h>

#include <memory>
#include <stdexcept>
#include <vector>

#include "host/media/LibAv.h"

namespace {

/** Where the packets of one track go. */
struct Channel {
  int* socket;
  unsigned char number;  // of RTP; that of RTCP is the next one
};

// One RTP or RTCP packet, framed for the channel that was agreed on.
int sendPacket(void* opaque, uint8_t* packet, int size) {
  const Channel& channel = *static_cast<Channel*>(opaque);
  const bool rtcp = size > 1 && packet[1] >= 200 && packet[1] <= 204;
  const unsigned char head[] = {'$', static_cast<unsigned char>(channel.number + (rtcp ? 1 : 0)),
                                static_cast<unsigned char>(size >> 8),
                                static_cast<unsigned char>(size)};
  TestListener::sendAll(*channel.socket, head, sizeof(head));
  TestListener::sendAll(*channel.socket, packet, static_cast<size_t>(size));
  return size;
}

std::string fieldOf(const std::string& request, const std::string& name) {
  const size_t at = request.find("\r\n" + name + ": ");
  if (at == std::string::npos) return "";
  const size_t begin = at + name.size() + 4;
  return request.substr(begin, request.find("\r\n", begin) - begin);
}

// The track that a SETUP names, as the SDP does.
int trackOf(const std::string& request) {
  const std::string line = request.substr(0, request.find("\r\n"));
  const size_t at = line.find("streamid=");
  return at == std::string::npos ? 0 : std::stoi(line.substr(at + 9));
}

/** One track of a clip as RTP. */
class RtpTrack {
 public:
  RtpTrack(const AVStream& from, int* socket) : from_(from) {
    channel_ = {socket, static_cast<unsigned char>(2 * from.index)};
    avformat_alloc_output_context2(&rtp_, nullptr, "rtp", nullptr);
    stream_ = avformat_new_stream(rtp_, nullptr);
    avcodec_parameters_copy(stream_->codecpar, from.codecpar);
    const int packetSize = 1400;
    rtp_->pb = avio_alloc_context(static_cast<unsigned char*>(av_malloc(packetSize)), packetSize, 1,
                                  &channel_, nullptr, sendPacket, nullptr);
    rtp_->pb->max_packet_size = packetSize;
    if (avformat_write_header(rtp_, nullptr) < 0) throw std::runtime_error("no RTP");
  }
  RtpTrack(const RtpTrack&) = delete;
  RtpTrack& operator=(const RtpTrack&) = delete;
  ~RtpTrack() {
    av_write_trailer(rtp_);
    av_freep(&rtp_->pb->buffer);
    avio_context_free(&rtp_->pb);
    avformat_free_context(rtp_);
  }

  [[nodiscard]] AVFormatContext* context() const { return rtp_; }
  void send(AVPacket* packet) {
    av_packet_rescale_ts(packet, from_.time_base, stream_->time_base);
    packet->stream_index = 0;
    av_write_frame(rtp_, packet);
  }

 private:
  const AVStream& from_;
  Channel channel_{};
  AVFormatContext* rtp_ = nullptr;
  AVStream* stream_ = nullptr;
};

/** The clip on its way into RTP. */
class RtpStream {
 public:
  RtpStream(const std::string& clip, int* socket) {
    AVFormatContext* opened = nullptr;
    if (avformat_open_input(&opened, clip.c_str(), nullptr, nullptr) < 0 ||
        avformat_find_stream_info(opened, nullptr) < 0) {
      throw std::runtime_error("cannot serve " + clip);
    }
    input_.reset(opened);
    for (unsigned int i = 0; i < opened->nb_streams; ++i) {
      tracks_.push_back(std::make_unique<RtpTrack>(*opened->streams[i], socket));
    }
  }

  std::string sdp() {
    char text[4096] = "";
    std::vector<AVFormatContext*> contexts;
    for (const auto& track : tracks_) contexts.push_back(track->context());
    av_sdp_create(contexts.data(), static_cast<int>(contexts.size()), text, sizeof(text));
    return text;
  }

  // Tracks that the client did not set up are not sent.
  void sendAll(const std::set<int>& tracks) {
    const LibAvOwner<AVPacket> packet(av_packet_alloc());
    while (av_read_frame(input_.get(), packet.get()) == 0) {
      const int track = packet->stream_index;
      if (tracks.contains(track)) tracks_.at(static_cast<size_t>(track))->send(packet.get());
      av_packet_unref(packet.get());
    }
  }

 private:
  LibAvOwner<AVFormatContext> input_;
  std::vector<std::unique_ptr<RtpTrack>> tracks_;
};

}  // namespace

TestRtspServer::TestRtspServer(const std::string& clip, Behaviour behaviour)
    : clip_(clip), behaviour_(behaviour), sdp_(RtpStream(clip, &client_).sdp()) {
  thread_ = std::thread([this] { serve(); });
}

TestRtspServer::~TestRtspServer() {
  listener_.end();
  thread_.join();
}

void TestRtspServer::serve() {
  while ((client_ = listener_.accept()) >= 0) {
    connected_ = true;
    connected_.notify_all();
    converse();
    close(client_);
  }
}

// Answers until the client or, after the clip, the camera hangs up.
void TestRtspServer::converse() {
  std::string received;
  char part[4096];
  for (ssize_t n = 0; (n = recv(client_, part, sizeof(part), 0)) > 0;) {
    if (behaviour_ == NeverAnswer) continue;
    received.append(part, static_cast<size_t>(n));
    const size_t end = received.find("\r\n\r\n");
    if (end == std::string::npos || sent_) continue;
    const std::string request = received.substr(0, end + 2);
    received.erase(0, end + 4);
    const std::string answer = answerTo(request);
    TestListener::sendAll(client_, answer.data(), answer.size());
    if (!request.starts_with("PLAY")) continue;
    sendClip();
    if (behaviour_ == PlayAndClose) return;
  }
}

std::string TestRtspServer::answerTo(const std::string& request) {
  const std::string sequence = "CSeq: " + fieldOf(request, "CSeq") + "\r\n";
  if (behaviour_ == WantsPassword && fieldOf(request, "Authorization").empty()) {
    return "RTSP/1.0 401 Unauthorized\r\n" + sequence +
           "WWW-Authenticate: Basic realm=\"camera\"\r\n\r\n";
  }
  std::string answer = "RTSP/1.0 200 OK\r\n" + sequence;
  if (request.starts_with("DESCRIBE")) {
    return answer +
           "Content-Type: application/sdp\r\nContent-Length: " + std::to_string(sdp_.size()) +
           "\r\n\r\n" + sdp_;
  }
  if (request.starts_with("SETUP")) {
    transport_ = fieldOf(request, "Transport");
    const int track = trackOf(request);
    tracks_.insert(track);
    answer += "Transport: RTP/AVP/TCP;unicast;interleaved=" + std::to_string(2 * track) + "-" +
              std::to_string(2 * track + 1) + "\r\n";
  }
  return answer + "Session: 1\r\n\r\n";
}

void TestRtspServer::sendClip() {
  if (behaviour_ != PlayNothing) RtpStream(clip_, &client_).sendAll(tracks_);
  const unsigned char beginning[] = {'$', 0, 4, 0, 128, 96};  // of a packet of 1024 bytes
  if (behaviour_ == PlayAndStick) TestListener::sendAll(client_, beginning, sizeof beginning);
  sent_ = true;
  sent_.notify_all();
}
