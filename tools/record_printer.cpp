// Collects the text of all records of a callback and writes it at once.
#include "record_printer.h"

#include <algorithm>
#include <cstdio>

#include "failure.h"
#include "table.h"

void RecordPrinter::begin(const std::vector<std::string>& columns) {
    std::vector<std::string> all{"received_ns"};
    all.insert(all.end(), columns.begin(), columns.end());
    const auto isOf = [](const std::string& column, const std::string& field) {
        return column == field || column.rfind(field + "_", 0) == 0;
    };
    for (const std::string& field : fields_) {
        if (std::none_of(all.begin(), all.end(),
                         [&](const std::string& column) { return isOf(column, field); })) {
            throw Failure(ExitCode::USAGE,
                          fmt::format("--field '{}' is none of: {}", field, listOf(all)));
        }
    }
    for (size_t place = 0; place < all.size(); ++place) {
        const bool isChosen =
            fields_.empty() || std::any_of(fields_.begin(), fields_.end(), [&](const auto& field) {
                return isOf(all[place], field);
            });
        if (isChosen) {
            places_.push_back(place);
            titles_.push_back(all[place]);
        }
    }
    if (format_ == Format::CSV) {
        fmt::format_to(fmt::appender(out_), "{}\n", fmt::join(titles_, ","));
        flush();
    }
}

void RecordPrinter::appendCell(Recording::CellKind kind) {
    const std::string_view cell(cell_.data(), cell_.size());
    const auto end = fmt::appender(out_);
    const bool isFirst = cells_ == 0;
    const std::string& title = titles_[cells_++];
    switch (format_) {
        case Format::TEXT:
            // Texts come from devices, so control characters are replaced.
            fmt::format_to(end, "{}: {}\n", title,
                           kind == Recording::CellKind::TEXT ? printable(std::string(cell)) : cell);
            break;
        case Format::CSV:
            out_.append(isFirst ? std::string_view() : std::string_view(","));
            Recording::appendCsvText(out_, cell);
            break;
        case Format::JSON:
            fmt::format_to(end, "{}\"{}\":", isFirst ? '{' : ',', title);
            Recording::appendJsonValue(out_, kind, cell);
            break;
    }
}

void RecordPrinter::endRecord() {
    constexpr std::string_view kEnds[] = {"---\n", "\n", "}\n"};
    out_.append(kEnds[static_cast<size_t>(format_)]);
    cells_ = 0;
    ++printed_;
}

void RecordPrinter::flush() {
    std::fwrite(out_.data(), 1, out_.size(), stdout);
    std::fflush(stdout);
    out_.clear();
}
