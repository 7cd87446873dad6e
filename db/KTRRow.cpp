#include "db/KTRRow.h"

KTRRow::~KTRRow() = default;
