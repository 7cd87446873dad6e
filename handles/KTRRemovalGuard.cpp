#include "handles/KTRRemovalGuard.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>

#include "runtime/KTLogger.h"

namespace {

// Written out, so that no locale adds letters.
constexpr std::string_view ALLOWED =
    "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789/._-";

// No recorder stores below these, but a broken row may say so.
constexpr std::array<std::string_view, 10> SYSTEM{"bin",   "boot", "etc",  "lib", "lib32",
                                                  "lib64", "proc", "sbin", "sys", "usr"};

/** The components of a path that name something, each with a "/" before it. */
std::string canonical(const KTString& path) {
  std::string text;
  const KTVector<KTString> parts = path.tokenize('/');
  for (unsigned int i = 0; i < parts.count(); ++i) {
    if (parts[i].empty() || parts[i] == ".") continue;
    text += "/" + std::string(parts[i].view());
  }
  return text;
}

bool belongsToTheSystem(const KTString& path) {
  const std::string plain = canonical(path);
  const std::string_view first = std::string_view(plain).substr(1, plain.find('/', 1) - 1);
  return std::find(SYSTEM.begin(), SYSTEM.end(), first) != SYSTEM.end();
}

bool namesTheRoot(const KTString& path) {
  return canonical(path).empty();
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
  if (belongsToTheSystem(path)) return "it belongs to the system";
  return nullptr;
}

const char* KTRRemovalGuard::refusal(const KTString& path, const KTString& root) {
  const char* reason = refusal(path);
  if (reason != nullptr || root.empty()) return reason;
  const std::string above = canonical(root) + "/";
  const bool below = refusal(root) == nullptr && canonical(path).starts_with(above);
  return below ? nullptr : "it is not below the storage root";
}

bool KTRRemovalGuard::allows(const KTString& path, const KTString& root) {
  const char* reason = refusal(path, root);
  if (reason == nullptr) return true;
  KTLogger::instance()->log(KTLogger::Error, "[ REMOVE REFUSED ] '%s' : %s", path.c_str(), reason);
  return false;
}
