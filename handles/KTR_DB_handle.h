#pragma once

#include <map>
#include <memory>

#include "containers/KTDLList.h"
#include "db/KTR_MYSQL_api.h"
#include "runtime/KTRExport.h"
#include "runtime/KTThreadMutex.h"
#include "runtime/ThreadAnnotations.h"
#include "tables/KTREventTable.h"
#include "tables/KTRRecordSessionTable.h"
#include "tables/KTRSettingsTable.h"
#include "tables/KTRStreamTable.h"

/**
 * One recorder database: a connection to it, the tables that work on it and the names of its data
 * files. The retention operations below make room by removing the oldest recordings.
 *
 * Owns: the connection, the record session, event and settings tables and one stream index table
 * for each record session that was asked for. The destructor destroys the stream tables, writes
 * what the record session table has not written yet, closes the connection and destroys the three
 * tables; no session and no other user of the handle may be left then.
 * Threads: any thread. The handle's mutex guards the registry of stream tables and is taken before
 * the MySQL mutex, never after it.
 * Blocks: for the server; the file removals wait for the shell command or the file system.
 * Errors: by result. Without a connection the object exists but has no tables: the table accessors
 * are null, lookups answer null and retention does nothing and answers false.
 * Units: times in seconds of gateway time.
 */
class KTR_API KTR_DB_handle : public KTR_MYSQL_api {
 public:
  /** Connects to the database and creates its tables where they are missing. */
  explicit KTR_DB_handle(const KTString& name);
  KTR_DB_handle(const KTR_DB_handle&) = delete;
  KTR_DB_handle& operator=(const KTR_DB_handle&) = delete;
  ~KTR_DB_handle() override;

  /** The database's name; empty without a connection. */
  [[nodiscard]] KTString getName() const { return _dbName; }
  /** Whether the connection was made at construction; it is mended by queries when it breaks. */
  [[nodiscard]] bool isConnected() const { return _recordSessionTable != nullptr; }

  /** Null without a connection. */
  [[nodiscard]] KTRRecordSessionTable* recordSessionTable() const {
    return _recordSessionTable.get();
  }
  /** Null without a connection, or when the table could not be created. */
  [[nodiscard]] KTREventTable* eventTable() const { return _eventTable.get(); }
  /** Null without a connection. */
  [[nodiscard]] KTRSettingsTable* settingsTable() const { return _settingsTable.get(); }

  /**
   * The stream table of a record session, made on first use. Null while the server has no table
   * "dataStreams": the first recording makes it with createDataStreamTable().
   */
  [[nodiscard]] KTRStreamTable* streamInstance(unsigned int id);
  /** Makes and registers a stream table; null, with nothing registered, when that failed. */
  KTRStreamTable* createDataStreamTable(unsigned int id);
  /** Registers a table made elsewhere, which the handle owns from then on; null is ignored. */
  void registerVideoStreamTable(KTRStreamTable* table);
  /** Destroys the session's registered stream table, if any; its rows stay in the database. */
  void destroyVideoStream(unsigned int id);

  /** "record_<database>_R<id>_" */
  [[nodiscard]] KTString getPrefixFileName(int id) const;
  /** The session's storage directory (empty for an unknown session), "/" and the prefix. */
  [[nodiscard]] KTString getFullPrefixFileName(int id);
  /** The full prefix and "audioHeader.dat". */
  [[nodiscard]] KTString getAudioHeaderFilename(int id);

  /**
   * Says below which directory the recorder stores. From then on the removals refuse, with a log
   * line, whatever does not lie below it; an empty text, as at first, takes this back. Every host
   * that removes anything should say it, before the handle is used by several threads.
   */
  void setStorageRoot(const KTString& root) { _storageRoot = root; }

  /** Logs the description of every table. */
  void dbInfo();

  // Retention. Each call does one bounded piece of work; the caller repeats it while it needs
  // room. Only sessions that are not being recorded may be removed whole.

  /**
   * Removes the index rows of a session's oldest slice, then its file, and moves the session's
   * start to its oldest remaining frame. A session with nothing left is removed. True when a slice
   * was cut, false when there was none and the session row went.
   */
  bool deleteOlderSlicesOfRecorderSession(unsigned int id);
  /** Cuts one slice off the oldest session that has data. The arguments have no effect. */
  void deleteOlderRecordSessionRow(unsigned int unused1, unsigned int unused2);
  /** Removes all index rows and the row of a session, and none of its files. */
  void deleteStreamSession(unsigned int id);
  /**
   * Removes every file of a session, and no rows. Refused, with a log line, when the session has no
   * storage directory or one that a shell could read as more than a path.
   */
  void deleteAllDataFiles(unsigned int id);
  /**
   * Removes all sessions stored in the storage directory of the oldest session, then the directory
   * with all that is in it, then the index rows of sessions that are gone. False, with the files
   * left in place, while the recordings' starts span less than 1800 seconds, or when the sessions
   * could not be found or deleted, or when the directory is not one that may be removed.
   */
  bool deleteOlderDay();
  /** Removes the index rows of sessions older than the oldest that still exists. */
  void deleteLostData();

 private:
  void openTables();
  void destroyStreamTables();
  void removeSlice(unsigned int id, int slice);
  void moveStartToOldestFrame(KTRStreamTable& table);
  [[nodiscard]] bool oldestDirectory(KTString& storage);

  KTDLList<KTRStreamTable*> _streamTables KTR_GUARDED_BY(_mutex);
  /** The same tables by session, those of one in the order in which they came. */
  std::multimap<unsigned int, KTDLList<KTRStreamTable*>::Node*> _streamsById KTR_GUARDED_BY(_mutex);
  std::unique_ptr<KTRRecordSessionTable> _recordSessionTable;
  std::unique_ptr<KTREventTable> _eventTable;
  std::unique_ptr<KTRSettingsTable> _settingsTable;
  KTString _dbName;
  KTString _storageRoot;
  KTThreadMutex _mutex{KTThreadMutex::Recursive, KTThreadMutex::Handle};
};
