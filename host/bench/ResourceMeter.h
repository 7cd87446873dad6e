#pragma once

#include <sys/types.h>

#include <cstdint>
#include <unordered_map>

#include "host/bench/Measurement.h"

/**
 * Measures what passes between its making and read(): time, processor time of this process or of
 * the children it has waited for, that of the kernel's own threads, which write the page cache to
 * the disk and reclaim its memory, and that of the database server. The kernel's threads work for
 * everybody: the machine should have nothing else to do. Its monitor of memory accesses (DAMON),
 * which works for the machine's host, is left out.
 *
 * Threads: one thread at a time for each object.
 * Blocks: never.
 */
class ResourceMeter {
 public:
  enum Who { ThisProcess, Children };

  /** serverPid is 0 when no server takes part. */
  explicit ResourceMeter(pid_t serverPid = 0, Who who = ThisProcess);

  /** Fills in the time and the processor times since the meter was made. */
  void read(Measurement& result) const;

  /** Memory of this process that is resident now, bytes. */
  [[nodiscard]] static std::uint64_t residentBytes();

 private:
  using ThreadTimes = std::unordered_map<int, double>;  // processor seconds by thread

  [[nodiscard]] double cpuSeconds() const;
  [[nodiscard]] double serverCpuSeconds() const;
  [[nodiscard]] double kernelCpuSeconds() const;
  [[nodiscard]] static ThreadTimes kernelThreads();

  const pid_t serverPid_;
  const Who who_;
  // In this order: to look at the kernel's threads takes time, which is not of what is measured.
  const ThreadTimes kernelStart_;
  const double serverStart_;
  const double cpuStart_;
  const Latencies::Clock::time_point start_;
};
