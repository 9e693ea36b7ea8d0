// Generates a gnuplot script that contains the data points, and passes it to gnuplot's standard
// input.
#include "recording_plot.h"

#include <fmt/format.h>
#include <sys/wait.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <regex>

#include "failure.h"
#include "names.h"
#include "recording/layout.h"
#include "recording_inspection.h"
#include "table.h"

namespace {

/// More points than pixel columns add no information.
constexpr size_t kMostPoints = 2000;
/// Size of a diagram in pixels.
constexpr int kWidth = 560;
constexpr int kHeight = 260;

struct Point {
    double x;
    double y;
};

/// Points of a long signal in bounded memory. If there are too many, groups of neighbours are
/// reduced to their minimum and maximum, so that no peak is lost.
class Curve {
  public:
    void add(Point point) {
        if (!std::isfinite(point.y)) {
            return;
        }
        if (count_++ % stride_ == 0) {
            points_.push_back({point, point});
            if (points_.size() > kMostPoints) {
                halve();
            }
            return;
        }
        auto& [low, high] = points_.back();
        low = point.y < low.y ? point : low;
        high = point.y > high.y ? point : high;
    }

    bool isEmpty() const { return points_.empty(); }

    std::string lines() const {
        std::string text;
        for (auto [a, b] : points_) {
            if (b.x < a.x) {
                std::swap(a, b);
            }
            text += fmt::format("{} {}\n", a.x, a.y);
            text += a.x != b.x ? fmt::format("{} {}\n", b.x, b.y) : "";
        }
        return text;
    }

  private:
    void halve() {
        std::vector<std::pair<Point, Point>> halved;
        for (size_t i = 0; i < points_.size(); i += 2) {
            auto pair = points_[i];
            if (i + 1 < points_.size()) {
                const auto& next = points_[i + 1];
                pair.first = next.first.y < pair.first.y ? next.first : pair.first;
                pair.second = next.second.y > pair.second.y ? next.second : pair.second;
            }
            halved.push_back(pair);
        }
        points_ = std::move(halved);
        stride_ *= 2;
        // The next point begins a new group.
        count_ = points_.size() * stride_;
    }

    std::vector<std::pair<Point, Point>> points_;
    size_t stride_ = 1;
    size_t count_ = 0;
};

/// The columns that share a diagram: one, or the axes of one quantity.
struct Signal {
    std::string title;
    std::string unit;
    struct Part {
        int column;
        std::string axis;
        /// By source.
        std::map<std::string, Curve> curves{};
    };
    std::vector<Part> parts;
};

struct Diagrams {
    std::string stream;
    std::vector<Signal> signals;
    /// In ms.
    std::vector<double> intervals;
    std::vector<double> latencies;
};

/// The unit of a column's suffix, as people write it.
const std::vector<std::pair<std::string, std::string>>& units() {
    static const std::vector<std::pair<std::string, std::string>> units{{"rad_s2", "rad/s²"},
                                                                        {"m_s2", "m/s²"},
                                                                        {"rad_s", "rad/s"},
                                                                        {"m_s", "m/s"},
                                                                        {"rad2", "rad²"},
                                                                        {"mm2", "mm²"},
                                                                        {"m2", "m²"},
                                                                        {"w_m2", "W/m²"},
                                                                        {"bit_s", "bit/s"},
                                                                        {"percent", "%"},
                                                                        {"ut", "µT"},
                                                                        {"hz", "Hz"},
                                                                        {"mhz", "MHz"},
                                                                        {"lx", "lx"},
                                                                        {"dbm", "dBm"},
                                                                        {"ns", "ns"},
                                                                        {"us", "µs"},
                                                                        {"ms", "ms"},
                                                                        {"mm", "mm"},
                                                                        {"c", "°C"},
                                                                        {"k", "K"},
                                                                        {"v", "V"},
                                                                        {"n", "N"},
                                                                        {"m", "m"},
                                                                        {"s", "s"}};
    return units;
}

/// False for times, counts and columns that identify the source of a row.
bool isSignal(const std::string& title) {
    static const std::regex other(
        "received_ns|(.*_)?timestamp_ns|.*sequence|.*status|sensor|source|controller|"
        "controller_time_us|(.*_)?range_.*|samples|frame[0-9].*|channel_[0-9]+|.*_count|name|model|"
        "serial_number|.*_version|factory_calibration|features|type|hand|connection|kind");
    return !std::regex_match(title, other);
}

std::vector<Signal> signalsOf(const std::vector<std::string>& titles) {
    static const std::regex axis("(.*?)_?([xyzw])");
    std::vector<Signal> signals;
    for (size_t i = 0; i < titles.size(); ++i) {
        if (!isSignal(titles[i])) {
            continue;
        }
        std::string name = titles[i];
        std::string unit;
        for (const auto& [suffix, words] : units()) {
            const std::string ending = "_" + suffix;
            if (name.size() > ending.size() &&
                name.compare(name.size() - ending.size(), ending.size(), ending) == 0) {
                name.resize(name.size() - ending.size());
                unit = words;
                break;
            }
        }
        std::smatch parts;
        std::string part;
        if (std::regex_match(name, parts, axis) && parts[1].length() > 0) {
            part = parts[2];
            name = std::string(parts[1]);
        }
        std::replace(name.begin(), name.end(), '_', ' ');
        const bool isNext = !signals.empty() && signals.back().title == name && !part.empty();
        if (!isNext) {
            signals.push_back({name, unit, {}});
        }
        signals.back().parts.push_back({static_cast<int>(i), part});
    }
    return signals;
}

void addCapped(std::vector<double>& values, double value) {
    constexpr size_t kMost = 1'000'000;
    if (values.size() < kMost) {
        values.push_back(value);
    }
}

Diagrams readStream(const Recording::Reader& recording, const Recording::StreamInfo& stream) {
    Recording::CsvReader csv = recording.open(stream);
    const RowTimes times(csv);
    Diagrams diagrams{stream.name, signalsOf(csv.titles()), {}, {}};
    std::map<std::string, int64_t> last;
    std::optional<int64_t> first;
    while (csv.next()) {
        const RowTime time = times.read(csv);
        first = first.value_or(time.timestamp);
        const double seconds = 1e-9 * static_cast<double>(time.timestamp - *first);
        for (Signal& signal : diagrams.signals) {
            for (Signal::Part& part : signal.parts) {
                double value = 0;
                if (Recording::readCell(csv.cells()[static_cast<size_t>(part.column)], value)) {
                    part.curves[time.source].add({seconds, value});
                }
            }
        }
        if (times.isStamped() && time.received) {
            addCapped(diagrams.latencies,
                      1e-6 * static_cast<double>(*time.received - time.timestamp));
        }
        const auto found = last.find(time.source);
        if (found != last.end()) {
            addCapped(diagrams.intervals,
                      1e-6 * static_cast<double>(time.timestamp - found->second));
        }
        last[time.source] = time.timestamp;
    }
    return diagrams;
}

/// Quotes a text for gnuplot in single quotes, where nothing is interpreted. Text from a file must
/// not become a command.
std::string inQuotes(const std::string& text) {
    std::string words = "'";
    for (const char c : text) {
        words += c == '\''
                     ? "''"
                     : std::string(1, std::iscntrl(static_cast<unsigned char>(c)) != 0 ? '?' : c);
    }
    return words + "'";
}

class Script {
  public:
    void add(const std::string& line) { text_ += line + "\n"; }

    void addCurves(const Diagrams& diagrams, const Signal& signal) {
        std::string plot;
        std::string data;
        for (const Signal::Part& part : signal.parts) {
            for (const auto& [source, curve] : part.curves) {
                const std::string block = fmt::format("$d{}", blocks_++);
                data += block + " << EOD\n" + curve.lines() + "EOD\n";
                std::string title = part.axis;
                title += source.empty() || part.curves.size() < 2
                             ? ""
                             : (title.empty() ? "" : " of ") + source;
                plot += fmt::format("{}{} with lines {}", plot.empty() ? "plot " : ", ", block,
                                    title.empty() ? "notitle" : "title " + inQuotes(title));
            }
        }
        text_ += data;
        setAxes(diagrams.stream + ": " + signal.title, "s",
                signal.unit.empty() ? signal.title : signal.unit);
        text_ += plot + "\n";
    }

    void addHistogram(const std::string& title, const std::vector<double>& values) {
        constexpr int kBars = 80;
        const auto [low, high] = std::minmax_element(values.begin(), values.end());
        // If all values are equal, there is still one bar.
        const double width = std::max((*high - *low) / kBars, 1e-6 + std::abs(*high) * 1e-3);
        std::map<int, uint64_t> bars;
        for (const double value : values) {
            ++bars[static_cast<int>((value - *low) / width)];
        }
        const std::string block = fmt::format("$d{}", blocks_++);
        text_ += block + " << EOD\n";
        for (const auto& [bar, count] : bars) {
            text_ += fmt::format("{} {}\n", *low + (bar + 0.5) * width, count);
        }
        text_ += "EOD\n";
        setAxes(title, "ms", "records");
        text_ += fmt::format(
            "set logscale y\nset yrange [0.7:*]\nset boxwidth {}\n"
            "plot {} with boxes fill solid 0.6 notitle\n"
            "unset logscale y\nset yrange [*:*]\n",
            width, block);
    }

    const std::string& text() const { return text_; }

  private:
    void setAxes(const std::string& title, const char* x, const std::string& y) {
        text_ += fmt::format("set title {}\nset xlabel \"{}\"\nset ylabel {}\n", inQuotes(title), x,
                             inQuotes(y));
    }

    std::string text_;
    size_t blocks_ = 0;
};

/// The diagrams of a stream that show something.
std::vector<const Signal*> filledSignals(const Diagrams& diagrams) {
    std::vector<const Signal*> filled;
    for (const Signal& signal : diagrams.signals) {
        const bool isFilled =
            std::any_of(signal.parts.begin(), signal.parts.end(), [](const Signal::Part& part) {
                return std::any_of(part.curves.begin(), part.curves.end(),
                                   [](const auto& curve) { return !curve.second.isEmpty(); });
            });
        if (isFilled) {
            filled.push_back(&signal);
        }
    }
    return filled;
}

std::string scriptOf(const std::vector<Diagrams>& streams, const std::string& terminal,
                     const std::string& file) {
    size_t columns = 0;
    for (const Diagrams& diagrams : streams) {
        columns = std::max(columns, filledSignals(diagrams).size() + 2);
    }
    Script script;
    script.add("set encoding utf8");
    script.add(fmt::format("set terminal {} size {},{} noenhanced", terminal, columns * kWidth,
                           streams.size() * kHeight));
    script.add("set output " + inQuotes(file));
    script.add("set grid\nset key outside right top");
    script.add(fmt::format("set multiplot layout {},{}", streams.size(), columns));
    for (const Diagrams& diagrams : streams) {
        size_t drawn = 0;
        const auto addHistogram = [&](const char* what, const std::vector<double>& values) {
            if (!values.empty()) {
                script.addHistogram(diagrams.stream + ": " + what, values);
                ++drawn;
            }
        };
        for (const Signal* const signal : filledSignals(diagrams)) {
            script.addCurves(diagrams, *signal);
            ++drawn;
        }
        addHistogram("interval between samples", diagrams.intervals);
        addHistogram("latency from sample to reception", diagrams.latencies);
        for (; drawn < columns; ++drawn) {
            script.add("set multiplot next");
        }
    }
    script.add("unset multiplot\nunset output");
    return script.text();
}

std::vector<Diagrams> readStreams(const Recording::Reader& recording, const PlotOptions& options) {
    std::vector<std::string> names;
    for (const Recording::StreamInfo& stream : recording.streams()) {
        names.push_back(stream.name);
    }
    std::vector<std::string> wanted = names;
    if (!options.streams.empty()) {
        wanted.clear();
        for (const std::string& name : options.streams) {
            wanted.push_back(names[chooseName(names, name, "stream of the recording")]);
        }
    }
    std::vector<Diagrams> streams;
    for (const std::string& name : wanted) {
        Diagrams diagrams = readStream(recording, *recording.findStream(name));
        if (!diagrams.intervals.empty()) {
            streams.push_back(std::move(diagrams));
        }
    }
    if (streams.empty()) {
        throw Failure(ExitCode::FAILED, "no stream has two records or more: nothing to draw");
    }
    return streams;
}

void draw(const std::string& script) {
    // Without gnuplot, writing the script would raise SIGPIPE.
    std::signal(SIGPIPE, SIG_IGN);
    // Messages are kept aside, because gnuplot also warns of harmless things, such as a constant
    // signal.
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> messages(std::tmpfile(), std::fclose);
    std::FILE* const gnuplot =
        messages == nullptr
            ? nullptr
            : popen(fmt::format("gnuplot 2>/dev/fd/{}", fileno(messages.get())).c_str(), "we");
    if (gnuplot == nullptr) {
        throw Failure(ExitCode::FAILED, "gnuplot cannot be started");
    }
    const bool isTaken = std::fwrite(script.data(), 1, script.size(), gnuplot) == script.size();
    const int status = pclose(gnuplot);
    constexpr int kNotFound = 127;
    if (WIFEXITED(status) && WEXITSTATUS(status) == kNotFound) {
        throw Failure(ExitCode::FAILED, "gnuplot is not installed: the package gnuplot-nox has it");
    }
    if (!isTaken || status != 0) {
        std::string text(4096, '\0');
        std::rewind(messages.get());
        text.resize(std::fread(text.data(), 1, text.size(), messages.get()));
        throw Failure(ExitCode::FAILED, "gnuplot failed: " + printable(text));
    }
}

}  // namespace

void plotRecording(const std::string& directory, const PlotOptions& options) {
    namespace fs = std::filesystem;
    const std::string extension = fs::path(options.file).extension();
    if (extension != ".svg" && extension != ".png") {
        throw Failure(ExitCode::USAGE,
                      fmt::format("--out {} is neither .svg nor .png", options.file));
    }
    const Recording::Reader recording(directory);
    const std::vector<Diagrams> streams = readStreams(recording, options);
    // Writes to a temporary file, so that an existing picture stays if this fails.
    const std::string partial = options.file + ".partial";
    try {
        draw(scriptOf(streams, extension == ".svg" ? "svg" : "pngcairo", partial));
        fs::rename(partial, options.file);
    } catch (...) {
        std::error_code ignored;
        fs::remove(partial, ignored);
        throw;
    }
}
