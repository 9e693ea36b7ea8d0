#include "world/trajectory_file.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <vector>

namespace Simulator {
namespace {

constexpr size_t kNumbers = 8;  // of a line: time, position, orientation
/// A shorter one would turn the noise of recorded poses into accelerations.
constexpr int64_t kLeastSpacing = 50'000'000;  // ns
constexpr double kLongest = 24 * 3600;         // s

struct TimedPose {
    int64_t time;  // ns since the first
    Pose pose;
};

/// @return fewer numbers if the line has no more
std::vector<long double> numbersOf(const std::string& line) {
    std::vector<long double> numbers;
    const char* begin = line.c_str();
    while (numbers.size() < kNumbers) {
        char* end = nullptr;
        const long double number = std::strtold(begin, &end);
        if (end == begin) {
            break;
        }
        numbers.push_back(number);
        begin = end + std::strspn(end, ", \t");
    }
    return numbers;
}

/// Throws std::runtime_error if the poses cannot be a path.
std::vector<TimedPose> readPoses(const std::string& file) {
    std::ifstream stream(file);
    if (!stream) {
        throw std::runtime_error(
            fmt::format("cannot read trajectory {}: {}", file, std::strerror(errno)));
    }
    std::vector<TimedPose> poses;
    long double beginning = 0;
    std::string line;
    for (size_t lineNumber = 1; std::getline(stream, line); ++lineNumber) {
        const auto fail = [&](const std::string& problem) {
            throw std::runtime_error(
                fmt::format("trajectory {}, line {}: {}", file, lineNumber, problem));
        };
        if (line.find_first_not_of(" \t\r") == std::string::npos || line[0] == '#') {
            continue;
        }
        const std::vector<long double> numbers = numbersOf(line);
        if (numbers.size() < kNumbers) {
            fail(fmt::format("{} numbers, {} are needed", numbers.size(), kNumbers));
        }
        std::array<double, kNumbers> n{};
        std::copy(numbers.begin(), numbers.end(), n.begin());
        if (!std::all_of(n.begin(), n.end(), [](double number) { return std::isfinite(number); })) {
            fail("not a finite number");
        }
        const bool isEuroc = line.find(',') != std::string::npos;
        const Eigen::Quaterniond orientation = isEuroc ? Eigen::Quaterniond{n[4], n[5], n[6], n[7]}
                                                       : Eigen::Quaterniond{n[7], n[4], n[5], n[6]};
        if (std::abs(orientation.norm() - 1) > 0.01) {
            fail(fmt::format("a quaternion of length {}", orientation.norm()));
        }
        if (poses.empty()) {
            beginning = numbers[0];
        }
        const long double unit = isEuroc ? 1 : 1e9L;
        const long double time = (numbers[0] - beginning) * unit;
        if (time > kLongest * 1e9L) {
            fail(fmt::format("more than {} s after the first pose", kLongest));
        }
        if (!poses.empty() && time < static_cast<long double>(poses.back().time) + 1) {
            fail("not later than the line before");
        }
        poses.push_back({std::llround(time), {orientation.normalized(), Vector{n[1], n[2], n[3]}}});
    }
    if (poses.size() < 2) {
        throw std::runtime_error(fmt::format("trajectory {} has less than 2 poses", file));
    }
    return poses;
}

}  // namespace

PoseSpline readTrajectory(const std::string& file) {
    const std::vector<TimedPose> poses = readPoses(file);
    const int64_t mean = poses.back().time / static_cast<int64_t>(poses.size() - 1);
    const int64_t spacing = std::max(mean, kLeastSpacing);
    std::vector<Pose> even;
    for (size_t next = 1; next < poses.size();) {
        const int64_t time = static_cast<int64_t>(even.size()) * spacing;
        const auto& [beginTime, begin] = poses[next - 1];
        const auto& [endTime, end] = poses[next];
        if (time > endTime) {
            ++next;
            continue;
        }
        const double part =
            static_cast<double>(time - beginTime) / static_cast<double>(endTime - beginTime);
        even.push_back({begin.orientation.slerp(part, end.orientation),
                        begin.position + part * (end.position - begin.position)});
    }
    return PoseSpline::through(even, spacing);
}

}  // namespace Simulator
