#include "runtime/KTString.h"

#include <algorithm>
#include <cstdarg>
#include <cstdlib>

#include "runtime/LoadOrder.h"
#include "runtime/PrintfText.h"

KTR_LOAD_STRINGS const KTString KTString::EmptyString;

KTString::KTString(const char* text) : text_(text == nullptr ? "" : text) {}

KTString::KTString(const char* bytes, unsigned int length) : text_(bytes, length) {}

KTString::~KTString() = default;

KTString& KTString::format(const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  text_ = printfText(fmt, args);
  va_end(args);
  return *this;
}

KTString& KTString::append(const KTString& other) {
  text_ += other.text_;
  return *this;
}

KTString KTString::operator+(const KTString& other) const {
  return KTString(text_ + other.text_);
}

int KTString::toInt(int none) const {
  char* end = nullptr;
  const long long value = std::strtoll(text_.c_str(), &end, 10);
  return end == text_.c_str() ? none : static_cast<int>(value);
}

unsigned int KTString::toUInt(int none) const {
  char* end = nullptr;
  const long long value = std::strtoll(text_.c_str(), &end, 10);
  return static_cast<unsigned int>(end == text_.c_str() ? none : value);
}

KTString KTString::toUpperCase() const {
  std::string upper = text_;
  for (char& c : upper) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return KTString(std::move(upper));
}

KTVector<KTString> KTString::tokenize(char sep) const {
  KTVector<KTString> pieces;
  if (text_.empty()) return pieces;
  pieces.resize(static_cast<unsigned int>(std::count(text_.begin(), text_.end(), sep)) + 1);
  size_t start = 0;
  for (unsigned int i = 0; i < pieces.count(); ++i) {
    const size_t end = text_.find(sep, start);
    pieces[i] = KTString(text_.substr(start, end - start));
    start = end + 1;
  }
  return pieces;
}

KTPair<KTString, KTString> KTString::split(const KTString& sep) const {
  const size_t at = sep.empty() ? std::string::npos : text_.find(sep.text_);
  if (at == std::string::npos) return {*this, KTString()};
  return {KTString(text_.substr(0, at)), KTString(text_.substr(at + sep.text_.size()))};
}

KTString& KTString::replace(const KTString& from, const KTString& to, bool all) {
  if (from.empty()) return *this;
  const std::string wanted = from.text_;  // copies: each may be this string's own text
  const std::string put = to.text_;
  size_t at = text_.find(wanted);
  while (at != std::string::npos) {
    text_.replace(at, wanted.size(), put);
    if (!all) break;
    at = text_.find(wanted, at + put.size());
  }
  return *this;
}

KTDataBlock KTString::dataBlock() const {
  return {reinterpret_cast<const unsigned char*>(text_.data()), length()};
}
