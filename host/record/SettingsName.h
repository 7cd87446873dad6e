#pragma once

#include "runtime/KTString.h"

/**
 * The name of a settings row, which follows from its text, so that two streams with equal settings
 * share one row: the letter of the kind and 16 hex digits. Any thread.
 */
[[nodiscard]] KTString settingsName(char kind, const KTString& settings);
