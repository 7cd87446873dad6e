// The kinds of video that are stored. Any thread; no state.
#pragma once

#include <optional>
#include <string_view>

enum class MediaCodec { H264, Hevc, Mjpeg };

/** The kinds of video that are stored, as errors name them. */
inline constexpr const char* MEDIA_CODECS_STORED = "H.264, H.265 and MJPEG";

/** "h264", "hevc" or "mjpeg". */
[[nodiscard]] const char* mediaCodecName(MediaCodec codec);

/** The codec of such a name; nothing for any other text. */
[[nodiscard]] std::optional<MediaCodec> mediaCodecOf(std::string_view name);
