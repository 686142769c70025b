#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>

#include "kaleo/KLPlatform.h"

namespace kaleo {

/// Looks an environment variable up; nothing when it is not set.
using KLEnvironment = std::function<std::optional<std::string>(const char* name)>;

/// This process's own environment.
std::optional<std::string> KLProcessEnvironment(const char* name);

/// The user's directories by the XDG base directories (freedesktop.org): documents in $XDG_DATA_HOME/NAME, library in
/// $XDG_CONFIG_HOME/NAME, caches in $XDG_CACHE_HOME/NAME, where NAME is the application's name made fit for a file name. A variable
/// that is unset, empty or no absolute path gives way to its default below $HOME; without $HOME the user database is asked, and
/// as a last resort a directory for temporary files serves. Nothing is made on disk. Threads: any.
KLDirectories KLXDGDirectories(const std::string& applicationName, const KLEnvironment& environment = KLProcessEnvironment);

/// The directory that holds "Kaleo.bundle": "../share/kaleo", or "../../share/kaleo" where libraries lie one level deeper, seen
/// from the file that this code was loaded from. A build tree has a link of that name.
std::filesystem::path KLResourceDirectory();

}  // namespace kaleo
