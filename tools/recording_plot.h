// Draws the streams of a recording.
#pragma once

#include <string>
#include <vector>

struct PlotOptions {
    /// The extension chooses the format: .svg or .png.
    std::string file;
    /// Names of streams; empty: all with numeric columns.
    std::vector<std::string> streams;
};

/// A row of diagrams for each stream: each group of its signals over time, then histograms of
/// intervals and latencies. Throws Failure if gnuplot is not there or cannot draw.
void plotRecording(const std::string& directory, const PlotOptions& options);
