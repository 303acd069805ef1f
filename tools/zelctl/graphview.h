#pragma once

#include "observation.h"

#include <QString>

// The running topology drawn from an observation: processors with their types and states, and,
// given rates, every link labelled with its messages per second.
QString graphTree(Observation const& observation, ObservedRates const* rates);
QString graphDot(Observation const& observation, ObservedRates const* rates);
