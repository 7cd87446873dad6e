#pragma once

#include "runtime/KTRExport.h"
#include "runtime/KTString.h"

/**
 * The name of the database of a recorder: "ktr_" and the recorder's name, so that recorders share a
 * server with other databases without touching them. A name that has the prefix already is returned
 * as it is, and the wildcard "%" becomes the pattern of all recorder databases. Any thread.
 */
[[nodiscard]] KTR_API KTString KTRDBName(const KTString& name);
