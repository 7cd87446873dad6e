#pragma once

#include "runtime/KTRExport.h"
#include "runtime/KTString.h"

/**
 * One record of a table, which can write itself as the tail of an INSERT statement.
 *
 * Owns: its fields.
 * Threads: one thread at a time for each object.
 * Blocks: never.
 * Errors: none. Texts enter the SQL between single quotes as they are, so none may hold a quote.
 */
class KTR_API KTRRow {
 public:
  KTRRow() = default;
  KTRRow(const KTRRow&) = default;
  KTRRow& operator=(const KTRRow&) = default;
  virtual ~KTRRow();

  /** The column list and the VALUES clause, what follows the table's name in the INSERT. */
  [[nodiscard]] virtual KTString getQuery() const = 0;
};
