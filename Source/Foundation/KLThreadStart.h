#pragma once

#include <functional>
#include <string_view>
#include <thread>

namespace kaleo {

/// Starts a thread of the library's own. It takes no signals, so that a host's handlers run on the host's threads only, and is
/// named `name`, of which the system keeps 15 bytes.
std::thread KLStartThread(std::string_view name, std::function<void()> body);

}  // namespace kaleo
