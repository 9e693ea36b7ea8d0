// Makes composite streams for clients.
#include <vek/sensors/factories.h>

#include <memory>
#include <string>

#include "stream/composite_stream.h"

namespace Vek::Sensors {
namespace HidlWrapper {

class StreamCompositor : public IStreamCompositor {
  public:
    std::unique_ptr<ICompositeStream> createCompositeStream(std::string name) override {
        return std::make_unique<CompositeStream>(name);
    }
};

}  // namespace HidlWrapper

std::unique_ptr<IStreamCompositor> createStreamCompositor() {
    return std::make_unique<HidlWrapper::StreamCompositor>();
}

}  // namespace Vek::Sensors
