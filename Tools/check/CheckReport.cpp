#include "check/CheckReport.h"

#include <fmt/format.h>

#include <algorithm>
#include <ostream>
#include <set>

#include "Foundation/KLJSON.h"
#include "text/Counted.h"
#include "text/TerminalText.h"

namespace kaleo::tools {
namespace {

std::size_t count(const std::vector<Finding>& findings, Severity severity) {
  return static_cast<std::size_t>(std::ranges::count_if(
      findings, [severity](const Finding& finding) { return checkCode(finding.check).severity == severity; }));
}

Tone toneOf(Severity severity) {
  switch (severity) {
    case Severity::Error:
      return Tone::Bad;
    case Severity::Warning:
      return Tone::Heading;
    case Severity::Note:
      break;
  }
  return Tone::Faint;
}

}  // namespace

void writeFindings(const std::vector<Finding>& findings, bool coloured, std::ostream& out) {
  const Painter paint(coloured);
  std::set<Check> explained;
  for (const Finding& finding : findings) {
    const CheckCode& code = checkCode(finding.check);
    out << fmt::format("{}:{}:{}: {}: {} [{}]\n", printable(finding.file), finding.place.line, finding.place.column,
                       paint(toneOf(code.severity), std::string(severityName(code.severity))), printable(finding.sentence),
                       code.name);
    if (!finding.pointer.empty()) out << "  at:   " << printable(finding.pointer) << '\n';
    if (explained.insert(code.check).second) out << "  why:  " << code.why << "\n  mend: " << code.mend << '\n';
    out << '\n';
  }
  if (findings.empty()) {
    out << "Nothing to mend.\n";
  } else {
    out << fmt::format("{}, {}, {}.\n", counted(count(findings, Severity::Error), "error"),
                       counted(count(findings, Severity::Warning), "warning"), counted(count(findings, Severity::Note), "note"));
  }
}

void writeFindingsAsJSON(const std::vector<Finding>& findings, std::ostream& out) {
  KLValue::Array list;
  for (const Finding& finding : findings) {
    const CheckCode& code = checkCode(finding.check);
    list.push_back(KLObject{{"code", code.name},
                            {"severity", severityName(code.severity)},
                            {"file", finding.file},
                            {"line", static_cast<std::int64_t>(finding.place.line)},
                            {"column", static_cast<std::int64_t>(finding.place.column)},
                            {"pointer", finding.pointer},
                            {"message", finding.sentence},
                            {"why", code.why},
                            {"mend", code.mend}});
  }
  const auto number = [&findings](Severity severity) { return static_cast<std::int64_t>(count(findings, severity)); };
  const KLObject document{{"findings", std::move(list)},
                          {"errors", number(Severity::Error)},
                          {"warnings", number(Severity::Warning)},
                          {"notes", number(Severity::Note)}};
  out << KLJSON::serialize(document, KLJSON::Style::Pretty) << '\n';
}

void writeCodes(std::ostream& out) {
  out << "# What `kaleo check` finds\n\n"
         "An error keeps a plan or an element from ever doing what it is there for; a warning is very likely not what was\n"
         "meant; a note is read as written. The exit status is 2 with errors, 1 with warnings, else 0.\n\n"
         "| code | severity | what the library does | how to mend it |\n|---|---|---|---|\n";
  for (const CheckCode& code : checkCodes()) {
    out << fmt::format("| `{}` | {} | {} | {} |\n", code.name, severityName(code.severity), code.why, code.mend);
  }
}

int exitStatus(const std::vector<Finding>& findings) {
  if (count(findings, Severity::Error) > 0) return 2;
  return count(findings, Severity::Warning) > 0 ? 1 : 0;
}

}  // namespace kaleo::tools
