#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "kaleo/KLValue.h"

namespace kaleo::tools {

/// A file: URL for an absolute path.
std::string fileURL(const std::filesystem::path& path);

/// `layout` with every picture in a file as a file: URL: those named by a path, relative to `directory`, and those that are file:
/// URLs already, blanks in them allowed. The URL's fragment tells versions of the picture apart. Other URLs stay. Adds the
/// pictures' paths to `files`.
KLValue withPictureURLs(const KLValue& layout, const std::filesystem::path& directory, std::vector<std::filesystem::path>& files);

}  // namespace kaleo::tools
