#include "Foundation/KLURL.h"

#include <curl/curl.h>

#include <algorithm>
#include <cstdint>
#include <memory>

namespace kaleo {
namespace {

constexpr std::string_view kHexDigits = "0123456789ABCDEF";
// RFC 3986, 3.3: what a path segment may hold beside letters, digits and percent-encoded bytes.
constexpr std::string_view kSegmentCharacters = "-._~!$&'()*+,;=:@";

bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool isDigit(char c) { return c >= '0' && c <= '9'; }
char lowered(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

// The value of a hexadecimal digit, or -1.
int hexValue(char c) {
  if (isDigit(c)) return c - '0';
  const char letter = lowered(c);
  return letter >= 'a' && letter <= 'f' ? letter - 'a' + 10 : -1;
}

bool isScheme(std::string_view text) {
  return !text.empty() && isLetter(text.front()) && std::all_of(text.begin(), text.end(), [](char c) {
    return isLetter(c) || isDigit(c) || c == '+' || c == '-' || c == '.';
  });
}

// Blanks and control characters stand in no URL. Other bytes that should be percent-encoded are let through as they are.
bool isPrintable(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) > ' ' && c != '\x7F'; });
}

// The host within an authority ("user@host:port"); nothing when libcurl does not take it for one.
std::optional<std::string> hostOf(std::string_view authority) {
  const std::unique_ptr<CURLU, decltype(&curl_url_cleanup)> url(curl_url(), curl_url_cleanup);
  const std::string text = "http://" + std::string(authority);
  if (!url || curl_url_set(url.get(), CURLUPART_URL, text.c_str(), 0) != CURLUE_OK) return std::nullopt;
  char* host = nullptr;
  if (curl_url_get(url.get(), CURLUPART_HOST, &host, 0) != CURLUE_OK) return std::nullopt;
  const std::unique_ptr<char, decltype(&curl_free)> owned(host, curl_free);
  return host;
}

bool needsHost(std::string_view scheme) { return scheme == "http" || scheme == "https"; }

// A dot segment means a step within the hierarchy even when its dots are percent-encoded; with the sign itself encoded it is a
// name.
std::string encodedSegment(std::string_view segment) {
  if (segment == ".") return "%252E";
  if (segment == "..") return "%252E%252E";
  return KLPercentEncode(segment, kSegmentCharacters);
}

std::string encodedPath(std::string_view path) {
  std::string encoded;
  for (std::size_t start = 0; start <= path.size();) {
    const std::size_t end = std::min(path.find('/', start), path.size());
    encoded += encodedSegment(path.substr(start, end - start));
    if (end < path.size()) encoded += '/';
    start = end + 1;
  }
  return encoded;
}

}  // namespace

// Split as RFC 3986, appendix B, has it; libcurl is asked about the host only, for it reads a URL more generously than the RFC.
std::optional<KLURL> KLURL::parse(std::string_view text) {
  const std::size_t colon = text.find(':');
  if (colon == std::string_view::npos || !isScheme(text.substr(0, colon)) || !isPrintable(text)) return std::nullopt;
  KLURL url;
  url.text_ = text;
  url.scheme_ = text.substr(0, colon);
  std::transform(url.scheme_.begin(), url.scheme_.end(), url.scheme_.begin(), lowered);

  std::string_view rest = text.substr(colon + 1);
  rest = rest.substr(0, rest.find('#'));
  if (const std::size_t mark = rest.find('?'); mark != std::string_view::npos) {
    url.query_ = rest.substr(mark + 1);
    rest = rest.substr(0, mark);
  }
  if (rest.starts_with("//")) {
    rest.remove_prefix(2);
    const std::string_view authority = rest.substr(0, rest.find('/'));
    rest.remove_prefix(authority.size());
    if (!authority.empty()) {
      const auto host = hostOf(authority);
      if (!host) return std::nullopt;
      url.host_ = *host;
    }
  }
  if (needsHost(url.scheme_) && url.host_.empty()) return std::nullopt;
  url.path_ = rest;
  return url;
}

std::vector<std::pair<std::string, std::optional<std::string>>> KLURL::queryItems() const {
  std::vector<std::pair<std::string, std::optional<std::string>>> items;
  std::string_view rest = query_ ? std::string_view(*query_) : std::string_view();
  while (!rest.empty()) {
    const std::string_view item = rest.substr(0, rest.find('&'));
    rest.remove_prefix(std::min(item.size() + 1, rest.size()));
    const std::size_t equals = std::min(item.find('='), item.size());
    auto& [name, value] = items.emplace_back(KLPercentDecode(item.substr(0, equals)), std::nullopt);
    if (equals < item.size()) value = KLPercentDecode(item.substr(equals + 1));
  }
  return items;
}

KLURL KLURL::appendingEncoded(std::string_view path) const {
  KLURL url = *this;
  while (url.path_.ends_with('/')) url.path_.pop_back();
  url.path_.append(1, '/').append(path);
  const std::size_t end = std::min(text_.find_first_of("?#"), text_.size());
  url.text_ = text_.substr(0, end - path_.size()) + url.path_ + text_.substr(end);
  return url;
}

KLURL KLURL::appendingPath(std::string_view path) const {
  path.remove_prefix(std::min(path.find_first_not_of('/'), path.size()));
  return path.empty() ? *this : appendingEncoded(encodedPath(path));
}

KLURL KLURL::appendingPathComponent(std::string_view segment) const {
  return segment.empty() ? *this : appendingEncoded(encodedSegment(segment));
}

std::string KLURL::pathExtension() const {
  std::string_view segment = path_;
  while (segment.ends_with('/')) segment.remove_suffix(1);
  segment.remove_prefix(segment.rfind('/') + 1);  // without a slash: npos + 1 is 0
  const std::size_t dot = segment.rfind('.');
  return dot == std::string_view::npos || dot == 0 ? std::string() : std::string(segment.substr(dot + 1));
}

std::string KLPercentEncode(std::string_view text, std::string_view allowed) {
  std::string encoded;
  encoded.reserve(text.size());
  for (const char c : text) {
    if (isLetter(c) || isDigit(c) || allowed.find(c) != std::string_view::npos) {
      encoded += c;
    } else {
      const auto byte = static_cast<std::uint8_t>(c);
      encoded += {'%', kHexDigits[byte >> 4], kHexDigits[byte & 0xF]};
    }
  }
  return encoded;
}

std::string KLPercentDecode(std::string_view text) {
  std::string decoded;
  decoded.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    const int high = text[i] == '%' && i + 2 < text.size() ? hexValue(text[i + 1]) : -1;
    const int low = high >= 0 ? hexValue(text[i + 2]) : -1;
    if (low >= 0) {
      decoded += static_cast<char>(high * 16 + low);
      i += 2;
    } else {
      decoded += text[i];
    }
  }
  return decoded;
}

}  // namespace kaleo
