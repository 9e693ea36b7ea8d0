// How single values of the API pass between C++ and Python. Every file of the module must see the
// same conversions, and so includes this one before it binds anything.
#pragma once

#include <pybind11/functional.h>
#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <algorithm>
#include <array>
#include <bitset>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "api_tables.h"

namespace py = pybind11;

inline constexpr char kModuleName[] = "moriak_sensors";

namespace pybind11::detail {

/// Enumerations are Python's own, whose members are integers. A value without a name is an integer.
template <typename Enum>
struct type_caster<Enum, std::enable_if_t<std::is_enum_v<Enum>>> {
    using Number = std::underlying_type_t<Enum>;

    static constexpr auto nameOfType() {
        if constexpr (ApiTables::kIsIn<Enum, ApiTables::Enumeration>) {
            return const_name(ApiTables::Enumeration<Enum>::kName);
        } else {
            return const_name("int");
        }
    }
    PYBIND11_TYPE_CASTER(Enum, nameOfType());

    bool load(handle source, bool /*convert*/) {
        make_caster<Number> number;
        if (!number.load(source, false)) {
            return false;
        }
        value = static_cast<Enum>(cast_op<Number>(number));
        return true;
    }

    static handle cast(Enum member, return_value_policy /*policy*/, handle /*parent*/) {
        int_ number(static_cast<Number>(member));
        if constexpr (ApiTables::kIsIn<Enum, ApiTables::Enumeration>) {
            const object type =
                module_::import(kModuleName).attr(ApiTables::Enumeration<Enum>::kName);
            if (ApiTables::Enumeration<Enum>::kIsFlags ||
                type.attr("_value2member_map_").contains(number)) {
                return type(number).release();
            }
        }
        return number.release();
    }
};

/// A text of fixed size, without its zeros.
template <size_t size>
struct type_caster<std::array<char, size>> {
    using Text = std::array<char, size>;
    PYBIND11_TYPE_CASTER(Text, const_name("str"));

    bool load(handle source, bool /*convert*/) {
        if (!isinstance<str>(source)) {
            return false;
        }
        const auto text = source.cast<std::string>();
        value = {};
        std::copy_n(text.begin(), std::min(text.size(), size), value.begin());
        return text.size() <= size;
    }

    static handle cast(const Text& text, return_value_policy /*policy*/, handle /*parent*/) {
        const std::string_view whole(text.data(), size);
        const std::string_view used = whole.substr(0, whole.find('\0'));
        // The text comes from another process and may not be valid UTF-8.
        return PyUnicode_DecodeUTF8(used.data(), static_cast<Py_ssize_t>(used.size()), "replace");
    }
};

template <typename Bytes>
struct BytesCaster {
    PYBIND11_TYPE_CASTER(Bytes, const_name("bytes"));

    bool load(handle source, bool /*convert*/) {
        if (!isinstance<bytes>(source)) {
            return false;
        }
        const std::string_view content = reinterpret_borrow<bytes>(source);
        if constexpr (std::is_same_v<Bytes, std::vector<uint8_t>>) {
            value.resize(content.size());
        }
        if (content.size() != value.size()) {
            return false;
        }
        std::copy(content.begin(), content.end(), value.begin());
        return true;
    }

    static handle cast(const Bytes& content, return_value_policy /*policy*/, handle /*parent*/) {
        return bytes(reinterpret_cast<const char*>(content.data()), content.size()).release();
    }
};
template <size_t size>
struct type_caster<std::array<uint8_t, size>> : BytesCaster<std::array<uint8_t, size>> {};
template <>
struct type_caster<std::vector<uint8_t>> : BytesCaster<std::vector<uint8_t>> {};

/// Bit i of an integer is bit i of the set.
template <size_t size>
struct type_caster<std::bitset<size>> {
    PYBIND11_TYPE_CASTER(std::bitset<size>, const_name("int"));

    bool load(handle source, bool /*convert*/) {
        make_caster<uint64_t> number;
        if (!number.load(source, false)) {
            return false;
        }
        value = cast_op<uint64_t>(number);
        return value.to_ullong() == cast_op<uint64_t>(number);
    }

    static handle cast(const std::bitset<size>& bits, return_value_policy /*policy*/,
                       handle /*parent*/) {
        return int_(bits.to_ullong()).release();
    }
};

}  // namespace pybind11::detail
