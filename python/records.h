// Records in NumPy: their dtypes, and their bytes without the gaps that C++ leaves.
#pragma once

#include <array>
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "values.h"

namespace Records {

template <typename Value>
inline constexpr size_t kArraySize = 0;
template <typename Element, size_t size>
inline constexpr size_t kArraySize<std::array<Element, size>> = size;

template <typename Value>
inline constexpr size_t kBits = 0;
template <size_t size>
inline constexpr size_t kBits<std::bitset<size>> = size;

/// The integer that a set of bits becomes.
template <typename Bitset>
using BitsetNumber = std::conditional_t<kBits<Bitset> <= 8, uint8_t, uint32_t>;

/// As numpy.dtype takes it: the fields' names are those of the headers, arrays are sub-arrays,
/// enumerations and sets of bits integers.
template <typename Value>
py::object formatOf() {
    if constexpr (std::is_enum_v<Value>) {
        return py::dtype::of<std::underlying_type_t<Value>>();
    } else if constexpr (std::is_arithmetic_v<Value>) {
        return py::dtype::of<Value>();
    } else if constexpr (kBits<Value> != 0) {
        static_assert(kBits<Value> <= 32);
        return py::dtype::of<BitsetNumber<Value>>();
    } else if constexpr (kArraySize<Value> != 0) {
        using Element = typename Value::value_type;
        if constexpr (std::is_same_v<Element, char>) {
            return py::str("S" + std::to_string(kArraySize<Value>));
        } else {
            return py::make_tuple(formatOf<Element>(), py::make_tuple(kArraySize<Value>));
        }
    } else {
        py::list fields;
        ApiTables::Record<Value>::visit(
            [&fields](const char* name, const char* /*doc*/, auto member) {
                using Member = std::decay_t<decltype(member(std::declval<const Value&>()))>;
                fields.append(py::make_tuple(name, py::dtype::from_args(formatOf<Member>())));
            });
        return py::dtype::from_args(fields);
    }
}

/// Made once and never destroyed: the last owner of a stream may be a thread without the GIL.
template <typename Record>
const py::dtype& dtypeOf() {
    static const auto* const dtype = new py::dtype(py::dtype::from_args(formatOf<Record>()));
    return *dtype;
}

using Bytes = std::vector<std::byte>;

/// Appends a value as its dtype has it. Needs no GIL.
template <typename Value>
void append(Bytes& out, const Value& value) {
    if constexpr (std::is_enum_v<Value> || std::is_arithmetic_v<Value>) {
        const auto* const begin = reinterpret_cast<const std::byte*>(&value);
        out.insert(out.end(), begin, begin + sizeof(value));
    } else if constexpr (kBits<Value> != 0) {
        append(out, static_cast<BitsetNumber<Value>>(value.to_ulong()));
    } else if constexpr (kArraySize<Value> != 0) {
        if constexpr (std::is_arithmetic_v<typename Value::value_type>) {
            const auto* const begin = reinterpret_cast<const std::byte*>(value.data());
            out.insert(out.end(), begin, begin + sizeof(value));
        } else {
            for (const auto& element : value) {
                append(out, element);
            }
        }
    } else {
        ApiTables::Record<Value>::visit([&](const char* /*name*/, const char* /*doc*/,
                                            auto member) { append(out, member(value)); });
    }
}

/// Keeps `memory` for as long as the array lives.
template <typename Memory>
py::array arrayOf(const py::dtype& dtype, std::vector<py::ssize_t> shape, Memory memory) {
    auto owned = std::make_unique<Memory>(std::move(memory));
    const void* const data = owned->data();
    const py::capsule owner(owned.get(), [](void* last) { delete static_cast<Memory*>(last); });
    static_cast<void>(owned.release());
    return py::array(dtype, std::move(shape), {}, data, owner);
}

/// A text of another process may be no UTF-8; then it has surrogates, and
/// `encode(errors="surrogateescape")` gives its bytes.
template <typename Member>
auto textOrValue(const Member& member) {
    if constexpr (std::is_same_v<Member, std::string>) {
        return py::reinterpret_steal<py::str>(PyUnicode_DecodeUTF8(
            member.data(), static_cast<Py_ssize_t>(member.size()), "surrogateescape"));
    } else {
        return member;
    }
}

/// A class with a record's fields as its attributes, which its constructor takes by their names.
template <typename Value>
void defineClass(py::module_& module) {
    using Table = ApiTables::Record<Value>;
    py::class_<Value> type(module, Table::kName, Table::kDoc);
    type.def(py::init([](const py::kwargs& fields) {
        py::object record = py::cast(Value{});
        for (const auto& [name, value] : fields) {
            if (!py::hasattr(record, name)) {
                throw py::type_error(std::string(Table::kName) + " has no field '" +
                                     name.template cast<std::string>() + "'");
            }
            record.attr(name) = value;
        }
        return record.cast<Value>();
    }));
    std::vector<std::string> names;
    Table::visit([&](const char* name, const char* doc, auto member) {
        using Member = std::decay_t<decltype(member(std::declval<const Value&>()))>;
        names.emplace_back(name);
        type.def_property(
            name, [member](const Value& record) { return textOrValue<Member>(member(record)); },
            [member](Value& record, const Member& value) { member(record) = value; }, doc);
    });
    type.def("__repr__", [names](const py::object& record) {
        std::string text = std::string(Table::kName) + "(";
        for (const std::string& name : names) {
            text += (text.back() == '(' ? "" : ", ") + name + "=" +
                    py::repr(record.attr(name.c_str())).template cast<std::string>();
        }
        return text + ")";
    });
}

template <typename... Values>
void defineClasses(py::module_& module) {
    (defineClass<Values>(module), ...);
}

}  // namespace Records
