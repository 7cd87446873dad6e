#pragma once

#include "db/KTRVideoSettingsRow.h"
#include "host/media/MediaSource.h"

/**
 * The settings row of a video source: frame rate, 0, codec, picture size. Its name follows from its
 * text, so that two streams with equal settings share one row. Any thread.
 */
[[nodiscard]] KTRVideoSettingsRow videoSettingsOf(const MediaSource::Info& info);
