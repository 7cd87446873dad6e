#include "db/KTRSettingsRow.h"

KTRSettingsRow::KTRSettingsRow(const KTString& name, streamTypes type, const KTString& settings)
    : name(name), settings(settings), streamType(type) {}

KTRSettingsRow::~KTRSettingsRow() = default;

KTString KTRSettingsRow::getQuery() const {
  return KTString().format(" ( name, settings, streamType) VALUES ('%s','%s',%u ) ", name.c_str(),
                           settings.c_str(), static_cast<unsigned int>(streamType));
}

void KTRSettingsRow::parse() {}

void KTRSettingsRow::buildSettingsString() {}
