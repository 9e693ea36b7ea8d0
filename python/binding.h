// Binds the interfaces of the API: names of methods and parameters and the documentation come from
// the headers, in the spelling of Python.
#pragma once

#include <algorithm>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "streams.h"

/// @param name empty for the interface itself
/// @param parameters tell which of several of the name is meant; null: the first
inline const ApiTables::Declaration& declarationOf(std::string_view owner, std::string_view name,
                                                   const char* parameters = nullptr) {
    for (const ApiTables::Declaration& declaration : ApiTables::kDeclarations) {
        if (declaration.owner == owner && declaration.name == name &&
            (parameters == nullptr || declaration.parameters == std::string_view(parameters))) {
            return declaration;
        }
    }
    throw std::logic_error("the headers have no " + std::string(owner) + "::" + std::string(name));
}

/// The parameters of a bound function behind its object.
template <typename Result, typename Self, typename... Parameters>
constexpr size_t parameterCount(Result (* /*function*/)(Self, Parameters...)) {
    return sizeof...(Parameters);
}

/// An object of the API, and its streams that Python has obtained. They are shared, because a
/// stream has one callback.
template <typename Api>
struct Remote {
    Service::Life life;
    std::shared_ptr<Api> object;
    std::map<const void*, std::shared_ptr<Stream>> streams;
};

template <typename Api>
Remote<Api> remoteOf(Service::Life life, std::unique_ptr<Api> object) {
    return {life, Service::share(life, std::move(object)), {}};
}

/// What a call returned, as Python gets it: objects of the API, streams, or values.
template <typename Value>
Value adopt(Service::Life /*life*/, Value value) {
    return value;
}
template <typename Api>
std::optional<Remote<Api>> adopt(Service::Life life, std::unique_ptr<Api> object) {
    return object == nullptr ? std::nullopt : std::optional(remoteOf<Api>(life, std::move(object)));
}
/// It runs from its adding on.
template <typename Data>
std::shared_ptr<Stream> adopt(Service::Life life,
                              std::unique_ptr<Vek::Sensors::IDataStream<Data>> stream) {
    return std::make_shared<RecordStream<Data>>(life, Service::share(life, std::move(stream)),
                                                StreamControl{[] {}, [] {}});
}

template <typename Api>
class Binding {
  public:
    /// @param api the interface's name in the headers
    Binding(py::module_& module, const char* name, const char* api)
        : api_(api), type_(module, name, declarationOf(api, "").doc) {}

    /// A method whose arguments and result Python has, too.
    template <typename Result, typename... Arguments>
    Binding& method(const char* name, Result (Api::*method)(Arguments...),
                    const char* parameters = nullptr) {
        define(declarationOf(api_, name, parameters),
               [method](const Remote<Api>& self, const std::decay_t<Arguments>&... arguments) {
                   return call(
                       self,
                       [method, values = std::tuple<std::decay_t<Arguments>...>(arguments...)](
                           Api& object) mutable -> Result {
                           return std::apply(
                               [&](auto&... value) -> Result { return (object.*method)(value...); },
                               values);
                       });
               });
        return *this;
    }

    /// Another method: `function` takes the Remote, then what Python gives.
    /// @param parameters, doc if they are not the headers'
    template <typename Function>
    Binding& function(const char* name, Function function, const char* parameters = nullptr,
                      const char* doc = nullptr) {
        ApiTables::Declaration declaration = declarationOf(api_, name);
        if (parameters != nullptr) {
            declaration.parameters = parameters;
        }
        if (doc != nullptr) {
            declaration.doc = doc;
        }
        define(declaration, std::move(function));
        return *this;
    }

    /// Calls a function that takes the object, and owns all else that it uses.
    template <typename Function>
    static auto call(const Remote<Api>& self, Function function) {
        using Result = std::invoke_result_t<Function&, Api&>;
        auto call = [object = self.object, function = std::move(function)]() mutable -> Result {
            return function(*object);
        };
        if constexpr (std::is_void_v<Result>) {
            Service::call(self.life, std::move(call));
        } else {
            return adopt(self.life, Service::call(self.life, std::move(call)));
        }
    }

    template <typename Data>
    Binding& stream(const char* name, Vek::Sensors::IDataStream<Data>& (Api::*stream)(),
                    void (Api::*start)(), void (Api::*stop)()) {
        return function(name, [stream, start, stop](Remote<Api>& self) {
            Service::requireAlive(self.life);
            Vek::Sensors::IDataStream<Data>& data = ((*self.object).*stream)();
            std::shared_ptr<Stream>& known = self.streams[&data];
            if (known == nullptr) {
                known = std::make_shared<RecordStream<Data>>(
                    self.life, std::shared_ptr<Vek::Sensors::IDataStream<Data>>(self.object, &data),
                    StreamControl{[object = self.object, start] { ((*object).*start)(); },
                                  [object = self.object, stop] { ((*object).*stop)(); }});
            }
            return known;
        });
    }

  private:
    static std::vector<std::string> split(const std::string& names) {
        std::vector<std::string> parts;
        for (size_t begin = 0; begin < names.size();) {
            const size_t end = std::min(names.find(',', begin), names.size());
            parts.push_back(names.substr(begin, end - begin));
            begin = end + 1;
        }
        return parts;
    }

    template <typename Function>
    void define(const ApiTables::Declaration& declaration, Function function) {
        constexpr size_t kCount =
            parameterCount(static_cast<py::detail::function_signature_t<Function>*>(nullptr));
        const std::vector<std::string> parameters = split(declaration.parameters);
        if (parameters.size() != kCount) {
            throw std::logic_error(std::string(api_) + "::" + declaration.name +
                                   " has other parameters than " + declaration.parameters);
        }
        define(declaration, std::move(function), parameters, std::make_index_sequence<kCount>());
    }

    template <typename Function, size_t... i>
    void define(const ApiTables::Declaration& declaration, Function function,
                [[maybe_unused]] const std::vector<std::string>& parameters,
                std::index_sequence<i...> /*numbers*/) {
        type_.def(declaration.pythonName, std::move(function), declaration.doc,
                  py::arg(parameters[i].c_str())...);
    }

    const char* const api_;
    py::class_<Remote<Api>> type_;
};

/// The factory of an object that belongs to the life of the service in which it is made.
template <typename Factory>
void defineFactory(py::module_& module, const char* name, Factory factory) {
    module.def(
        name,
        [factory, name] {
            const Service::Life life = Service::currentLife();
            auto object = Service::call(life, factory);
            if (object == nullptr) {
                throw Service::NoService(std::string(name) +
                                         ": no such service is running; start "
                                         "moriak-sensor-simulator with the same "
                                         "MORIAK_HIDL_RUNTIME_DIR");
            }
            return remoteOf(life, std::move(object));
        },
        "Finds the running service. Raises NoService if there is none.");
}
