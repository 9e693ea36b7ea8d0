// How frame sets are measured and written down.
#pragma once

#include <vek/sensors/frame_set.h>

#include "record_format.h"

template <>
struct RecordFormat<Vek::Sensors::FrameSet> {
    /// The frames are numbered from 0; the columns of those that a set does not have are empty.
    static const char* const kCsvTitles;
    static std::optional<SampleHeader> header(const Vek::Sensors::FrameSet& frameSet);
    static std::string describe(const Vek::Sensors::FrameSet& frameSet);
    static void appendCsv(fmt::memory_buffer& out, const Vek::Sensors::FrameSet& frameSet);
};
