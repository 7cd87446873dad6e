#include "tables/KTRFirstText.h"

#include "db/KTROwnedResult.h"

bool KTRFirstText(KTR_MYSQL_api& connection, const KTString& query, KTString& text) {
  KTROwnedResult result;
  char** row = nullptr;
  if (!connection.get_row(query, row, result, 0) || row[0] == nullptr) return false;
  text = row[0];
  return true;
}
