#pragma once

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>

namespace kaleo {

/// The page at `url` as headless Chromium (Debian package chromium) has rendered it; nothing where there is no Chromium. `profile`:
/// a folder for what the browser keeps.
inline std::optional<std::string> renderedByChromium(const std::string& url, const std::filesystem::path& profile) {
  std::string browser;
  for (const char* const name : {"chromium", "chromium-headless-shell"}) {
    if (browser.empty() && std::system((std::string("command -v ") + name + " >/dev/null").c_str()) == 0) browser = name;
  }
  if (browser.empty()) return std::nullopt;
  const std::string command = browser + " --headless --no-sandbox --disable-gpu --user-data-dir=" + profile.string() +
                              " --virtual-time-budget=5000 --dump-dom '" + url + "' 2>/dev/null";
  std::string page;
  FILE* const output = popen(command.c_str(), "r");
  if (output == nullptr) return page;
  for (int c = std::fgetc(output); c != EOF; c = std::fgetc(output)) page += static_cast<char>(c);
  pclose(output);
  return page;
}

inline constexpr const char* kNoChromium = "Chromium is not here (Debian package chromium)";

}  // namespace kaleo
