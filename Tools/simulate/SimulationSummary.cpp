#include "simulate/SimulationSummary.h"

#include <fmt/format.h>

#include <algorithm>
#include <numeric>
#include <tuple>

#include "Core/Utils/KLJSONSerialization.h"
#include "rules/DisplayTimes.h"
#include "text/Table.h"

namespace kaleo::tools {
namespace {

/// Nothing stands out more than what is not there.
Table::Cell number(std::uint64_t count, Tone tone = Tone::Plain) {
  return count == 0 ? Table::Cell{"-", Tone::Faint} : Table::Cell{fmt::format("{}", count), tone};
}

std::vector<Table::Cell> cellsOf(const SimulationSummary::Row& row) {
  std::vector<Table::Cell> cells{{row.key}, number(row.events())};
  for (std::size_t i = 0; i < kVerdicts; ++i) {
    const auto verdict = static_cast<Verdict>(i);
    cells.push_back(number(row.counts[i], verdict == Verdict::Shown ? Tone::Good : Tone::Plain));
    if (verdict == Verdict::Pattern) cells.push_back(number(row.matched()));
  }
  const std::string name = printable(row.name);
  cells.push_back({row.leftOut.empty() ? name : fmt::format("{} (left out: {})", name, printable(row.leftOut))});
  return cells;
}

std::vector<std::string> eventsOf(const KLPopupPlanModel& plan) {
  std::vector<std::string> names;
  for (const KLPlanPopupMatcher& matcher : plan.patternPopup.matcherList) {
    const std::string name = matcher.eventName.value_or("");
    if (!name.empty() && std::ranges::find(names, name) == names.end()) names.push_back(name);
  }
  return names;
}

std::string displayTimesOf(const KLPopupPlanModel& plan) {
  if (!plan.repeatDisplay) return {};
  const std::string times = textOf(*plan.repeatDisplay);
  return times.empty() ? "at no time" : times;
}

double expiryOf(const KLPopupPlanModel& plan) {
  constexpr double kMillisecondsPerSecond = 1000;
  return plan.expireAt ? quillon_doublePrefix(*plan.expireAt) / kMillisecondsPerSecond : 0;
}

}  // namespace

std::uint64_t SimulationSummary::Row::events() const { return std::accumulate(counts.begin(), counts.end(), std::uint64_t{0}); }

std::uint64_t SimulationSummary::Row::matched() const {
  return count(Verdict::GlobalLimit) + count(Verdict::ReEntry) + count(Verdict::Inhibited) + count(Verdict::Shown);
}

void SimulationSummary::configured(const KLPopupConfig& configuration, const SimulationResult& result) {
  for (const auto& plan : configuration.popupPlanModels) {
    Row& row = rows_[plan->planKey()];
    const std::string displayTimes = displayTimesOf(*plan);
    const double expiresAt = expiryOf(*plan);
    if (!row.key.empty() && (row.displayTimes != displayTimes || row.expiresAt != expiresAt)) row.timesChanged = true;
    row.key = plan->planKey();
    row.name = plan->cname.value_or("");
    row.priority = plan->absolutePriority;
    row.id = plan->planID;
    row.listensTo = eventsOf(*plan);
    row.displayTimes = displayTimes;
    row.expiresAt = expiresAt;
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

std::string SimulationSummary::table(bool coloured) const {
  // The headings say what the columns count; of refusals, which check refused.
  std::vector<Table::Column> columns;
  for (const char* const heading : {"plan", "events", "refused:\nexpired", "display\ntime", "convert\nwindow", "global\ninterval",
                                    "plan\ninterval", "pattern", "matched", "global\nlimit", "re-\nentry", "inhibited", "shown"}) {
    columns.push_back({heading, Table::Side::Right});
  }
  columns.push_back({"name"});
  Table table(std::move(columns));
  for (const Row* const row : rows()) table.add(cellsOf(*row));
  return table.text(Painter(coloured)) + fmt::format("{} events, {} popups\n", events_, popups_);
}

}  // namespace kaleo::tools
