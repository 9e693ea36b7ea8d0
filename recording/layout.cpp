// The columns of EuRoC files.
#include "recording/layout.h"

#include <algorithm>

namespace Recording {

const std::vector<EurocView>& eurocViews() {
    static const std::vector<EurocView> views{
        {"imu",
         "imu0",
         {{"timestamp [ns]", "timestamp_ns"},
          {"w_RS_S_x [rad s^-1]", "angular_rate_x_rad_s"},
          {"w_RS_S_y [rad s^-1]", "angular_rate_y_rad_s"},
          {"w_RS_S_z [rad s^-1]", "angular_rate_z_rad_s"},
          {"a_RS_S_x [m s^-2]", "acceleration_x_m_s2"},
          {"a_RS_S_y [m s^-2]", "acceleration_y_m_s2"},
          {"a_RS_S_z [m s^-2]", "acceleration_z_m_s2"}}},
        {"mag",
         "mag0",
         {{"timestamp [ns]", "timestamp_ns"},
          {"b_RS_S_x [uT]", "field_x_ut"},
          {"b_RS_S_y [uT]", "field_y_ut"},
          {"b_RS_S_z [uT]", "field_z_ut"}}},
    };
    return views;
}

const EurocView* eurocViewOf(std::string_view stream) {
    const auto& views = eurocViews();
    const auto found = std::find_if(views.begin(), views.end(),
                                    [&](const EurocView& view) { return view.stream == stream; });
    return found == views.end() ? nullptr : &*found;
}

std::string titlesOf(const EurocView& view) {
    std::string line;
    for (const EurocColumn& column : view.columns) {
        line.append(line.empty() ? "#" : ",").append(column.title);
    }
    return line;
}

}  // namespace Recording
