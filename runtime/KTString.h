#pragma once

#include <string>
#include <string_view>

#include "containers/KTPair.h"
#include "containers/KTVector.h"
#include "runtime/KTDataBlock.h"
#include "runtime/KTRExport.h"

/**
 * A byte string: SQL texts, file paths, decimal numbers. No encoding is assumed and zero bytes may
 * stand inside.
 *
 * Owns: its bytes.
 * Threads: one thread at a time for each object.
 * Blocks: never.
 * Errors: conversions answer 0 for text that is no number; nothing throws but for lack of memory.
 */
class KTR_API KTString {
 public:
  /** A shared empty string, handed out by reference where a lookup finds nothing. */
  static const KTString EmptyString;

  KTString() = default;
  /** Copy of a NUL-terminated text; a null pointer reads as empty. */
  KTString(const char* text);  // NOLINT(google-explicit-constructor): literals are strings
  /** Copy of length bytes, zero bytes included. */
  KTString(const char* bytes, unsigned int length);
  explicit KTString(std::string text) : text_(std::move(text)) {}
  KTString(const KTString&) = default;
  KTString(KTString&&) noexcept = default;
  KTString& operator=(const KTString&) = default;
  KTString& operator=(KTString&&) noexcept = default;
  virtual ~KTString();

  /** Replaces the contents by the printf-formatted text, of any length; returns this string. */
  KTString& format(const char* fmt, ...) __attribute__((format(printf, 2, 3)));

  /** NUL-terminated view, valid while the string is unchanged. */
  [[nodiscard]] const char* c_str() const { return text_.c_str(); }
  [[nodiscard]] unsigned int length() const { return static_cast<unsigned int>(text_.size()); }
  [[nodiscard]] bool empty() const { return text_.empty(); }
  [[nodiscard]] std::string_view view() const { return text_; }

  KTString& append(const KTString& other);
  KTString& operator+=(const KTString& other) { return append(other); }
  [[nodiscard]] KTString operator+(const KTString& other) const;
  [[nodiscard]] bool operator==(const KTString& other) const { return text_ == other.text_; }
  [[nodiscard]] bool operator!=(const KTString& other) const { return text_ != other.text_; }

  /** The leading decimal number; otherwise, and for text that is no number, `none`. */
  [[nodiscard]] int toInt(int none) const;
  /** As toInt, unsigned. */
  [[nodiscard]] unsigned int toUInt(int none) const;
  /** A copy with ASCII letters in upper case. */
  [[nodiscard]] KTString toUpperCase() const;
  /** The pieces between every two occurrences of sep, in order; an empty text has none. */
  [[nodiscard]] KTVector<KTString> tokenize(char sep) const;
  /** (text before, text after) the first sep; without one, (the whole text, empty). */
  [[nodiscard]] KTPair<KTString, KTString> split(const KTString& sep) const;
  /** Replaces the first, or every, occurrence of from by to; returns this string. */
  KTString& replace(const KTString& from, const KTString& to, bool all);
  /** The bytes without a terminating NUL. */
  [[nodiscard]] KTDataBlock dataBlock() const;

 private:
  std::string text_;
};
