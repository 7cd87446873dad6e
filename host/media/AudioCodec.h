// The kinds of sound that are stored. Any thread; no state.
#pragma once

#include <optional>
#include <string_view>

enum class AudioCodec { Aac, Opus, PcmAlaw, PcmMulaw, Mp3 };

/** The kinds of sound that are stored, as messages name them. */
inline constexpr const char* AUDIO_CODECS_STORED = "AAC, Opus, G.711 and MP3";

/** "aac", "opus", "pcm_alaw", "pcm_mulaw" or "mp3". */
[[nodiscard]] const char* audioCodecName(AudioCodec codec);

/** The codec of such a name; nothing for any other text. */
[[nodiscard]] std::optional<AudioCodec> audioCodecOf(std::string_view name);
