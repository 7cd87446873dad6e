#pragma once

#include <sys/types.h>

#include "runtime/KTRExport.h"

// The one place that deals with short and interrupted transfers; every read and write of a file
// goes through this pair. Any thread; blocks for the I/O; errno tells the cause of a -1.

/**
 * Reads up to n bytes from offset on: the count, less than n only at the end of file or in front of
 * a place that cannot be read, or -1 when that place is the first.
 */
[[nodiscard]] KTR_API ssize_t readFully(int fd, unsigned char* dst, size_t n, off_t offset);

/** Writes all n bytes from offset on: n, or -1 when a part or all of it could not be written. */
[[nodiscard]] KTR_API ssize_t writeFully(int fd, const unsigned char* src, size_t n, off_t offset);
