#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

namespace kaleo::tools {

/// Why a document cannot be given; the text is for the person who writes the files.
class DocumentError : public std::runtime_error {
 public:
  DocumentError(int status, const std::string& message) : std::runtime_error(message), status_(status) {}
  /// The HTTP status that says so: 404 for what is not there, 500 for a faulty file.
  int status() const { return status_; }

 private:
  int status_;
};

/// Throws where and why the text of the file `name` is no JSON.
void refuseJSONFaults(const std::string& name, std::string_view text);

}  // namespace kaleo::tools
