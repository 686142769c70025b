#include "simulate/SimulationPage.h"

#include <cmath>

#include "Foundation/KLJSON.h"
#include "simulate/ReportTemplate.h"

namespace kaleo::tools {
namespace {

constexpr double kHour = 3600;
constexpr std::string_view kDataMark = "@DATA@";

/// By Verdict.
constexpr std::array<const char*, kVerdicts> kWords{"expired",
                                                    "outside of its display times",
                                                    "a conversion is awaited",
                                                    "too soon after any popup",
                                                    "too soon after its own popup",
                                                    "trigger condition not met",
                                                    "limit of all popups reached",
                                                    "shown often enough in its window",
                                                    "one of higher priority came first",
                                                    "shown"};

KLValue orNull(const std::optional<std::string>& text) { return text ? KLValue(*text) : KLValue(); }

template <class Counts>
KLValue::Array arrayOf(const Counts& counts) {
  KLValue::Array array;
  for (const auto count : counts) array.emplace_back(static_cast<std::int64_t>(count));
  return array;
}

KLValue::Array plansOf(const SimulationSummary& summary) {
  KLValue::Array plans;
  for (const auto* row : summary.rows()) {
    plans.emplace_back(KLObject{{"id", row->key},
                                {"name", row->name},
                                {"priority", row->priority},
                                {"listensTo", KLValue::Array(row->listensTo.begin(), row->listensTo.end())},
                                {"displayTimes", row->displayTimes},
                                {"expiresAt", row->expiresAt},
                                {"timesChanged", row->timesChanged},
                                {"leftOut", row->leftOut},
                                {"counts", arrayOf(row->counts)}});
  }
  return plans;
}

/// As the text of a script element may stand: nothing in it looks like markup.
std::string embeddable(std::string json) {
  for (std::size_t at = json.find('<'); at != std::string::npos; at = json.find('<', at)) json.replace(at, 1, "\\u003c");
  return json;
}

}  // namespace

void SimulationPage::tracked(std::uint64_t line, const SimulationResult& result) {
  if (hours_.empty()) from_ = result.at;
  to_ = result.at;
  count(result.at, result.verdicts);
  if (decisions_.size() < kMaxDecisions && verdicts_ < kMaxVerdicts) {
    verdicts_ += result.verdicts.size();
    KLValue::Array verdicts;
    for (const PlanVerdict& verdict : result.verdicts) {
      KLValue::Array entry{verdict.planKey, static_cast<int>(verdict.verdict)};
      entry.insert(entry.end(), verdict.values.begin(), verdict.values.end());
      verdicts.emplace_back(std::move(entry));
    }
    decisions_.emplace_back(KLValue::Array{static_cast<std::int64_t>(line), result.at, orNull(result.event), std::move(verdicts)});
  }
  if (!result.shown || popups_.size() >= kMaxPopups) return;
  KLValue::Array bars;
  for (const SimulatedWindow& window : result.windows) {
    bars.emplace_back(KLObject{{"kind", window.kind}, {"start", window.start}, {"end", window.end}});
  }
  popups_.emplace_back(KLObject{{"plan", *result.shown}, {"at", result.at}, {"windows", std::move(bars)}});
}

void SimulationPage::count(double at, const std::vector<PlanVerdict>& verdicts) {
  const double start = std::floor(at / kHour) * kHour;
  if (hours_.empty() || hours_.back().start != start) hours_.push_back({start, {}});
  for (const PlanVerdict& verdict : verdicts) ++hours_.back().counts[static_cast<std::size_t>(verdict.verdict)];
}

std::string SimulationPage::html(const std::string& source, const std::string& timeZone, const SimulationSummary& summary) const {
  KLValue::Array hours;
  for (const Hour& hour : hours_) hours.emplace_back(KLValue::Array{hour.start, arrayOf(hour.counts)});
  const KLObject data{{"source", source},
                      {"timeZone", timeZone},
                      {"from", from_},
                      {"to", to_},
                      {"events", static_cast<std::int64_t>(summary.events())},
                      {"shown", static_cast<std::int64_t>(summary.popups())},
                      {"verdicts", KLValue::Array(kWords.begin(), kWords.end())},
                      {"plans", plansOf(summary)},
                      {"hours", std::move(hours)},
                      {"popups", popups_},
                      {"decisions", decisions_}};
  std::string page = kReportTemplate;
  page.replace(page.find(kDataMark), kDataMark.size(), embeddable(KLJSON::serialize(data)));
  return page;
}

}  // namespace kaleo::tools
