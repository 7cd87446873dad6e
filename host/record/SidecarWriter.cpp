#include "host/record/SidecarWriter.h"

#include "handles/KTR_DB_factory.h"
#include "host/check/SessionFiles.h"
#include "runtime/KTLogger.h"

namespace {

constexpr unsigned int AUDIO_FPS = 15;  // what the rows of sound hold

}  // namespace

SidecarWriter::SidecarWriter(const KTRStreamRecordParams& params, const KTDataBlock& audioHeader)
    : recorder_(params.dbName) {
  const bool sound = audioHeader.size != 0;
  const KTRSettingsRow& settings =
      sound ? static_cast<const KTRSettingsRow&>(params.audioSettings) : params.videoSettings;
  sidecar_.stream = static_cast<unsigned int>(params.streamId);
  sidecar_.type = settings.streamType;
  sidecar_.fps = sound ? AUDIO_FPS : params.videoSettings.videoParam1;
  sidecar_.name = settings.name.view();
  sidecar_.settings = settings.settings.view();
  sidecar_.audioHeader.assign(audioHeader.data, audioHeader.data + audioHeader.size);
}

// A session whose row is gone, as an unconfirmed one by events, has no directory any more.
std::string SidecarWriter::note(unsigned int session) {
  KTR_DB_factory* factory = KTR_DB_factory::instance();
  KTR_DB_handle* db = factory == nullptr ? nullptr : factory->db_instance(recorder_);
  if (db == nullptr || db->recordSessionTable() == nullptr) return "";
  const int id = static_cast<int>(session);
  const KTString storage = db->recordSessionTable()->getSessionStorage(id);
  if (storage.empty()) return "";
  std::string prefix(storage.view());
  prefix.append("/").append(db->getPrefixFileName(id).view());
  if (sidecar_.write(prefix + SessionFiles::SIDECAR)) return prefix;
  KTLogger::instance()->log(KTLogger::Warning,
                            "session %u: cannot write its sidecar file %s%s: without the database "
                            "its stream number will not be known",
                            session, prefix.c_str(), SessionFiles::SIDECAR);
  return prefix;
}
