// The Python module moriak_sensors.
#include <tuple>
#include <type_traits>

#include "areas.h"
#include "callback.h"
#include "service.h"
#include "streams.h"

namespace {

template <typename Enum>
void defineEnumeration(py::module_& module) {
    using Table = ApiTables::Enumeration<Enum>;
    py::dict members;
    for (const auto& [name, value] : Table::values()) {
        members[name] = static_cast<std::underlying_type_t<Enum>>(value);
    }
    const py::object type =
        py::module_::import("enum").attr(Table::kIsFlags ? "IntFlag" : "IntEnum")(
            Table::kName, members, py::arg("module") = kModuleName);
    type.attr("__doc__") = Table::kDoc;
    module.attr(Table::kName) = type;
}

template <typename... Enums>
void defineEnumerations(py::module_& module, std::tuple<Enums...>* /*all*/) {
    (defineEnumeration<Enums>(module), ...);
}

}  // namespace

PYBIND11_MODULE(moriak_sensors, module) {
    module.doc() =
        "The headset's sensors: their streams as NumPy arrays, their controls as methods.\n\n"
        "    with moriak_sensors.create_imu_sensor().stream() as stream:\n"
        "        samples = stream.read(seconds=5)\n"
        "    print(samples[\"acceleration\"].mean(axis=0))\n";
    py::register_exception<Service::NoService>(module, "NoService", PyExc_RuntimeError);
    py::register_exception<Service::ServiceDied>(module, "ServiceDied", PyExc_RuntimeError);
    defineEnumerations(module, static_cast<ApiTables::Enumerations*>(nullptr));
    defineStreams(module);
    defineMotion(module);
    defineCameras(module);
    defineControllers(module);
    defineEnvironment(module);
    py::module_::import("atexit").attr("register")(py::cpp_function(&CallbackPermit::endAll));
}
