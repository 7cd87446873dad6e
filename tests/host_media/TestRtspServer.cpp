#include "tests/host_media/TestRtspServer.h"

#include <sys/socket.h>
#include <unistd.h>

#include <stdexcept>

#include "host/media/LibAv.h"

namespace {

// One RTP or RTCP packet, framed for the channel that was agreed on.
int sendPacket(void* socket, uint8_t* packet, int size) {
  const bool rtcp = size > 1 && packet[1] >= 200 && packet[1] <= 204;
  const unsigned char head[] = {'$', static_cast<unsigned char>(rtcp ? 1 : 0),
                                static_cast<unsigned char>(size >> 8),
                                static_cast<unsigned char>(size)};
  TestListener::sendAll(*static_cast<int*>(socket), head, sizeof(head));
  TestListener::sendAll(*static_cast<int*>(socket), packet, static_cast<size_t>(size));
  return size;
}

std::string fieldOf(const std::string& request, const std::string& name) {
  const size_t at = request.find("\r\n" + name + ": ");
  if (at == std::string::npos) return "";
  const size_t begin = at + name.size() + 4;
  return request.substr(begin, request.find("\r\n", begin) - begin);
}

/** The clip on its way into RTP. */
class RtpStream {
 public:
  RtpStream(const std::string& clip, int* socket) {
    AVFormatContext* opened = nullptr;
    if (avformat_open_input(&opened, clip.c_str(), nullptr, nullptr) < 0 ||
        avformat_find_stream_info(opened, nullptr) < 0 ||
        avformat_alloc_output_context2(&rtp_, nullptr, "rtp", nullptr) < 0) {
      throw std::runtime_error("cannot serve " + clip);
    }
    input_.reset(opened);
    stream_ = avformat_new_stream(rtp_, nullptr);
    avcodec_parameters_copy(stream_->codecpar, opened->streams[0]->codecpar);
    const int packetSize = 1400;
    rtp_->pb = avio_alloc_context(static_cast<unsigned char*>(av_malloc(packetSize)), packetSize, 1,
                                  socket, nullptr, sendPacket, nullptr);
    rtp_->pb->max_packet_size = packetSize;
    if (avformat_write_header(rtp_, nullptr) < 0) throw std::runtime_error("no RTP for " + clip);
  }
  RtpStream(const RtpStream&) = delete;
  RtpStream& operator=(const RtpStream&) = delete;
  ~RtpStream() {
    av_write_trailer(rtp_);
    av_freep(&rtp_->pb->buffer);
    avio_context_free(&rtp_->pb);
    avformat_free_context(rtp_);
  }

  std::string sdp() {
    char text[4096] = "";
    av_sdp_create(&rtp_, 1, text, sizeof(text));
    return text;
  }

  void sendAll() {
    const LibAvOwner<AVPacket> packet(av_packet_alloc());
    while (av_read_frame(input_.get(), packet.get()) == 0) {
      av_packet_rescale_ts(packet.get(), input_->streams[0]->time_base, stream_->time_base);
      av_write_frame(rtp_, packet.get());
      av_packet_unref(packet.get());
    }
  }

 private:
  LibAvOwner<AVFormatContext> input_;
  AVFormatContext* rtp_ = nullptr;
  AVStream* stream_ = nullptr;
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
    answer += "Transport: RTP/AVP/TCP;unicast;interleaved=0-1\r\n";
  }
  return answer + "Session: 1\r\n\r\n";
}

void TestRtspServer::sendClip() {
  RtpStream(clip_, &client_).sendAll();
  sent_ = true;
  sent_.notify_all();
}
