#pragma once

#include <mysql.h>

/** Tells the client library of a thread of the host's that writes rows, for as long as it lives. */
class MysqlThread {
 public:
  MysqlThread() { mysql_thread_init(); }
  MysqlThread(const MysqlThread&) = delete;
  MysqlThread& operator=(const MysqlThread&) = delete;
  ~MysqlThread() { mysql_thread_end(); }
};
