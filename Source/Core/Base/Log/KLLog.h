#pragma once

#include <fmt/format.h>

#include <source_location>
#include <string>
#include <string_view>

#include "kaleo/KLHost.h"

namespace kaleo {

/// How a line is meant; the values are the host logger's.
enum class KLLogLevel : int { Error = 1, Info = 4, Detail = 8 };

/// The one way to the host's logger. A message is formatted only when a logger is registered; without one nothing is printed.
/// Threads: any. Lifetime: borrows the registry.
class KLLog {
 public:
  /// A format text (fmt syntax, checked at compile time) together with the place that wrote it.
  template <class... Args>
  struct Format {
    fmt::format_string<Args...> text;
    std::source_location where;
    template <class Text>
    consteval Format(const Text& t, std::source_location w = std::source_location::current()) : text(t), where(w) {}
  };

  explicit KLLog(const KLHostRegistry& host) : host_(host) {}
  KLLog(const KLLog&) = delete;
  KLLog& operator=(const KLLog&) = delete;

  template <class... Args>
  void error(Format<std::type_identity_t<Args>...> format, Args&&... args) const {
    write(KLLogLevel::Error, format.where, format.text, args...);
  }
  template <class... Args>
  void info(Format<std::type_identity_t<Args>...> format, Args&&... args) const {
    write(KLLogLevel::Info, format.where, format.text, args...);
  }
  template <class... Args>
  void detail(Format<std::type_identity_t<Args>...> format, Args&&... args) const {
    write(KLLogLevel::Detail, format.where, format.text, args...);
  }

  /// Whether a line would reach anyone: for arguments that cost something.
  bool isEnabled() const { return host_.hasNBLog(); }

  /// Hands a message to the host's logger as it is.
  void log(bool asynchronous, KLLogLevel level, const char* file, const char* function, int line, int context,
           std::string_view message) const;

 private:
  template <class... Args>
  void write(KLLogLevel level, const std::source_location& where, fmt::string_view text, Args&... args) const {
    if (isEnabled()) send(level, where, fmt::vformat(text, fmt::make_format_args(args...)));
  }
  void send(KLLogLevel level, const std::source_location& where, std::string_view message) const;

  const KLHostRegistry& host_;
};

}  // namespace kaleo
