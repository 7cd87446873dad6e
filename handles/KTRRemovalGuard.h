#pragma once

#include "runtime/KTRExport.h"
#include "runtime/KTString.h"

/**
 * Looks at a path before a removal command is built from it. Storage paths come back from the
 * database without quoting, and a shell that runs as the recorder must never see more in them than
 * a path: a blank would split it, a "*" or a ";" would widen the command, "/" would empty the disk.
 *
 * Threads: any thread.
 * Blocks: never.
 */
class KTR_API KTRRemovalGuard {
 public:
  /** Why nothing below this path may be removed by a shell command; null when it may. */
  [[nodiscard]] static const char* refusal(const KTString& path);
  /** Whether the path may be removed; a refusal is logged with its reason. */
  [[nodiscard]] static bool allows(const KTString& path);
};
