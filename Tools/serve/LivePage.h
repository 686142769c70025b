#pragma once

namespace kaleo::tools {

/// live.html: the page that shows what a popup server does. It asks the server at "/live" once a second and loads nothing else.
extern const char* const kLivePage;

}  // namespace kaleo::tools
