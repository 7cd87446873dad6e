#pragma once

#include <atomic>
#include <set>
#include <string>
#include <thread>

#include "tests/host_media/TestListener.h"

/**
 * A camera on the loopback interface: an RTSP server that sends the video and sound of a clip to
 * each client, RTP interleaved in the TCP connection. libavformat makes the RTP packets; the RTSP
 * part is here.
 *
 * Owns: its sockets and its thread; one client at a time.
 * Threads: any thread; the server has one of its own.
 */
class TestRtspServer {
 public:
  /** What the camera does with a client. */
  enum Behaviour {
    PlayAndClose,   // sends the whole clip and closes the connection
    PlayAndStay,    // sends the whole clip and falls silent
    PlayAndStick,   // sends the whole clip and the beginning of a packet, and falls silent
    PlayNothing,    // agrees to everything and sends no picture
    NeverAnswer,    // takes the connection and falls silent
    WantsPassword,  // refuses whoever has none
  };

  TestRtspServer(const std::string& clip, Behaviour behaviour);
  TestRtspServer(const TestRtspServer&) = delete;
  TestRtspServer& operator=(const TestRtspServer&) = delete;
  ~TestRtspServer();

  [[nodiscard]] std::string url() const { return "rtsp://" + listener_.address() + "/live"; }
  /** Blocks until a client has been sent the whole clip. */
  void awaitSent() const { sent_.wait(false); }
  [[nodiscard]] bool hasSent() const { return sent_; }
  /** Blocks until a client is connected. */
  void awaitClient() const { connected_.wait(false); }
  /** The tracks that the client has set up. */
  [[nodiscard]] const std::set<int>& tracks() const { return tracks_; }
  /** How the client asked for the data, from its SETUP. */
  [[nodiscard]] const std::string& transport() const { return transport_; }

 private:
  void serve();
  void converse();
  [[nodiscard]] std::string answerTo(const std::string& request);
  void sendClip();

  int client_ = -1;
  std::string clip_;
  Behaviour behaviour_;
  std::string sdp_;
  std::string transport_;
  std::set<int> tracks_;  // that the client has set up
  TestListener listener_;
  std::atomic<bool> sent_{false};
  std::atomic<bool> connected_{false};
  std::thread thread_;
};
