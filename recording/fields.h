// The single description of a record's fields, from which CSV titles, CSV rows (written and read),
// JSON and table texts are derived.
//
//     template <>
//     struct Recording::Fields<ImuData> {
//         static FieldList<ImuData> list() {
//             return {number("timestamp", "ns", &ImuData::timestamp),
//                     array("acceleration", kXyz, "m/s^2", &ImuData::acceleration).shown(2),
//                     number("status", "", &ImuData::status)};
//         }
//     };
//
//     fieldsOf<ImuData>().titles()
//         -> timestamp_ns,acceleration_x_m_s2,acceleration_y_m_s2,acceleration_z_m_s2,status
//
// A unit is written as people read it; columns carry it as a suffix of letters, digits and `_`.
#pragma once

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <functional>
#include <initializer_list>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "recording/cell.h"

namespace Recording {

/// Type of a cell; in JSON a number, an array of numbers or a string.
enum class CellKind { NUMBER, LIST, TEXT };

/// The title of a column: "rate" and "rad/s" give "rate_rad_s".
std::string columnName(std::string_view name, std::string_view unit);

/// Appends `text` as a CSV cell, quoted if necessary.
void appendCsvText(fmt::memory_buffer& out, std::string_view text);

/// Appends a cell as a JSON value; NaN and infinities become null.
void appendJsonValue(fmt::memory_buffer& out, CellKind kind, std::string_view cell);

/// Appends a cell as text for people; numbers are rounded to `decimals` if given.
void appendShownCell(std::string& out, std::string_view cell, std::optional<int> decimals);

/// Names of the elements of an array.
using Axes = std::vector<std::string>;
inline const Axes kXy{"x", "y"};
inline const Axes kXyz{"x", "y", "z"};
inline const Axes kXyzw{"x", "y", "z", "w"};
/// Elements without names are counted from 0.
inline const Axes kNumbers{};

/// One CSV column: a cell of a record.
template <typename Record>
struct Column {
    /// Name with the unit.
    std::string name;
    CellKind kind;
    /// Appends the cell, unquoted; nothing if the record does not have this field.
    std::function<void(const Record& record, fmt::memory_buffer& out)> append;
    /// @return false if the cell does not fit the field. Never called with an empty cell of a
    /// number.
    std::function<bool(std::string_view cell, Record& record)> read;
};

/// One field: a member of the record, of one column or more.
template <typename Record>
struct Field {
    std::string name;
    /// As people write it: "m/s^2"; empty if there is none.
    std::string unit;
    std::vector<Column<Record>> columns;

    /// Makes tables show the field, rounded to `decimalCount` if given.
    Field shown(std::optional<int> decimalCount = {}) && {
        return std::move(*this).shown("", decimalCount);
    }
    /// The same, with `word` before the value.
    Field shown(std::string word, std::optional<int> decimalCount = {}) && {
        isShown = true;
        label = std::move(word);
        decimals = decimalCount;
        return std::move(*this);
    }

    /// The same, but shows the words that `make` returns for the cell; nothing if they are empty.
    Field shownAs(std::function<std::string(std::string_view cell)> make) && {
        words = std::move(make);
        return std::move(*this).shown();
    }

    bool isShown = false;
    std::function<std::string(std::string_view cell)> words{};
    std::string label{};
    std::optional<int> decimals{};
};

/// The fields of a record in the order of its columns.
template <typename Record>
class FieldList {
  public:
    FieldList(std::initializer_list<Field<Record>> fields) : FieldList(std::vector(fields)) {}
    explicit FieldList(std::vector<Field<Record>> fields) : fields_(std::move(fields)) {
        for (const Field<Record>& field : fields_) {
            columns_.insert(columns_.end(), field.columns.begin(), field.columns.end());
        }
    }

    const std::vector<Field<Record>>& fields() const { return fields_; }
    const std::vector<Column<Record>>& columns() const { return columns_; }

    /// @return null if there is none.
    const Column<Record>* find(std::string_view columnTitle) const {
        const auto found =
            std::find_if(columns_.begin(), columns_.end(),
                         [&](const Column<Record>& column) { return column.name == columnTitle; });
        return found == columns_.end() ? nullptr : &*found;
    }

    /// The title line of a CSV file, without a line end.
    std::string titles() const {
        std::string line;
        for (const Column<Record>& column : columns_) {
            line += (line.empty() ? "" : ",") + column.name;
        }
        return line;
    }

    /// Appends the CSV row, without a line end.
    void appendRow(fmt::memory_buffer& out, const Record& record) const {
        bool isFirst = true;
        fmt::memory_buffer text;
        for (const Column<Record>& column : columns_) {
            if (!std::exchange(isFirst, false)) {
                out.push_back(',');
            }
            if (column.kind == CellKind::TEXT) {
                text.clear();
                column.append(record, text);
                appendCsvText(out, {text.data(), text.size()});
            } else {
                column.append(record, out);
            }
        }
    }

    /// Appends one JSON object whose names are the column titles.
    void appendJson(fmt::memory_buffer& out, const Record& record) const {
        out.push_back('{');
        bool isFirst = true;
        fmt::memory_buffer cell;
        for (const Column<Record>& column : columns_) {
            fmt::format_to(fmt::appender(out),
                           "{}\"{}\":", std::exchange(isFirst, false) ? "" : ",", column.name);
            cell.clear();
            column.append(record, cell);
            appendJsonValue(out, column.kind, {cell.data(), cell.size()});
        }
        out.push_back('}');
    }

    /// The shown fields for a table: "0.01 0.02 9.81 m/s^2  trigger 0.50".
    std::string describe(const Record& record) const {
        std::string text;
        fmt::memory_buffer cell;
        for (const Field<Record>& field : fields_) {
            if (!field.isShown) {
                continue;
            }
            std::string shown;
            for (const Column<Record>& column : field.columns) {
                cell.clear();
                column.append(record, cell);
                if (cell.size() == 0) {
                    continue;
                }
                shown += shown.empty() ? "" : " ";
                if (field.words) {
                    shown += field.words({cell.data(), cell.size()});
                } else {
                    appendShownCell(shown, {cell.data(), cell.size()}, field.decimals);
                }
            }
            if (!shown.empty()) {
                text += (text.empty() ? "" : "  ") + field.label +
                        (field.label.empty() ? "" : " ") + shown +
                        (field.unit.empty() || field.words ? "" : " " + field.unit);
            }
        }
        return text;
    }

  private:
    std::vector<Field<Record>> fields_;
    std::vector<Column<Record>> columns_;
};

/// Specialised for each record, with a static function `list` that returns its FieldList.
template <typename Record>
struct Fields;

/// The list of a record's fields, made once.
template <typename Record>
const FieldList<Record>& fieldsOf() {
    static const FieldList<Record> list = Fields<Record>::list();
    return list;
}

/// A field that is a number, boolean, enumeration or std::bitset.
template <typename Record, typename Value>
Field<Record> number(const std::string& name, const std::string& unit, Value Record::*member) {
    return {name,
            unit,
            {{columnName(name, unit), CellKind::NUMBER,
              [member](const Record& record, fmt::memory_buffer& out) {
                  appendCell(out, record.*member);
              },
              [member](std::string_view cell, Record& record) {
                  return readCell(cell, record.*member);
              }}}};
}

/// A field that is accessed by functions: a bit field, or a text made from a number.
/// @param get returns a number, or a std::string for a text.
/// @param set takes the record and a value of the type of `get`; returns false if the field cannot
/// hold it.
template <typename Record, typename Get, typename Set>
Field<Record> computed(const std::string& name, const std::string& unit, Get get, Set set) {
    using Value = std::decay_t<std::invoke_result_t<Get, const Record&>>;
    constexpr CellKind kKind =
        std::is_same_v<Value, std::string> ? CellKind::TEXT : CellKind::NUMBER;
    return {
        name,
        unit,
        {{columnName(name, unit), kKind,
          [get](const Record& record, fmt::memory_buffer& out) { appendCell(out, get(record)); },
          [set](std::string_view cell, Record& record) {
              Value value{};
              return readCell(cell, value) && set(record, value);
          }}}};
}

/// An array of numbers (C array, std::array or similar), with a column for each element.
template <typename Record, typename Array>
Field<Record> array(const std::string& name, const Axes& axes, const std::string& unit,
                    Array Record::*member) {
    Field<Record> field{name, unit, {}};
    const size_t size = std::size(Record{}.*member);
    for (size_t i = 0; i < size; ++i) {
        const std::string axis = i < axes.size() ? axes[i] : std::to_string(i);
        field.columns.push_back({columnName(name.empty() ? axis : name + "_" + axis, unit),
                                 CellKind::NUMBER,
                                 [member, i](const Record& record, fmt::memory_buffer& out) {
                                     appendCell(out, (record.*member)[i]);
                                 },
                                 [member, i](std::string_view cell, Record& record) {
                                     return readCell(cell, (record.*member)[i]);
                                 }});
    }
    return field;
}

/// A text of fixed size, padded with zeros; a text that fills the field has no zero. Bytes after
/// the first zero are lost.
template <typename Record, typename Array>
Field<Record> text(const std::string& name, Array Record::*member) {
    return {name,
            "",
            {{name, CellKind::TEXT,
              [member](const Record& record, fmt::memory_buffer& out) {
                  const auto& field = record.*member;
                  const auto* const begin = &field[0];
                  out.append(begin, std::find(begin, begin + std::size(field), 0));
              },
              [member](std::string_view cell, Record& record) {
                  auto& field = record.*member;
                  if (cell.size() > std::size(field)) {
                      return false;
                  }
                  auto* const begin = &field[0];
                  std::fill(std::copy(cell.begin(), cell.end(), begin), begin + std::size(field),
                            0);
                  return true;
              }}}};
}

/// An array of bytes in one column, as hexadecimal digits.
template <typename Record, typename Array>
Field<Record> bytes(const std::string& name, Array Record::*member) {
    return {name,
            "",
            {{name, CellKind::TEXT,
              [member](const Record& record, fmt::memory_buffer& out) {
                  const auto& field = record.*member;
                  const auto* const begin = &field[0];
                  fmt::format_to(fmt::appender(out), "{:02x}",
                                 fmt::join(begin, begin + std::size(field), ""));
              },
              [member](std::string_view cell, Record& record) {
                  auto& field = record.*member;
                  const char* digits = cell.data();
                  bool isWhole = cell.size() == 2 * std::size(field);
                  for (size_t i = 0; isWhole && i < std::size(field); ++i, digits += 2) {
                      isWhole = std::from_chars(digits, digits + 2, field[i], 16).ptr == digits + 2;
                  }
                  return isWhole;
              }}}};
}

/// The first elements of an array in one column, separated by blanks. `count` is another member,
/// with a field of its own; its value may exceed the array.
template <typename Record, typename Array, typename Count>
Field<Record> list(const std::string& name, const std::string& unit, Array Record::*member,
                   Count Record::*count) {
    return {name,
            unit,
            {{columnName(name, unit), CellKind::LIST,
              [member, count](const Record& record, fmt::memory_buffer& out) {
                  const auto& field = record.*member;
                  const auto* const begin = &field[0];
                  const size_t used = std::min<size_t>(record.*count, std::size(field));
                  fmt::format_to(fmt::appender(out), "{}", fmt::join(begin, begin + used, " "));
              },
              [member](std::string_view cell, Record& record) {
                  auto& field = record.*member;
                  size_t used = 0;
                  for (size_t begin = 0; begin < cell.size(); ++used) {
                      const size_t end = std::min(cell.find(' ', begin), cell.size());
                      if (used == std::size(field) ||
                          !readCell(cell.substr(begin, end - begin), field[used])) {
                          return false;
                      }
                      begin = end + 1;
                  }
                  std::fill(&field[0] + used, &field[0] + std::size(field), 0);
                  return true;
              }}}};
}

/// The columns of a field of an inner structure. `inner` takes a record, const or not, and returns
/// a pointer to the structure; null if the record does not have it, and then the cells are empty.
template <typename Record, typename Inner, typename Reach, typename Rename>
Field<Record> lifted(const Field<Inner>& field, Reach inner, Rename rename) {
    Field<Record> lifted{field.name, field.unit, {}};
    lifted.isShown = field.isShown;
    lifted.words = field.words;
    lifted.label = field.label;
    lifted.decimals = field.decimals;
    for (const Column<Inner>& column : field.columns) {
        lifted.columns.push_back({rename(column.name), column.kind,
                                  [inner, column](const Record& record, fmt::memory_buffer& out) {
                                      if (const auto* structure = inner(record)) {
                                          column.append(*structure, out);
                                      }
                                  },
                                  [inner, column](std::string_view cell, Record& record) {
                                      auto* const structure = inner(record);
                                      return structure != nullptr && column.read(cell, *structure);
                                  }});
    }
    return lifted;
}

/// The fields of an inner structure; their column names start with `prefix`.
template <typename Record, typename Inner>
std::vector<Field<Record>> nested(const std::string& prefix, Inner Record::*member,
                                  const FieldList<Inner>& inner = fieldsOf<Inner>()) {
    std::vector<Field<Record>> fields;
    for (const Field<Inner>& field : inner.fields()) {
        fields.push_back(lifted<Record>(
            field, [member](auto& record) { return &(record.*member); },
            [&](const std::string& name) { return prefix + name; }));
    }
    return fields;
}

/// The fields of an array of structures, one structure after the other.
/// @param pattern for the column names, with `{name}` and the element's index `{i}`:
/// "peak_{i}_{name}".
/// @param count returns how many elements of a record are in use. The columns of the others are
/// empty, and reading a row does not change them. The count's own field must precede these in the
/// list.
template <typename Record, typename Array, typename Count>
std::vector<Field<Record>> each(const std::string& pattern, Array Record::*member, Count count) {
    using Inner = std::decay_t<decltype((std::declval<Record&>().*member)[0])>;
    std::vector<Field<Record>> fields;
    const size_t size = std::size(Record{}.*member);
    for (size_t i = 0; i < size; ++i) {
        for (const Field<Inner>& field : fieldsOf<Inner>().fields()) {
            fields.push_back(lifted<Record>(
                field,
                [member, count, i](auto& record) {
                    return i < static_cast<size_t>(count(record)) ? &(record.*member)[i] : nullptr;
                },
                [&](const std::string& name) {
                    return fmt::format(fmt::runtime(pattern), fmt::arg("name", name),
                                       fmt::arg("i", i));
                }));
        }
    }
    return fields;
}

/// The same with all elements always in use.
template <typename Record, typename Array>
std::vector<Field<Record>> each(const std::string& pattern, Array Record::*member) {
    return each(pattern, member, [](const Record& /*record*/) { return SIZE_MAX; });
}

/// Concatenates lists of fields.
template <typename Record>
std::vector<Field<Record>> joined(std::initializer_list<std::vector<Field<Record>>> parts) {
    std::vector<Field<Record>> fields;
    for (const std::vector<Field<Record>>& part : parts) {
        fields.insert(fields.end(), part.begin(), part.end());
    }
    return fields;
}

}  // namespace Recording
