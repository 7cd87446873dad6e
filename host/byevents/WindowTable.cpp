#include "host/byevents/WindowTable.h"

bool WindowTable::add(unsigned int session) {
  KTString create;
  KTString insert;
  create.format("CREATE TABLE IF NOT EXISTS %s (id INT UNSIGNED NOT NULL PRIMARY KEY)", NAME);
  insert.format("INSERT IGNORE INTO %s VALUES (%u)", NAME, session);
  return handle_.db_do_query(create) == 0 && handle_.db_do_query(insert) == 0;  // step C7
}

void WindowTable::unlist(unsigned int session) {
  if (!handle_.tb_exists(NAME)) return;
  KTString statement;
  statement.format("DELETE FROM %s WHERE id=%u", NAME, session);
  (void)handle_.db_do_query(statement);  // step D8
}
