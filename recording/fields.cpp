// The functions of fields.h that do not depend on the record.
#include "recording/fields.h"

#include <fmt/format.h>

#include <cctype>
#include <cmath>

namespace Recording {

std::string columnName(std::string_view name, std::string_view unit) {
    std::string suffix;
    for (const char c : unit) {
        if (std::isalnum(static_cast<unsigned char>(c)) != 0) {
            suffix += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        } else if (c == '%') {
            suffix += "percent";
        } else if (c != '^') {
            suffix += '_';
        }
    }
    const bool isJoined = !name.empty() && !suffix.empty();
    return std::string(name) + (isJoined ? "_" : "") + suffix;
}

void appendCsvText(fmt::memory_buffer& out, std::string_view text) {
    if (text.find_first_of(",\"\r\n") == std::string_view::npos) {
        out.append(text.begin(), text.end());
        return;
    }
    out.push_back('"');
    for (const char c : text) {
        if (c == '"') {
            out.push_back('"');
        }
        out.push_back(c);
    }
    out.push_back('"');
}

static void appendJsonNumber(fmt::memory_buffer& out, std::string_view cell) {
    double number = 0;
    const std::string_view text = readCell(cell, number) && std::isfinite(number) ? cell : "null";
    out.append(text.begin(), text.end());
}

void appendJsonValue(fmt::memory_buffer& out, CellKind kind, std::string_view cell) {
    switch (kind) {
        case CellKind::NUMBER:
            appendJsonNumber(out, cell);
            break;
        case CellKind::LIST:
            out.push_back('[');
            for (size_t begin = 0; begin < cell.size();) {
                const size_t end = std::min(cell.find(' ', begin), cell.size());
                if (begin != 0) {
                    out.push_back(',');
                }
                appendJsonNumber(out, cell.substr(begin, end - begin));
                begin = end + 1;
            }
            out.push_back(']');
            break;
        case CellKind::TEXT:
            out.push_back('"');
            for (const char c : cell) {
                // Texts of devices may not be valid UTF-8, so bytes beyond ASCII are interpreted as
                // Latin-1.
                const auto byte = static_cast<unsigned char>(c);
                if (c == '"' || c == '\\') {
                    fmt::format_to(fmt::appender(out), "\\{}", c);
                } else if (byte < 0x20 || byte > 0x7e) {
                    fmt::format_to(fmt::appender(out), "\\u{:04x}", byte);
                } else {
                    out.push_back(c);
                }
            }
            out.push_back('"');
            break;
    }
}

void appendShownCell(std::string& out, std::string_view cell, std::optional<int> decimals) {
    double number = 0;
    out += decimals && readCell(cell, number) ? fmt::format("{:.{}f}", number, *decimals)
                                              : std::string(cell);
}

}  // namespace Recording
