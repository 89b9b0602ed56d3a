#pragma once
// Polls `condition` until it holds or `limit` has passed: for what another
// thread or process brings about at a time of its choosing.
#include <chrono>
#include <functional>
#include <thread>

inline bool Eventually(const std::function<bool()>& condition,
                       std::chrono::milliseconds limit = std::chrono::milliseconds(5000)) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}
