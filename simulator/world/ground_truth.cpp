#include "world/ground_truth.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <utility>

namespace Simulator {

GroundTruth::GroundTruth(std::string file)
    : file_(std::move(file)),
      unfinished_(fmt::format("{}.{}", file_, getpid())),
      stream_(unfinished_) {
    if (!stream_) {
        throw std::runtime_error(
            fmt::format("cannot write --ground-truth {}: {}", unfinished_, std::strerror(errno)));
    }
    stream_ << "#timestamp, p_RS_R_x [m], p_RS_R_y [m], p_RS_R_z [m], "
               "q_RS_w [], q_RS_x [], q_RS_y [], q_RS_z [], "
               "v_RS_R_x [m s^-1], v_RS_R_y [m s^-1], v_RS_R_z [m s^-1], "
               "b_w_RS_S_x [rad s^-1], b_w_RS_S_y [rad s^-1], b_w_RS_S_z [rad s^-1], "
               "b_a_RS_S_x [m s^-2], b_a_RS_S_y [m s^-2], b_a_RS_S_z [m s^-2]\n";
}

GroundTruth::~GroundTruth() {
    if (lines_ == 0) {
        std::remove(unfinished_.c_str());
    }
}

void GroundTruth::write(int64_t timestamp, const Motion& motion,
                        const InertialSensor::Reading& biases) {
    const std::lock_guard lock{mutex_};
    if (lines_ == 0 && std::rename(unfinished_.c_str(), file_.c_str()) != 0) {
        stream_.setstate(std::ios::failbit);
    }
    ++lines_;
    std::string line = std::to_string(timestamp);
    const auto add = [&line](const Vector& vector) {
        line += fmt::format(",{:.9f},{:.9f},{:.9f}", vector.x(), vector.y(), vector.z());
    };
    const Eigen::Quaterniond& q = motion.pose.orientation;
    add(motion.pose.position);
    line += fmt::format(",{:.12f},{:.12f},{:.12f},{:.12f}", q.w(), q.x(), q.y(), q.z());
    add(motion.velocity);
    add(biases.angularRate);
    add(biases.acceleration);
    // Flushes, so that the line is in the file before a client gets the record.
    stream_ << line << std::endl;
}

std::string GroundTruth::summary() {
    const std::lock_guard lock{mutex_};
    return stream_.flush() ? fmt::format("ground truth: {} lines in {}", lines_, file_)
                           : fmt::format("ground truth: error: cannot write {}", file_);
}

}  // namespace Simulator
