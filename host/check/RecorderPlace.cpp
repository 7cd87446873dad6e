#include "host/check/RecorderPlace.h"

#include <filesystem>

#include "host/server/ServerPaths.h"
#include "runtime/KTRDBName.h"

RecorderPlace::RecorderPlace(const StorageRoot& root, const RecorderName& name)
    : root_(root),
      name_(name),
      directory_(root.recorderDirectory(name)),
      database_(KTRDBName(KTString(name.text())).view()) {}

bool RecorderPlace::hasDirectory() const {
  std::error_code error;
  return std::filesystem::is_directory(directory_, error);
}

KTR_DB_handle* RecorderPlace::open(HostContext& context, const CommonOptions& options) const {
  const bool noServer = options.usesPrivateServer() && !ServerPaths(root_).exists();
  if (noServer && hasDirectory()) return nullptr;
  context.open(options, HostContext::Reading);
  return hasDirectory() ? context.findRecorder(name_) : &context.recorder(name_);
}
