#pragma once

/**
 * How a by-events recording is cut into slices so that a window of frames before an event is kept:
 * the oldest slice goes as soon as maxSlices of framesPerSlice key frames each are complete.
 */
struct SlicePlan {
  unsigned int framesPerSlice;
  unsigned int maxSlices;

  /** The plan that keeps preEventFrames key frames; 0 chooses the defaults. */
  [[nodiscard]] static SlicePlan of(int preEventFrames) {
    if (preEventFrames == 0) return {5, 2};
    const int half = preEventFrames / 2;
    const int divisor = half > 1 ? half : 1;
    return {static_cast<unsigned int>(half),
            static_cast<unsigned int>(preEventFrames / divisor + 1)};
  }
};
