#include "text/OutputEnd.h"

#include <cerrno>
#include <cstring>

namespace kaleo::tools {

bool endOutput(std::ostream& out, std::ostream& err, std::string_view command) {
  errno = 0;
  if (out.flush()) return true;
  const int reason = errno;  // 0 when it was an earlier part that could not be written
  err << command << ": the output cannot be written";
  if (reason != 0) err << ": " << std::strerror(reason);
  err << std::endl;
  return false;
}

}  // namespace kaleo::tools
