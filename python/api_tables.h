// What the client API's headers declare, as tables; python/api-tables.awk makes them.
#pragma once

#include <vek/sensors/controller_provider.h>
#include <vek/sensors/factories.h>

#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

namespace ApiTables {

/// Specialised for each structure: `kName`, `kDoc` and `visit`, which calls its argument with the
/// name, the documentation and the accessor of each member.
template <typename Type>
struct Record;

/// Specialised for each enumeration: `kName`, `kDoc`, `kIsFlags` and its `values`.
template <typename Type>
struct Enumeration;

/// An interface, or one of its methods.
struct Declaration {
    const char* owner;
    /// Empty for the interface itself.
    const char* name;
    const char* pythonName;
    /// In Python's spelling, with commas between them.
    const char* parameters;
    const char* doc;
};

template <typename Type, template <typename> typename Table, typename = void>
inline constexpr bool kIsIn = false;
template <typename Type, template <typename> typename Table>
inline constexpr bool kIsIn<Type, Table, std::void_t<decltype(Table<Type>::kName)>> = true;

template <>
struct Record<Vek::Sensors::ControllerInputData> {
    static constexpr char kName[] = "ControllerInputData";
    static constexpr char kDoc[] = "A controller's input of one kind.";

    /// The members that `kind` does not name are zeros.
    template <typename Visitor>
    static void visit(Visitor&& visitor) {
        using Data = Vek::Sensors::ControllerInputData;
        visitor("kind", "", [](const Data& data) { return data.kind; });
        visitor("buttons", "", only<&Data::buttons, Data::Kind::BUTTONS>);
        visitor("curl", "", only<&Data::curl, Data::Kind::CURL>);
        visitor("precisionPad", "", only<&Data::precisionPad, Data::Kind::PRECISION_PAD>);
        visitor("multiTouch", "", only<&Data::multiTouch, Data::Kind::MULTI_TOUCH>);
        visitor("stylus", "", only<&Data::stylus, Data::Kind::STYLUS>);
    }

  private:
    template <auto member, Vek::Sensors::ControllerInputData::Kind kind>
    static auto only(const Vek::Sensors::ControllerInputData& data) {
        return data.kind == kind ? data.*member : std::decay_t<decltype(data.*member)>{};
    }
};

}  // namespace ApiTables

#include "moriak_python/api_declarations.h"
