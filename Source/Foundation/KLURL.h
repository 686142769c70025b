#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kaleo {

/// An absolute URL (RFC 3986), parsed once. Threads: any.
class KLURL {
 public:
  /// Nothing when `text` is no absolute URL: it has no scheme, holds blanks or control characters, or has no proper host where one
  /// is given or where the scheme (http, https) needs one.
  static std::optional<KLURL> parse(std::string_view text);

  const std::string& absoluteString() const { return text_; }
  const std::string& scheme() const { return scheme_; }               ///< lower case
  const std::string& host() const { return host_; }                   ///< without user and port; empty when there is none
  const std::string& path() const { return path_; }                   ///< still percent-encoded
  const std::optional<std::string>& query() const { return query_; }  ///< still percent-encoded

  /// The query's items, percent-decoded, in order; an item without "=" has no value.
  std::vector<std::pair<std::string, std::optional<std::string>>> queryItems() const;

  /// This URL with `path` (segments joined by "/", not yet percent-encoded) added to its path with exactly one "/"
  /// between; the query is kept. "." and ".." segments are encoded away, so that the result never lies above this URL.
  KLURL appendingPath(std::string_view path) const;
  /// The same with one segment: a "/" in it is encoded.
  KLURL appendingPathComponent(std::string_view segment) const;
  /// The extension of the path's last segment, without the dot; empty when there is none.
  std::string pathExtension() const;

 private:
  KLURL() = default;
  KLURL appendingEncoded(std::string_view path) const;

  std::string text_, scheme_, host_, path_;
  std::optional<std::string> query_;
};

/// Percent-encodes every byte of `text` but ASCII letters, digits and the characters of `allowed`. Upper-case digits.
std::string KLPercentEncode(std::string_view text, std::string_view allowed);
/// Undoes percent-encoding; a "%" without two digits stays as it is.
std::string KLPercentDecode(std::string_view text);

}  // namespace kaleo
