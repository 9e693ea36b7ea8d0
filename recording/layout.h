// Where things lie in a recording; docs/recordings.md describes all of it.
//
//     recording.json                       what was recorded, of what, when
//     streams/NAME.csv                     every record of a stream, all fields
//     mav0/imu0/{data.csv,sensor.yaml}     the same samples as EuRoC has them
//     mav0/mag0/{data.csv,sensor.yaml}
//     mav0/camN/{data.csv,sensor.yaml,data/TIMESTAMP.png}
//     mav0/state_groundtruth_estimate0/data.csv
//     kalibr/{camchain-imucam.yaml,imu.yaml}
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Recording {

/// Version of the format; a reader refuses higher ones.
inline constexpr int kFormatVersion = 1;

inline constexpr char kDescriptionFile[] = "recording.json";
inline constexpr char kStreamsDirectory[] = "streams";
inline constexpr char kEurocDirectory[] = "mav0";
inline constexpr char kGroundTruthDirectory[] = "state_groundtruth_estimate0";
inline constexpr char kKalibrDirectory[] = "kalibr";
/// The column, before those of the record, that says when a record was received: CLOCK_MONOTONIC.
inline constexpr char kReceivedTitle[] = "received_ns";
inline constexpr char kImageTitles[] = "#timestamp [ns],filename";
inline constexpr char kGroundTruthTitles[] =
    "#timestamp,p_RS_R_x [m],p_RS_R_y [m],p_RS_R_z [m],q_RS_w [],q_RS_x [],q_RS_y [],q_RS_z [],"
    "v_RS_R_x [m s^-1],v_RS_R_y [m s^-1],v_RS_R_z [m s^-1],b_w_RS_S_x [rad s^-1],"
    "b_w_RS_S_y [rad s^-1],b_w_RS_S_z [rad s^-1],b_a_RS_S_x [m s^-2],b_a_RS_S_y [m s^-2],"
    "b_a_RS_S_z [m s^-2]";

/// A column of a EuRoC file and the stream's column with the same values.
struct EurocColumn {
    std::string_view title;
    std::string_view streamColumn;
};

/// A stream that has a file in EuRoC's layout.
struct EurocView {
    std::string_view stream;
    std::string_view directory;
    std::vector<EurocColumn> columns;
};

const std::vector<EurocView>& eurocViews();

/// @return null if the stream has no file in EuRoC's layout.
const EurocView* eurocViewOf(std::string_view stream);

/// The title line, with its `#`.
std::string titlesOf(const EurocView& view);

}  // namespace Recording
