#pragma once

#include <string>

#include "runtime/KTDataBlock.h"

/**
 * The bytes of the worked example of docs/format/<name>: what stands between "```hex" and "```",
 * two digits a byte, each line up to its "#". Throws when the page or the example is missing.
 */
[[nodiscard]] KTDataBlock workedExample(const std::string& name);
