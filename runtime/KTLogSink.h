#pragma once

#include <string_view>

#include "runtime/KTRExport.h"

/**
 * Where log lines go. A host or a test replaces the default with KTLogger::setSink().
 *
 * Threads: write() may be called from several threads at once.
 * Errors: write() must not throw.
 */
class KTR_API KTLogSink {
 public:
  virtual ~KTLogSink();
  /** Takes one formatted line without an end of line; priority is 16, 64 or 128. */
  virtual void write(int priority, std::string_view line) = 0;
};
