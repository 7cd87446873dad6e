#pragma once

#include "containers/KTDLList.h"
#include "db/KTR_MYSQL_api.h"
#include "handles/KTR_DB_handle.h"
#include "runtime/KTRExport.h"
#include "runtime/KTThreadMutex.h"
#include "runtime/ThreadAnnotations.h"

/**
 * The process-wide registry of open recorder databases, with a server connection of its own for
 * listing, creating and dropping them. The host constructs one before anything else and destroys
 * it last; record and read sessions reach it through instance().
 *
 * Names are recorder names, which KTRDBName() turns into database names (and leaves database names
 * as they are); loadDB() and the drop in deleteDB() take a database name as it stands.
 *
 * Owns: its connection. Handles are deleted by destroy() and deleteDB() only: those still listed
 * when the factory ends are left to whoever still holds them.
 * Threads: any thread. The factory's mutex is taken before the MySQL mutex, never after it. A
 * handle is used outside the mutex, so its owner must know that nobody uses it when it is
 * destroyed. Blocks: for the server. Errors: by result. A factory that could not connect exists all
 * the same; its queries try again.
 */
class KTR_API KTR_DB_factory : public KTR_MYSQL_api {
 public:
  /** Connects to the server and becomes instance(), in place of any former factory. */
  KTR_DB_factory();
  KTR_DB_factory(const KTR_DB_factory&) = delete;
  KTR_DB_factory& operator=(const KTR_DB_factory&) = delete;
  /** Closes the connection. Handles stay, and so does instance(): nothing may use it afterwards. */
  ~KTR_DB_factory() override;

  /** The factory constructed last; null before the first. */
  [[nodiscard]] static KTR_DB_factory* instance();

  /** Logs one line. */
  void info();
  /** Lists a handle made elsewhere. */
  void add(KTR_DB_handle* handle);
  /**
   * Opens a database by its own name and lists the handle, again on every call and also when the
   * connection failed (then KTR_DB_handle::isConnected() is false).
   */
  KTR_DB_handle* loadDB(const KTString& name);
  /**
   * The listed handle of a recorder, loaded when its database exists. Null (logged) when it does
   * not exist or cannot be opened; nothing is listed then.
   */
  [[nodiscard]] KTR_DB_handle* db_instance(const KTString& name);
  /**
   * As db_instance(), but creates the database when it does not exist. Both refuse a name that
   * KTRTextGuard does not let be one.
   */
  [[nodiscard]] KTR_DB_handle* createDB(const KTString& name);
  /** As db_instance(): it loads what is not loaded. */
  [[nodiscard]] KTR_DB_handle* dbIsLoaded(const KTString& name);
  /**
   * Drops a database, then deletes its handle. False, with the handle still listed, when there is
   * no such database or the server did not drop it.
   */
  bool deleteDB(const KTString& name);
  /** Deletes and unlists a listed handle; any other handle is left alone. */
  void destroy(KTR_DB_handle* handle);
  /** Appends the names of the server's recorder databases; returns the list's count. */
  unsigned int dbList(KTDLList<KTString>& list);

 private:
  [[nodiscard]] KTR_DB_handle* findLoaded(const KTString& dbName) KTR_REQUIRES(_mux);
  [[nodiscard]] KTR_DB_handle* openExisting(const KTString& dbName) KTR_REQUIRES(_mux);

  KTDLList<KTR_DB_handle*> _dbList KTR_GUARDED_BY(_mux);
  KTThreadMutex _mux{KTThreadMutex::Recursive, KTThreadMutex::Factory};

  static KTR_DB_factory* _instance;
};
