#include "Nimbra/Logger.h"

#include <fmt/format.h>

namespace nimbra {

Logger::Logger(std::shared_ptr<kaleo::KLClock> clock, Sink sink, const std::filesystem::path& file)
    : clock_(std::move(clock)), sink_(std::move(sink)), file_(file.empty() ? nullptr : std::make_unique<LineFile>(file)) {}

void Logger::log(bool, const std::string& message, int level, const char* file, const char*, int line, int) {
  const auto name = std::filesystem::path(file == nullptr ? "" : file).filename().string();
  const LogLine entry{clock_->now(), level, message, fmt::format("{}:{}", name, line)};
  if (file_) file_->append(fmt::format("{:.3f} {} {} {}", entry.time, level, entry.place, message));
  if (sink_) sink_(entry);
}

}  // namespace nimbra
