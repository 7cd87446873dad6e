#pragma once

#include "db/KTRAudioSettingsRow.h"
#include "host/media/AudioHeader.h"

/**
 * The settings row of a source's sound: channels, codec, samples per second. Its name follows from
 * its text, so that two streams with equal settings share one row. Any thread.
 */
[[nodiscard]] KTRAudioSettingsRow audioSettingsOf(const AudioHeader& header);
