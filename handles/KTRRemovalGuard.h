#pragma once

#include "runtime/KTRExport.h"
#include "runtime/KTString.h"

/**
 * Looks at a path before a removal command is built from it. Storage paths come back from the
 * database without quoting, and a shell that runs as the recorder must never see more in them than
 * a path: a blank would split it, a "*" or a ";" would widen the command, "/" would empty the disk.
 * Nor may it be anything but a recorder's: a handle that was told where its recorder stores lets
 * nothing be removed that does not lie below, and no path of the system passes in any case.
 *
 * Threads: any thread.
 * Blocks: never.
 */
class KTR_API KTRRemovalGuard {
 public:
  /** Why nothing below this path may be removed by a shell command; null when it may. */
  [[nodiscard]] static const char* refusal(const KTString& path);
  /**
   * As above, and the path must lie below a storage root, which must itself be such a path, unless
   * the root is empty. The root itself does not lie below it.
   */
  [[nodiscard]] static const char* refusal(const KTString& path, const KTString& root);
  /** Whether the path may be removed; a refusal is logged with its reason. */
  [[nodiscard]] static bool allows(const KTString& path, const KTString& root);
};
