#include "db/KTRSettingsRow.h"

KTRSettingsRow::KTRSettingsRow(const KTString& rowName, streamTypes type, const KTString& text)
    : name(rowName), settings(text), streamType(type) {}

KTRSettingsRow::~KTRSettingsRow() = default;

KTString KTRSettingsRow::getQuery() const {
  return KTString().format(" ( name, settings, streamType) VALUES ('%s','%s',%u ) ", name.c_str(),
                           settings.c_str(), static_cast<unsigned int>(streamType));
}

void KTRSettingsRow::parse() {}

void KTRSettingsRow::buildSettingsString() {}
