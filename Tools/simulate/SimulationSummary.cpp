#include "simulate/SimulationSummary.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <numeric>
#include <tuple>

#include "Core/Utils/KLJSONSerialization.h"

namespace kaleo::tools {
namespace {

using Cells = std::vector<std::string>;

/// Columns to the right edge of their widest cell, two blanks between them; the last one, of free text, to the left.
std::string aligned(const std::vector<Cells>& lines) {
  std::vector<std::size_t> widths(lines.front().size(), 0);
  for (const Cells& cells : lines) {
    for (std::size_t i = 0; i < cells.size(); ++i) widths[i] = std::max(widths[i], cells[i].size());
  }
  std::string text;
  for (const Cells& cells : lines) {
    for (std::size_t i = 0; i + 1 < cells.size(); ++i) text += fmt::format("{:>{}}  ", cells[i], widths[i]);
    text += cells.back();
    text.erase(text.find_last_not_of(' ') + 1);
    text += '\n';
  }
  return text;
}

/// A name as a terminal may show it.
std::string printable(std::string text) {
  std::ranges::replace_if(
      text, [](unsigned char c) { return c < 0x20 || c == 0x7F; }, '?');
  return text;
}

/// Nothing stands out more than what is not there.
std::string number(std::uint64_t count) { return count == 0 ? "-" : fmt::format("{}", count); }

}  // namespace

std::uint64_t SimulationSummary::Row::events() const { return std::accumulate(counts.begin(), counts.end(), std::uint64_t{0}); }

std::uint64_t SimulationSummary::Row::matched() const {
  return count(Verdict::GlobalLimit) + count(Verdict::ReEntry) + count(Verdict::Inhibited) + count(Verdict::Shown);
}

void SimulationSummary::configured(const KLPopupConfig& configuration, const SimulationResult& result) {
  for (const auto& plan : configuration.popupPlanModels) {
    Row& row = rows_[plan->planKey()];
    row.key = plan->planKey();
    row.name = printable(plan->cname.value_or(""));
    row.priority = plan->absolutePriority;
    row.id = plan->planID;
    row.leftOut.clear();
  }
  for (const auto& record : result.records) {
    const auto row = rows_.find(record.entityId.value_or(""));
    if (record.state != KLDiagnosisState::PlanFiltered || row == rows_.end()) continue;
    row->second.leftOut = quillon_stringValue(record.content.find(kQuillonDiagnosticInfoKeyMessage)).value_or("");
  }
}

void SimulationSummary::tracked(const SimulationResult& result) {
  ++events_;
  if (result.shown) ++popups_;
  for (const PlanVerdict& verdict : result.verdicts) ++rows_[verdict.planKey].counts[static_cast<std::size_t>(verdict.verdict)];
}

std::vector<const SimulationSummary::Row*> SimulationSummary::rows() const {
  std::vector<const Row*> rows;
  for (const auto& [key, row] : rows_) rows.push_back(&row);
  std::ranges::stable_sort(rows, std::ranges::greater{}, [](const Row* row) { return std::tuple(row->priority, row->id); });
  return rows;
}

std::string SimulationSummary::table() const {
  // Two lines of headings: what the columns count, and which check refused.
  std::vector<Cells> lines{{"", "", "refused:", "display", "convert", "global", "plan", "", "", "global", "re-", "", "", ""},
                           {"plan", "events", "expired", "time", "window", "interval", "interval", "pattern", "matched", "limit",
                            "entry", "inhibited", "shown", "name"}};
  for (const Row* const plan : rows()) {
    const Row& row = *plan;
    Cells cells{row.key, number(row.events())};
    for (std::size_t i = 0; i < kVerdicts; ++i) {
      cells.push_back(number(row.counts[i]));
      if (static_cast<Verdict>(i) == Verdict::Pattern) cells.push_back(number(row.matched()));
    }
    cells.push_back(row.leftOut.empty() ? row.name : fmt::format("{} (left out: {})", row.name, row.leftOut));
    lines.push_back(std::move(cells));
  }
  return aligned(lines) + fmt::format("{} events, {} popups\n", events_, popups_);
}

}  // namespace kaleo::tools
