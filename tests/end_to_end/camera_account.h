// Counts of the frame sets that the simulated service has handed out, by their outcome.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <string>

namespace TestSupport {

/// The counts of one camera stream in the service's summary.
struct CameraAccount {
    CameraAccount(const std::string& summary, const std::string& stream) {
        const std::string line = summary.substr(std::min(summary.find(stream), summary.size()));
        constexpr char kFormat[] =
            "%*[^:]: %zu frame sets handed out to %*u clients, %zu came back; %zu twice, %zu "
            "altered, %zu never; %zu reclaimed, %zu dropped";
        EXPECT_EQ(std::sscanf(line.c_str(), kFormat, &handedOut, &cameBack, &twice, &altered,
                              &never, &reclaimed, &dropped),
                  7)
            << stream << " in: " << summary;
    }

    /// Whether every frame set came back unchanged and once, or was reclaimed.
    bool isBalanced() const {
        return handedOut == cameBack + reclaimed && twice + altered + never == 0;
    }

    size_t handedOut = 0;
    size_t cameBack = 0;
    size_t twice = 0;
    size_t altered = 0;
    size_t never = 0;
    size_t reclaimed = 0;
    size_t dropped = 0;
};

}  // namespace TestSupport
