#include "handles/KTRRemovalGuard.h"

#include <string_view>

#include "runtime/KTLogger.h"

namespace {

// Written out, so that no locale adds letters.
constexpr std::string_view ALLOWED =
    "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789/._-";

bool namesTheRoot(const KTString& path) {
  const KTVector<KTString> parts = path.tokenize('/');
  for (unsigned int i = 0; i < parts.count(); ++i) {
    if (!parts[i].empty() && parts[i] != ".") return false;
  }
  return true;
}

bool climbs(const KTString& path) {
  const KTVector<KTString> parts = path.tokenize('/');
  for (unsigned int i = 0; i < parts.count(); ++i) {
    if (parts[i] == "..") return true;
  }
  return false;
}

}  // namespace

const char* KTRRemovalGuard::refusal(const KTString& path) {
  const std::string_view text = path.view();
  if (text.empty()) return "it is empty";
  if (text.front() != '/') return "it is not absolute";
  if (text.find_first_not_of(ALLOWED) != std::string_view::npos) {
    return "only letters, digits and / . _ - are allowed";
  }
  if (climbs(path)) return "it has a component ..";
  if (namesTheRoot(path)) return "it is the root directory";
  return nullptr;
}

bool KTRRemovalGuard::allows(const KTString& path) {
  const char* reason = refusal(path);
  if (reason == nullptr) return true;
  KTLogger::instance()->log(KTLogger::Error, "[ REMOVE REFUSED ] '%s' : %s", path.c_str(), reason);
  return false;
}
