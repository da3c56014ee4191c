#pragma once
// The app's status for status bars and scripts, built from the model (and the history's forecasts
// when there is one): the JSON document, and one line of a bar's custom-module JSON. Nothing here
// fetches; it describes what the model already holds.

#include "base/usage.h"

#include <optional>
#include <string>

namespace ostrel {

class UsageModel;
class UsageHistory;

// "2026-11-23T21:18:00Z".
std::string isoTime(TimePoint t);
// "low", "medium", "high", "veryHigh".
std::string levelName(UsageLevel level);

// {"services": [...], "updatedAt": ...}: the active services in the usual order.
std::string statusJson(const UsageModel& model, const UsageHistory* history, TimePoint now);

// One line of JSON: "text" (the tray's text), "tooltip" (the spoken text and the forecasts),
// "class" (the lowest level) and "percentage" (the lowest percentage left).
std::string waybarJson(const UsageModel& model, const UsageHistory* history);

} // namespace ostrel
