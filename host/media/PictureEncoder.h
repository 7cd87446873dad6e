#pragma once

#include <vector>

/**
 * Makes real H.264 of a drawn picture full of moving grain, at a bit rate that is kept: footage for
 * measuring, when no camera is at hand.
 *
 * Threads: one thread at a time for each object.
 * Blocks: encode() for the encoder.
 * Errors: MediaError when this libavcodec has no encoder for H.264.
 */
class PictureEncoder {
 public:
  struct Form {
    int width = 640;
    int height = 360;
    int frameRate = 25;    // frames per second
    int keyInterval = 25;  // frames from one key frame to the next
    int bitRate = 4'000'000;
  };

  struct Picture {
    std::vector<unsigned char> bytes;  // an access unit as Annex B, key frames with their sets
    bool key = false;
  };

  explicit PictureEncoder(const Form& form) : form_(form) {}

  /** The first so many pictures, in the order of decoding, which is that of showing. */
  [[nodiscard]] std::vector<Picture> encode(unsigned int pictures) const;

 private:
  Form form_;
};
