// Rows and cells of CSV files.
#include "recording/csv.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

namespace Recording {

namespace {

/// A block of 4096 samples is 25 KiB; no row is longer than this unless the file is broken.
constexpr size_t kLongestRow = 1 << 20;

std::string_view trimmed(std::string_view text) {
    const size_t begin = text.find_first_not_of(" \t#");
    const size_t end = text.find_last_not_of(" \t");
    return begin == std::string_view::npos ? std::string_view()
                                           : text.substr(begin, end + 1 - begin);
}

}  // namespace

CsvReader::CsvReader(const std::filesystem::path& path)
    : path_(path), file_(std::fopen(path.c_str(), "re")) {
    if (file_ == nullptr) {
        throw Error(path.string() + ": " + std::generic_category().message(errno));
    }
    if (!readRow()) {
        throw Error(path.string() + ": no line of titles");
    }
    split();
    for (const std::string_view title : cells_) {
        titles_.emplace_back(trimmed(title));
    }
    firstRow_ = offset_;
    firstRowLine_ = nextLine_;
}

int CsvReader::column(std::string_view title) const {
    const auto found = std::find(titles_.begin(), titles_.end(), title);
    return found == titles_.end() ? -1 : static_cast<int>(found - titles_.begin());
}

int CsvReader::requireColumn(std::string_view title) const {
    const int place = column(title);
    if (place < 0) {
        throw Error(fmt::format("{}:1: no column {}", path_.string(), title));
    }
    return place;
}

void CsvReader::renameColumn(std::string_view title, std::string_view newTitle) {
    std::replace(titles_.begin(), titles_.end(), std::string(title), std::string(newTitle));
}

void CsvReader::rewind() {
    if (std::fseek(file_.get(), static_cast<long>(firstRow_), SEEK_SET) != 0) {
        throw Error(path_.string() + ": " + std::generic_category().message(errno));
    }
    offset_ = firstRow_;
    nextLine_ = firstRowLine_;
    isCutOff_ = false;
}

bool CsvReader::next() {
    if (!readRow()) {
        return false;
    }
    split();
    if (cells_.size() != titles_.size()) {
        throw error(fmt::format("{} cells under {} titles", cells_.size(), titles_.size()));
    }
    return true;
}

bool CsvReader::readRow() {
    row_.clear();
    bool isQuoted = false;
    line_ = nextLine_;
    for (int c = std::fgetc(file_.get()); c != EOF; c = std::fgetc(file_.get())) {
        ++offset_;
        nextLine_ += c == '\n' ? 1 : 0;
        if (c == '\n' && !isQuoted) {
            if (!row_.empty() && row_.back() == '\r') {
                row_.pop_back();
            }
            if (!row_.empty()) {
                return true;
            }
            line_ = nextLine_;
            continue;
        }
        isQuoted ^= c == '"';
        if (row_.size() == kLongestRow) {
            throw error(fmt::format("longer than {} bytes", kLongestRow));
        }
        row_ += static_cast<char>(c);
    }
    if (std::ferror(file_.get()) != 0) {
        throw error(std::generic_category().message(errno));
    }
    isCutOff_ = !row_.empty();
    return false;
}

/// Splits the row. Quotation marks are removed in place, since a cell only gets shorter.
void CsvReader::split() {
    cells_.clear();
    size_t begin = 0;
    size_t out = 0;
    bool isQuoted = false;
    for (size_t in = 0; in < row_.size(); ++in) {
        const char c = row_[in];
        if (c == '"') {
            const bool isDoubled = isQuoted && in + 1 < row_.size() && row_[in + 1] == '"';
            if (!isDoubled) {
                isQuoted = !isQuoted;
                continue;
            }
            ++in;
        } else if (c == ',' && !isQuoted) {
            cells_.emplace_back(row_.data() + begin, out - begin);
            begin = out;
            continue;
        }
        row_[out++] = c;
    }
    cells_.emplace_back(row_.data() + begin, out - begin);
}

void CsvReader::fail(int column) const {
    const auto place = static_cast<size_t>(column);
    throw error(
        fmt::format("\"{}\" is no value of {}", cells_[place].substr(0, 40), titles_[place]));
}

Error CsvReader::error(const std::string& message) const {
    return Error(fmt::format("{}:{}: {}", path_.string(), line_, message));
}

}  // namespace Recording
