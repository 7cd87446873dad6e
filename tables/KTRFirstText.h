#pragma once

#include "db/KTR_MYSQL_api.h"

/**
 * Runs a query on a connection and puts the first column of its first row into text. False, with
 * text as it was, when there is no row, when that column is NULL (as of an aggregate over no rows)
 * or when the query fails.
 */
[[nodiscard]] bool KTRFirstText(KTR_MYSQL_api& connection, const KTString& query, KTString& text);
