#pragma once

#include <QCoreApplication>

#include <chrono>
#include <thread>

namespace zeltest {

using namespace std::chrono_literals;

constexpr auto defaultDeadline = 10s;

// Polls until the condition holds or the deadline passes; processes Qt events in between.
// Returns whether the condition held.
template <class Condition> bool waitUntil(Condition condition, std::chrono::milliseconds deadline = defaultDeadline)
{
    auto const end = std::chrono::steady_clock::now() + deadline;
    while (!condition()) {
        if (std::chrono::steady_clock::now() >= end)
            return false;
        QCoreApplication::processEvents();
        std::this_thread::sleep_for(2ms);
    }
    return true;
}

} // namespace zeltest
