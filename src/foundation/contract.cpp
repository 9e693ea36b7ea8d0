// Reports contract failures under the file names and line numbers of the GSL revision that the
// system's tools know, whatever revision is installed.
#include "foundation/contract.h"

#include <array>
#include <cstdio>
#include <exception>
#include <string>
#include <string_view>

#include "foundation/log.h"

namespace Vek::Sensors::HidlWrapper {
namespace {

struct CheckSite {
    std::string_view header;
    int installedLine;
    int systemLine;
};

// The first number is the line in GSL 4.0.0 of Debian 12, the second the line to report. A test
// fails when an update moves these lines. Other checks are reported with the line of the installed
// GSL, because the line that the system's tools expect is not known.
constexpr std::array kCheckSites{
    CheckSite{"gsl/pointers", 92, 77},   // not_null, converting constructor
    CheckSite{"gsl/pointers", 98, 83},   // not_null, by-value constructor
    CheckSite{"gsl/pointers", 109, 96},  // not_null::get
    CheckSite{"gsl/span", 239, 244},     // span iterators: equality
};

bool endsWith(std::string_view text, std::string_view end) {
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

std::string systemSite(std::string_view file, int line) {
    for (const CheckSite& site : kCheckSites) {
        if (site.installedLine == line && endsWith(file, site.header)) {
            return "external/Microsoft-GSL/include/" + std::string{site.header} + ": " +
                   std::to_string(site.systemLine);
        }
    }
    return std::string{file} + ": " + std::to_string(line);
}

}  // namespace

void contractFailure(const char* type, const char* file, int line, const char* condition) {
    const std::string message = std::string{"GSL "} + type + " failure at " +
                                systemSite(file, line) + " `" + condition + "`";
    std::fprintf(stderr, "%s: %s\n", kLogTag, message.c_str());
    __android_log_write(ANDROID_LOG_FATAL, kLogTag, message.c_str());
    std::terminate();
}

}  // namespace Vek::Sensors::HidlWrapper
