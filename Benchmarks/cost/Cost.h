#pragma once

#include <string>

namespace kaleo::bench {

/// What running the library costs its host. Each runs in a process of its own, prints its figures, and answers the exit status.
int costOfCalls();
int costOfQueuedEvents();
int costOfStart();
int costOfIdling();
/// `plans`: how many the server's configuration has.
int costInMemory(std::size_t plans);

}  // namespace kaleo::bench
