#pragma once

#include "host/check/DiskCatalog.h"

/**
 * Gives the files of a session another id, where two sessions in two directories bear the same one.
 *
 * All files get their new names before the first one loses its old one, so that a move that was cut
 * off is found and finished by the next one: a file under both names is one file.
 *
 * Threads: any thread. Blocks: for the disk. Errors: throws a HostError.
 */
class SessionIdMove {
 public:
  /** nextId: what they get unless a move that was cut off has given them one. */
  static void move(const SessionFiles& files, const DiskCatalog& disk, unsigned int nextId);
};
