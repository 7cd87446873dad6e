#include "db/KTRVideoSettingsRow.h"

KTRVideoSettingsRow::KTRVideoSettingsRow(const KTString& rowName, unsigned char p1, unsigned int p2,
                                         const KTString& t1, const KTString& t2, const KTString& t3)
    : KTRSettingsRow(rowName, STREAM_VIDEO, KTString()),
      videoParam1(p1),
      videoParam2(p2),
      videoText1(t1),
      videoText2(t2),
      videoText3(t3) {
  KTRVideoSettingsRow::buildSettingsString();
}

KTRVideoSettingsRow::KTRVideoSettingsRow(const KTRSettingsRow& row) : KTRSettingsRow(row) {
  KTRVideoSettingsRow::parse();
}

KTRVideoSettingsRow::~KTRVideoSettingsRow() = default;

void KTRVideoSettingsRow::parse() {
  const KTVector<KTString> pieces = settings.tokenize(',');
  if (pieces.count() >= 1) videoParam1 = static_cast<uint8_t>(pieces[0].toInt(0));
  if (pieces.count() >= 2) videoParam2 = pieces[1].toUInt(0);
  if (pieces.count() >= 3) videoText1 = pieces[2];
  if (pieces.count() >= 4) videoText2 = pieces[3];
  if (pieces.count() >= 5) videoText3 = pieces[4];
}

void KTRVideoSettingsRow::buildSettingsString() {
  settings.format("%u,%u,%s,%s,%s", static_cast<unsigned int>(videoParam1), videoParam2,
                  videoText1.c_str(), videoText2.c_str(), videoText3.c_str());
}
