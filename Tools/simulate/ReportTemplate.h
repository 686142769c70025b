#pragma once

namespace kaleo::tools {

/// report.html, with @DATA@ where the run's data goes.
extern const char* const kReportTemplate;

}  // namespace kaleo::tools
