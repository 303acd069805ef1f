#include "graph.h"

#include "graphview.h"
#include "identities.h"
#include "observation.h"
#include "reply.h"

#include <optional>
#include <thread>

int graph(Invocation& call)
{
    QString const format = call.line.value(QStringLiteral("--format"), QStringLiteral("text"));
    if (format != QLatin1String("dot") && format != QLatin1String("text")) {
        err(QStringLiteral("--format takes dot or text"));
        return ExitUsage;
    }
    Observation observation;
    zelmsg::ControlMessage failed;
    Outcome outcome = Observation::take(call.client, observation, failed);
    std::optional<ObservedRates> rates;
    if (outcome == Outcome::Success && call.line.has(QStringLiteral("--rates"))) {
        std::this_thread::sleep_for(observationPeriod);
        Observation later;
        outcome = Observation::take(call.client, later, failed);
        rates = ObservedRates::between(observation, later);
        observation = std::move(later);
    }
    if (outcome != Outcome::Success)
        return conclude(call, Identities::manager(), outcome, failed, printNothing);
    if (observation.topology.groups.isEmpty()) {
        err(QStringLiteral("no groups"));
        return ExitSuccess;
    }
    ObservedRates const* const shown = rates ? &*rates : nullptr;
    QString const text = format == QLatin1String("dot") ? graphDot(observation, shown) : graphTree(observation, shown);
    if (!text.isEmpty())
        out(text);
    return ExitSuccess;
}
