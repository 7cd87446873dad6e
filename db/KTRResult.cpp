#include "db/KTRResult.h"

#include "db/KTR_MYSQL_api.h"
#include "runtime/KTCriticalCode.h"

namespace {

uint32_t fieldsOf(MYSQL_RES* set) {
  const KTCriticalCode guard(KTR_MYSQL_api::_staticMysqlMux);
  return mysql_num_fields(set);
}

uint32_t rowsOf(MYSQL_RES* set) {
  const KTCriticalCode guard(KTR_MYSQL_api::_staticMysqlMux);
  return static_cast<uint32_t>(mysql_num_rows(set));
}

}  // namespace

KTRResult& KTRResult::operator=(MYSQL_RES* r) {
  res = r;
  if (res == nullptr) return *this;
  numFields = fieldsOf(res);
  numRows = rowsOf(res);
  if (numRows == 0) free();
  return *this;
}

void KTRResult::free() {
  if (res == nullptr) return;
  const KTCriticalCode guard(KTR_MYSQL_api::_staticMysqlMux);
  mysql_free_result(res);
  res = nullptr;
}
