// Prints results as text or JSON, according to one flag for the process.
#include "output.h"

#include "display.h"

namespace {

bool isJsonWanted = false;

Json withSchema(const Json& object) {
    Json result{{"schema", Output::kJsonSchema}};
    result.update(object);
    return result;
}

}  // namespace

void Output::setJson(bool isJson) {
    isJsonWanted = isJson;
}

bool Output::isJson() {
    return isJsonWanted;
}

void Output::print(const std::string& line, const Json& object) {
    Display::append({isJsonWanted ? jsonLine(withSchema(object)) : line});
}

void Output::print(const std::vector<std::pair<std::string, Table>>& tables) {
    if (isJsonWanted) {
        Json object;
        for (const auto& [name, table] : tables) {
            object[name] = table.rows();
        }
        print("", object);
        return;
    }
    for (const auto& [name, table] : tables) {
        if (&name != &tables.front().first) {
            Display::append({""});
        }
        Display::append(table.lines());
    }
}

std::string Output::jsonLine(const Json& object) {
    return object.dump(-1, ' ', true, Json::error_handler_t::replace);
}
