#include <cstdlib>

// Called by the address sanitizer, where there is one: Chromium deletes its own classes as other ones, and leaves memory behind at
// the end of the process.
extern "C" const char* __asan_default_options();
extern "C" const char* __asan_default_options() { return "new_delete_type_mismatch=0:detect_leaks=0"; }

namespace {

/// Before Qt WebEngine starts: Chromium's sandbox refuses root, and there is no graphics processor to ask for.
[[maybe_unused]] const bool kPrepared =
    ::setenv("QTWEBENGINE_DISABLE_SANDBOX", "1", 0) == 0 && ::setenv("QTWEBENGINE_CHROMIUM_FLAGS", "--disable-gpu", 0) == 0;

}  // namespace
