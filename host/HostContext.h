#pragma once

#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "handles/KTR_DB_factory.h"
#include "host/CommonOptions.h"
#include "host/HostLogSink.h"
#include "host/server/ServerLease.h"

/**
 * What a running command works with: its output, the library's log, and, once opened, a database
 * server and the library's factory on it. main() has one, and it is destroyed last.
 *
 * Owns: the log sink, the lease on the private server, the factory and the handles that it gave
 * out. close() and the destructor end them in the order that this needs: handles (which writes what
 * their tables still hold), factory, lease. Record and read sessions must be gone by then.
 * Threads: the main thread; factory and handles are for any thread.
 * Blocks: open() and close() for the server.
 * Errors: throws a HostError that says what to do.
 */
class HostContext {
 public:
  /** What a command opens the storage root for. */
  enum Purpose {
    Reading,   ///< there must be something already
    Recording  ///< what is missing is made
  };

  HostContext(std::ostream& out, std::ostream& err);
  HostContext(const HostContext&) = delete;
  HostContext& operator=(const HostContext&) = delete;
  virtual ~HostContext();

  /** Where results go. */
  [[nodiscard]] std::ostream& out() { return out_; }
  /** Where messages and progress go. */
  [[nodiscard]] std::ostream& err() { return err_; }
  /** Columns of the terminal on standard output; 80 when that is none. */
  [[nodiscard]] static unsigned int outputWidth();

  /** Sends the library's log to err(); all of it when verbose. */
  void startLog(bool verbose);
  /** The sink in use, for a command that draws a progress line; null before startLog(). */
  [[nodiscard]] HostLogSink* log() { return log_.get(); }

  /** Brings up the server that the options name and connects the factory. Once only. */
  virtual void open(const CommonOptions& options, Purpose purpose);
  /** As open(), on the private server of a storage root that may be new. */
  void openPrivate(const StorageRoot& root);
  void close();

  /** Only after open(). */
  [[nodiscard]] KTR_DB_factory& factory() { return *factory_; }
  /** The recorders that the server knows, sorted. */
  [[nodiscard]] std::vector<std::string> recorders();
  /** The database of a recorder; a failure that names those that exist when it is unknown. */
  [[nodiscard]] KTR_DB_handle& recorder(const RecorderName& name);
  /** As recorder(), but null when it is unknown. */
  [[nodiscard]] KTR_DB_handle* findRecorder(const RecorderName& name);
  /**
   * As recorder(), but a new one is made, and its sessions are indexed by time. To be called before
   * its first session starts.
   */
  [[nodiscard]] KTR_DB_handle& createRecorder(const RecorderName& name);

 private:
  void openPrivateServer(const StorageRoot& root, Purpose purpose);
  void checkClientServer();
  KTR_DB_handle& keep(KTR_DB_handle* handle, const RecorderName& name);

  std::ostream& out_;
  std::ostream& err_;
  std::shared_ptr<HostLogSink> log_;
  std::optional<ServerLease> lease_;
  std::unique_ptr<KTR_DB_factory> factory_;
  std::vector<KTR_DB_handle*> handles_;
};
